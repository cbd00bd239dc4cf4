#include "app/gui/LibraryDialogs.h"

#include <wx/dirdlg.h>
#include <wx/filedlg.h>
#include <wx/textdlg.h>

#include <functional>
#include <string>
#include <vector>

#include "library/LibraryCommands.h"
#include "library/LibraryPanel.h"
#include "skin/ControlTable.h"
#include "skin/SkinControls.h"
#include "skin/SkinnedDialogs.h"
#include "skin/ZQMainWindow.h"

namespace {

const char* const kSongFiles =
    "Songs|*.mp3;*.MP3;*.m4a;*.ogg;*.opus;*.flac;*.wav;*.WAV;*.aif;*.aiff;*.au;*.aac;*.wma;*.mp4;*.mkv;*.avi;*.mov;"
    "*.mpg;*.mpeg|All files|*";
const char* const kPlaylists = "Playlists (*.m3u, *.m3u8, *.knl)|*.m3u;*.m3u8;*.knl;*.M3U;*.M3U8|All files|*";

std::string Utf8(const wxString& text) { return text.utf8_string(); }

// Binds a global library button to a dialog run once its event is over, with the panel there.
void OnButton(ZQMainWindow* main, const char* name, std::function<void(LibraryPanel&)> dialog) {
  auto* button = dynamic_cast<CZQButton*>(ControlAt(ControlIdByName(name), -1));
  if (!button) return;
  button->onRelease = [main, dialog](int, int, int) {
    main->CallAfter([dialog] {
      if (LibraryPanel* panel = CurrentLibraryPanel()) dialog(*panel);
    });
  };
}

// A user list's new name, "" when the user cancels.
std::string AskListName(ZQMainWindow* main, const char* title, const std::string& now) {
  wxTextEntryDialog dialog(main, "Name of the list", title, wxString::FromUTF8(now));
  return dialog.ShowModal() == wxID_OK ? Utf8(dialog.GetValue()) : std::string();
}

std::string ShownListName(LibraryPanel& panel) {
  const CZQAbstractList* list = panel.list().list();
  return list ? list->name : std::string();
}

}  // namespace

void BindLibraryDialogs(ZQMainWindow* main) {
  OnButton(main, "add", [main](LibraryPanel& panel) {
    wxFileDialog dialog(main, "Add songs to the list", "", "", kSongFiles, wxFD_OPEN | wxFD_MULTIPLE | wxFD_FILE_MUST_EXIST);
    if (dialog.ShowModal() != wxID_OK) return;
    wxArrayString chosen;
    dialog.GetPaths(chosen);
    std::vector<std::string> paths;
    for (const wxString& path : chosen) paths.push_back(Utf8(path));
    panel.DropOnList(paths);
  });
  OnButton(main, "add_dir", [main](LibraryPanel& panel) {
    wxDirDialog dialog(main, "Add a folder's songs to the list", "", wxDD_DIR_MUST_EXIST);
    if (dialog.ShowModal() == wxID_OK) panel.DropOnList({Utf8(dialog.GetPath())});
  });
  OnButton(main, "list_edit", [main](LibraryPanel& panel) {
    if (!ShownListIsUsers(panel)) return ShowSkinnedMessage(main, "Only your own lists can be renamed.");
    const std::string name = AskListName(main, "Rename the list", ShownListName(panel));
    if (!name.empty() && !RenameShownList(panel, name))
      ShowSkinnedMessage(main, "There is already a list called \"" + name + "\".");
  });
  OnButton(main, "list_delete", [main](LibraryPanel& panel) {
    if (!ShownListIsUsers(panel)) return ShowSkinnedMessage(main, "Only your own lists can be deleted.");
    if (AskConfirm(main, "Delete the list \"" + ShownListName(panel) + "\"?")) DeleteShownList(panel);
  });
  OnButton(main, "list_saveas", [main](LibraryPanel& panel) {
    const std::string name = AskListName(main, "Save the list as", ShownListName(panel) + " copy");
    if (!name.empty() && SaveShownListAs(panel, name) < 0)
      ShowSkinnedMessage(main, "There is already a list called \"" + name + "\".");
  });
  OnButton(main, "list_load", [main](LibraryPanel& panel) {
    wxFileDialog dialog(main, "Add a playlist's songs to the list", "", "", kPlaylists, wxFD_OPEN | wxFD_FILE_MUST_EXIST);
    if (dialog.ShowModal() == wxID_OK && !AddListFileToShownList(panel, Utf8(dialog.GetPath())))
      ShowSkinnedMessage(main, "The playlist could not be read: " + Utf8(dialog.GetPath()));
  });
  OnButton(main, "list_export", [main](LibraryPanel& panel) {
    wxFileDialog dialog(main, "Export the list", "", wxString::FromUTF8(ShownListName(panel) + ".m3u"),
                        "Playlist (*.m3u)|*.m3u", wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    if (dialog.ShowModal() != wxID_OK) return;
    std::string path = Utf8(dialog.GetPath());
    if (path.size() < 4 || path.compare(path.size() - 4, 4, ".m3u") != 0) path += ".m3u";
    if (!ExportShownList(panel, path)) ShowSkinnedMessage(main, "The playlist could not be written: " + path);
  });
}
