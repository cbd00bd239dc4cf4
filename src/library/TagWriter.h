#pragma once
// The tag editor's "Update": writes title, artist, album, key, track, year, genre and comment
// into a file's tags through TagLib, without ever leaving half a file. The tags are written
// into a copy beside the file, which is synced and renamed over the original only when TagLib
// saved it completely; a read-only file or folder, a full disk or a format TagLib cannot write
// leave the file exactly as it was.
//
// Threads: any but the audio thread; one call at a time per file.

#include <string>

struct TagEdit {
  std::string title, artist, album, key, genre, comment;
  int track = 0;  // 0 removes it
  int year = 0;
};

// False, with the reason for the user in `error`, when the file was not changed.
bool WriteTags(const std::string& path, const TagEdit& edit, std::string* error);
