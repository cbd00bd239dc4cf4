#pragma once
// Reading an iTunes library file ("iTunes Music Library.xml" or "iTunes Library.xml", an XML
// property list): its playlists for the browser tree, and the tracks of one playlist, or all,
// into a list. Locations written on Windows or macOS (file URLs, percent escapes, drive letters)
// are mapped to files on this machine; a track whose file cannot be found is skipped.

#include <string>
#include <vector>

class CZQAbstractList;

struct ITunesPlaylist {
  int id = 0;
  std::string name;
  std::string displayName;  // name, with " (smart list)" behind a smart one
  std::string persistentId;
  bool visible = true;  // false for hidden lists and the all-tracks master list
  bool folder = false;
  bool system = false;  // "Distinguished Kind": Music, Movies, Podcasts and the like
  bool smart = false;
};

// The library file under the user's music folders; "" when there is none.
std::string FindITunesLibrary();

// 1 when the file parsed; the playlists in file order.
int ScanForPlaylists(const std::string& path, std::vector<ITunesPlaylist>& playlists);
// Fills list with the tracks of the playlist, or every track when playlistId is below 1.
// Returns the rows added, -1 when the file did not parse.
int ParseITunesXML(const std::string& path, CZQAbstractList& list, int playlistId);

// The same over text in memory; folder is the library file's folder (for mapping locations).
int ScanITunesText(const std::string& bytes, std::vector<ITunesPlaylist>& playlists);
int ParseITunesText(const std::string& bytes, const std::string& folder, CZQAbstractList& list, int playlistId);
