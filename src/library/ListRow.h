#pragma once
// Building a list row for a file: which files a list accepts, the media type, the column texts
// from the tags, and the song database's tempo, length and key laid over them.

#include <string>

#include "library/ListElement.h"

class ZQTagReader;

// True for the audio, video and CD extensions lists take, and for virtual paths (with '$').
bool IsAcceptedListFile(const std::string& path);
// True for the playlist files a list reads, in any case: .m3u and .m3u8 (IsM3uPath) and .knl.
bool IsListFilePath(const std::string& path);
bool IsM3uPath(const std::string& path);

// 1 video, 2 karaoke (an .mp3 with a .cdg of the same name beside it), else 0.
int MediaTypeOf(const std::string& path);

// "098.4" below 100 (so a text sort orders tempi by value), "128.0" otherwise.
std::string TempoText(float bpm);
// "%.2d:%.2d" of whole minutes and seconds.
std::string TimeText(int durationMs);

// Builds the row for path. With haveTags the columns already in row stand (an import supplies
// them); otherwise they are read through reader. Returns 0 for a file lists do not take.
// Database values overlay the row; a key read from the tags reaches the database.
int BuildRow(const std::string& path, TZQListElement& row, bool haveTags, ZQTagReader& reader);

// Lays the song database's tempo, length and key over a row built earlier (an analysis result).
void OverlayDatabase(TZQListElement& row);
