#pragma once
// The library buttons that ask the user for something first: files or a folder to add, a name
// for a list, a playlist to read or write, a yes before a list is deleted. What they then do is
// the library's (library/LibraryCommands.h).
//
// Threads: GUI thread only.

class ZQMainWindow;

// Hangs the dialogs on add, add_dir, list_edit, list_delete, list_load, list_saveas and
// list_export; each opens after the button's own event has finished.
void BindLibraryDialogs(ZQMainWindow* mainWindow);
