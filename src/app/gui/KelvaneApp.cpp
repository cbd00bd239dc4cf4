// The application object: folders, language, the single-instance check, the main window.
#include <wx/image.h>
#include <wx/msgdlg.h>
#include <wx/snglinst.h>
#include <wx/timer.h>
#include <wx/wx.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>
#include <unistd.h>

#include "app/DataFolders.h"
#include "app/Language.h"
#include "app/base/Trace.h"
#include "app/control/ControlBindings.h"
#include "app/gui/AppInit.h"
#include "app/Engine.h"
#include "deck/SoundSource.h"
#include "library/LibraryPanel.h"
#include "library/ListRow.h"
#include "skin/model/ControlCatalogue.h"
#include "skin/ControlTable.h"
#include "skin/ZQMainWindow.h"
#include "skin/SoundDisplayTick.h"

namespace {

// Taken as early as static initialisation allows: the start of the start-up figure.
const auto g_processStart = std::chrono::steady_clock::now();

std::atomic<bool> g_terminate{false};
extern "C" void OnTerminateSignal(int) { g_terminate.store(true, std::memory_order_relaxed); }

bool EnvSet(const char* name) {
  const char* value = std::getenv(name);
  return value && *value && *value != '0';
}

// Language keys: numbers as written, names through the catalogue.
int LanguageKey(const std::string& key) {
  if (int number = NumericLanguageKey(key); number > 0) return number;
  return ControlIdByName(key.c_str());
}

// Picks the language file: the user's, the shipped language.xml, else the one shipped file (or
// the user's choice among several), copied into the settings folder for the next start.
std::string ChooseLanguage() {
  const DataFolders& folders = Folders();
  std::string path = FindLanguageFile(folders.settings, folders.programData + "languages/");
  if (!path.empty()) return path;
  std::vector<LanguageFileInfo> files = ListLanguageFiles(folders.programData + "languages/");
  if (files.empty()) return {};
  size_t choice = 0;
  if (files.size() > 1) {
    wxArrayString names;
    for (const auto& file : files) names.Add(wxString::FromUTF8(file.language));
    int picked = wxGetSingleChoiceIndex("Language", "Zorvik Lumo 2", names);
    if (picked < 0) return {};
    choice = static_cast<size_t>(picked);
  }
  std::string own = folders.settings + "language.xml";
  std::error_code error;
  std::filesystem::copy_file(files[choice].path, own, std::filesystem::copy_options::overwrite_existing, error);
  return error ? files[choice].path : own;
}

const char* const kUsage =
    "usage: zorvik-lumo [FILE...]\n"
    "       zorvik-lumo --help | --version | --list-bindings\n"
    "Starts the Zorvik Lumo DJ window. Audio files named on the command line (or opened from\n"
    "the file manager) are loaded on decks A to D in order; a playlist (.m3u, .m3u8, .knl)\n"
    "shows its songs in the main list.\n"
    "  --list-bindings  print every skin control with the engine call it makes, or why it\n"
    "                   is not bound yet, and exit\n";

// Files named on the command line, loaded on the decks once the window is up.
std::vector<std::string> g_commandLineFiles;

// The command line: files for the decks, --help and --version. Anything else that looks like
// an option is refused, as the user would want to know it was not understood. Read before
// the toolkit starts, so --help and --version work without a display.
bool ParseCommandLine(int argc, char** argv, std::vector<std::string>* files, int* exitCode) {
  for (int i = 1; i < argc; ++i) {
    std::string word = argv[i];
    if (word == "--help" || word == "-h") {
      std::fputs(kUsage, stdout);
      *exitCode = 0;
      return false;
    }
    if (word == "--list-bindings") {
      for (const std::string& line : BindingReport()) std::puts(line.c_str());
      std::printf("%d controls unbound\n", UnboundControlCount());
      *exitCode = 0;
      return false;
    }
    if (word == "--version") {
      std::printf("zorvik-lumo (Zorvik Lumo) %s\n", LUMO_VERSION);
      *exitCode = 0;
      return false;
    }
    if (word.size() > 1 && word[0] == '-') {
      std::fprintf(stderr, "zorvik-lumo: unknown option \"%s\"\n%s", word.c_str(), kUsage);
      *exitCode = 2;
      return false;
    }
    files->push_back(word);
  }
  return true;
}

class KelvaneApp : public wxApp {
 public:
  bool OnInit() override;
  int OnExit() override;
  void OnFatalException() override { TraceLine("fatal exception"); }

 private:
  void WatchSignals();

  std::unique_ptr<wxSingleInstanceChecker> checker_;
  wxTimer signalTimer_;
};

bool KelvaneApp::OnInit() {
  // Step 1, the socket layer, needs no start on this platform. Step 3: no minidumps.
  wxHandleFatalExceptions(false);
  // A toolkit assertion is a programming error to log, not a dialog that stops the program.
  wxSetAssertHandler([](const wxString& file, int line, const wxString& func, const wxString& cond,
                        const wxString& msg) {
    TraceLine("toolkit assertion %s:%d %s: %s %s", file.utf8_str().data(), line, func.utf8_str().data(),
              cond.utf8_str().data(), msg.utf8_str().data());
  });

  // Step 4: folders first, so the instance lock can live in the data root (tests run several
  // programs side by side, each with its own root).
  std::string message;
  if (!EngineInitFolders(&message)) wxMessageBox(wxString::FromUTF8(message), "Message");

  // Step 2: one program per user and data root.
  checker_ = std::make_unique<wxSingleInstanceChecker>();
  checker_->Create(wxString::Format("XKN-%lu", static_cast<unsigned long>(getuid())),
                   wxString::FromUTF8(Folders().root));

  // Step 5: the language, before any window.
  std::string languageFile = ChooseLanguage();
  LanguageTables tables;
  if (languageFile.empty() || !LoadLanguageFile(languageFile, LanguageKey, tables)) {
    wxMessageBox("Can not load language file " + wxString::FromUTF8(languageFile), "Message");
    return false;
  }
  SetLanguage(std::move(tables));

  // Step 6.
  if (checker_->IsAnotherRunning()) {
    wxMessageBox(wxString::FromUTF8(LangString(kStrAlreadyRunning)), "Message");
    return false;
  }

  // Step 7. The image handlers come before the skin (which AppInit loads), not after.
  wxInitAllImageHandlers();
  auto* main = new ZQMainWindow(AppClose);
  wxIcon icon;
  std::string iconPath = Folders().programData + "icons/zorvik-lumo.png";
  if (icon.LoadFile(wxString::FromUTF8(iconPath), wxBITMAP_TYPE_PNG)) main->SetIcon(icon);
  SetTopWindow(main);
  if (EnvSet("ZORVIK_LUMO_STARTUP_REPORT")) {
    bool exitAfter = EnvSet("ZORVIK_LUMO_EXIT_AFTER_FIRST_FRAME");
    main->SetFirstPaintHook([main, exitAfter] {
      double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - g_processStart).count();
      PlacementCount count = CountPlacedControls();
      std::printf("startup-to-first-frame-ms=%.1f\nplaced=%d on-screen=%d on-hidden-pages=%d\n", ms, count.placed,
                  count.onScreen, count.onHiddenPages);
      std::fflush(stdout);
      if (exitAfter) main->CloseWithoutAsking();
    });
  }
  if (!AppInit(main)) return true;  // the window closes itself; the loop ends at once
  int deck = 0;
  for (const std::string& file : g_commandLineFiles) {
    if (IsListFilePath(file)) {
      LibraryPanel* panel = CurrentLibraryPanel();
      if (!panel || !panel->OpenListFile(file)) TraceLine("command line: cannot open the list %s", file.c_str());
    } else if (deck < kDeckCount) {
      if (g_engine.decks[deck]) g_engine.decks[deck]->load(file, 0, nullptr, 1);
      ++deck;
    }
  }
  WatchSignals();
  return true;
}

// A termination signal closes the window the ordinary way, so settings and files are written.
void KelvaneApp::WatchSignals() {
  std::signal(SIGTERM, OnTerminateSignal);
  std::signal(SIGINT, OnTerminateSignal);
  signalTimer_.Bind(wxEVT_TIMER, [](wxTimerEvent&) {
    if (!g_terminate.exchange(false)) return;
    if (ZQMainWindow* main = MainWindow()) main->CloseWithoutAsking();
  });
  signalTimer_.Start(100);
}

int KelvaneApp::OnExit() {
  signalTimer_.Stop();
  checker_.reset();
  return wxApp::OnExit();
}

}  // namespace

wxIMPLEMENT_APP_NO_MAIN(KelvaneApp);

int main(int argc, char** argv) {
  int exitCode = 0;
  if (!ParseCommandLine(argc, argv, &g_commandLineFiles, &exitCode)) return exitCode;
  return wxEntry(argc, argv);
}
