#include "app/gui/AppInit.h"

#include <wx/display.h>
#include <wx/msgdlg.h>

#include <cstdlib>
#include <ctime>

#include "app/AppCloseSequence.h"
#include "app/DataFolders.h"
#include "app/Language.h"
#include "app/base/Trace.h"
#include "app/control/ControlActions.h"
#include "app/control/ControlBindings.h"
#include "app/control/ControlModels.h"
#include "app/gui/MainTick.h"
#include "app/gui/WindowControls.h"
#include "app/Engine.h"
#include "app/CrashReport.h"
#include "app/Settings.h"
#include "skin/BrowserSetup.h"
#include "app/gui/CdDriveRows.h"
#include "app/gui/ControllerBinding.h"
#include "app/gui/WheelBinding.h"
#include "skin/ControlTable.h"
#include "skin/SkinnedDialogs.h"
#include "skin/ZQCustomControl.h"
#include "skin/SkinLoader.h"
#include "skin/ZQMainWindow.h"

namespace {

DisplaySize DisplayOf(wxWindow* window) {
  int index = wxDisplay::GetFromWindow(window);
  wxRect geometry = wxDisplay(index == wxNOT_FOUND ? 0u : static_cast<unsigned>(index)).GetGeometry();
  return {geometry.width, geometry.height};
}

// A box with a language string; CR LF from the language file shows as one line break.
void ShowLanguageMessage(int number, wxWindow* parent) {
  wxString text = wxString::FromUTF8(LangString(number));
  text.Replace("\r\n", "\n");
  wxMessageBox(text, "Message", wxOK, parent);
}

// The same box, modeless.
void ShowLanguageNotice(int number, wxWindow* parent) {
  wxString text = wxString::FromUTF8(LangString(number));
  text.Replace("\r\n", "\n");
  ShowNotice(text, parent);
}

// The skin named in the settings, else the default for the display.
int PickSkin(DisplaySize display, const std::string& settingName) {
  std::vector<SkinListEntry>& skins = SkinTable();
  if (!settingName.empty()) {
    if (int index = FindSkin(skins, settingName); index >= 0) return index;
  }
  return ChooseDefaultSkin(skins, display);
}

}  // namespace

bool AppInit(ZQMainWindow* main) {
  // Steps 1-6: the engine's pointers start null; memory limits and drawing libraries are the
  // engine's and the toolkit's business on this platform.
  std::srand(static_cast<unsigned>(std::time(nullptr)));

  // Step 7: the skins need a display of at least 900 by 600.
  DisplaySize display = DisplayOf(main);
  if (DisplayTooSmall(display)) {
    ShowLanguageMessage(kStrDisplayTooSmall, main);
    main->CloseWithoutAsking();
    return false;
  }

  // Step 8: the song database.
  EngineLoadLibrary();

  // Step 10: every catalogue control exists, hidden, before anything is tied to it.
  CreateCatalogueControls(main);
  ApplyLabelTexts();
  BindWindowControls(main);
  BindDeckWheels();
  CreateSkinDialogWindows(main);
  BindControlsToEngine();
  InstallControlActions();
  // Scripts, keys and controllers reach a control as the mouse does, through its learn guard.
  SetControlEventRoute([](int id, int deck, const ControlEvent& event) {
    if (ZQCustomControl* control = ControlAt(id, deck)) control->SendEvent(event);
    else if (ControlModel* model = ModelAt(id, deck)) model->HandleEvent(event);
  });
  CreateLibraryPanel();

  // Steps 12-19: the engine's objects, and their state shown in the controls.
  EngineCreateAudioObjects();
  ShowEngineStateInControls();

  // Step 20: with no output device the engine runs on its null back end. The box does not hold
  // the program: it stays up beside the running window and goes with it.
  if (EngineEnumerateDevices() == 0) ShowLanguageNotice(kStrNoOutputDevice, main);
  EngineReadSettings();
  if (std::string crash = EngineTakeCrashReport(); !crash.empty() && !g_settings.crshur.empty() &&
      wxMessageBox("Application just crashed :-(\nSend the report?", "Message", wxYES_NO, main) == wxYES)
    wxMessageBox(SendCrashReport(g_settings.crshur, ComposeCrashReport("", "", crash))
                     ? "The report was sent ok. Thank you."
                     : "Error - the report was NOT sent!\nMaybe you don't have an Intenet connection available?\nThank you for trying to help.",
                 "Message");

  // Step 22: the shipped skins first, then the user's.
  SkinTable().clear();
  ListSkins(Folders().programData + "skins", nullptr, "");
  ListSkins(Folders().skins, nullptr, "");
  int skin = PickSkin(display, g_settings.skinf1);

  // Step 23: outputs open before the skin exists; then the analysis objects.
  EngineOpenOutputs();
  EngineCreateAnalysis();

  // Controllers and shortcuts before the skin, whose script their host evaluates.
  StartControllers(main);
  StartCdDriveScan();

  // Step 24.
  if (skin >= 0) LoadSkin(SkinTable()[skin].xmlPath, main);
  if (!main->IsShown()) {
    main->SetWindowStyle(ZQMainWindow::kFrameStyle);
    main->Show();
    TraceLine("error - NO SKIN WAS LOADED");
    ShowNotice("error - NO SKIN WAS LOADED", main);  // modeless: the bare window still starts
  }

  // Step 28: the application threads start last, once all their targets exist; the main
  // tick runs on the window's own timer.
  EngineStartThreads();
  StartMainTick(main);
  return true;
}

void AppClose() {
  AppCloseSteps steps;
  steps.hideWindows = [] {
    if (ZQMainWindow* main = MainWindow()) main->Hide();
  };
  steps.stopInputs = [] {
    StopMainTick();
    StopControllers();
    StopCdDriveScan();
    SetActionRunner(nullptr);
    SetControlEventRoute(nullptr);
  };
  steps.saveSettings = [] {
    std::string message;
    if (!EngineSaveSettings(&message)) wxMessageBox(wxString::FromUTF8(message), "Message");
  };
  steps.stopThreads = EngineStopThreads;
  steps.forgetMainWindow = [] {
    ForgetMainWindow();
    DestroyLibraryPanel();
  };
  steps.closeOutputs = EngineCloseOutputs;
  steps.releaseObjects = [] {
    ReleaseSkinObjects();
    EngineDeleteAudioObjects();
  };
  steps.saveLibrary = [] {
    EngineSaveLibrary();
    TraceLine("closed");
  };
  RunAppClose(steps);
}
