#pragma once
// Playlists in the .m3u and .m3u8 forms: reading the paths out of one, whatever system wrote it,
// and writing one.
//
// Reading copes with a byte-order mark, CRLF, LF and lone CR line ends, '\' separators,
// #EXTINF and other comment lines, relative paths (taken from the playlist's folder), absolute
// paths, file:// URLs, and Windows drive letters. Names are bytes: a line that is not UTF-8 is
// kept as it is, and also tried as Latin-1 when that is what names the file on disk.

#include <string>
#include <vector>

struct TZQListElement;

// The paths of a playlist's text, in order. folder is the playlist's folder, ending in '/'.
std::vector<std::string> ParseM3u(const std::string& bytes, const std::string& folder);

// Maps one path as a foreign playlist or library wrote it (C:\Music\a.mp3, file:///C:/a.mp3,
// Music\a.mp3, /Users/dj/Music/a.mp3) to the path of a file on this machine: the path itself
// when it exists; else, for drive-letter and missing absolute paths, the same name under the
// playlist's folder, then the path without its drive letter. Without any existing candidate the
// first form is returned, so the row still shows the song.
std::string MapForeignPath(const std::string& path, const std::string& folder);

// Decodes a file:// URL (percent escapes, localhost) to a path; other text is returned as is.
std::string FileUrlToPath(const std::string& url);

// An extended .m3u of the rows: #EXTM3U, then #EXTINF (seconds, "artist - title") and the path.
std::string WriteM3u(const std::vector<TZQListElement>& rows);
