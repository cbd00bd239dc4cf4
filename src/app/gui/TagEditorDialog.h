#pragma once
// The tag editor of a list row (`list_tag_edit`): file name, then title, artist, album, key,
// track, year, genre and comment. "Update" writes the tags into the file (TagWriter.h) and
// refreshes every list row of it; a file that cannot be written shows why and stays as it was.
//
// Threads: GUI thread.

#include <string>

class wxWindow;
class CZQBrowser;

// Returns true when the file's tags were written.
bool ShowTagEditor(wxWindow* parent, const std::string& path, CZQBrowser& browser);
