#pragma once
// lumo automix's songs: the paths of a playlist (.m3u, .m3u8), a list file (.knl) or a folder
// (its playable files, sub-folders too, sorted by path), and the analysis of those that have
// no stripe yet, so every transition can be beat-matched.

#include <string>
#include <vector>

// The songs in order. False, with the reason in `error`, when the source cannot be read or is
// none of the three kinds. Entries are kept even when the file is missing: the mix skips them
// with a log line when their turn comes.
bool ReadMixSongs(const std::string& source, std::vector<std::string>& songs, std::string* error);

// Analyses the songs that need it (tempo, beat marks, gain) into the library, with a progress
// line on stderr. Returns how many were analysed; failures are logged and the song stays in
// the list (it may still play, without beat matching).
int AnalyseMixSongs(const std::vector<std::string>& songs);

// Writes a short demo set: three generated tracks at different tempi and a playlist of them,
// in `folder`. Returns the playlist's path, empty when it could not be written.
std::string WriteDemoSet(const std::string& folder);
