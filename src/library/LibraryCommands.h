#pragma once
// The library's buttons and script rows that work on the list on screen without asking the user
// anything: sending songs to the second list, making a new list, taking rows out, emptying,
// shuffling, moving a song up or down, colouring it, and the media filters. The ones that need
// a file or a name from the user (add, add_dir, list_edit, list_load, list_saveas, list_export,
// list_delete) are the window's; they end in the functions below.
//
// Threads: GUI thread only.

#include <string>
#include <string_view>
#include <vector>

class LibraryPanel;

// Runs the command of a control name ("shuffle", "drag_up", "list_color_3", ...) on the list
// shown. False for a name that is not one of these, or when there is nothing to work on (no
// cursor row, an empty list, a built-in list where only a user list will do).
bool RunLibraryCommand(LibraryPanel& panel, std::string_view control);
// The control names RunLibraryCommand takes.
const std::vector<const char*>& LibraryCommandNames();

// The list shown, as the window's dialogs use it: its index in the browser, and whether it is
// the user's own (renaming and deleting are for those only).
int ShownListIndex(LibraryPanel& panel);
bool ShownListIsUsers(LibraryPanel& panel);
// Renames or deletes the shown user list (its file too); false for a built-in list or a bad or
// taken name. After a delete the main list shows.
bool RenameShownList(LibraryPanel& panel, const std::string& name);
bool DeleteShownList(LibraryPanel& panel);
// The shown list's rows under a new user list of that name, which then shows. -1 for a bad or
// taken name.
int SaveShownListAs(LibraryPanel& panel, const std::string& name);
// The songs of a list file added to the end of the shown list; false when it cannot be read.
bool AddListFileToShownList(LibraryPanel& panel, const std::string& path);
// The shown list's visible rows written as an .m3u playlist (atomically); false on failure.
bool ExportShownList(LibraryPanel& panel, const std::string& path);
