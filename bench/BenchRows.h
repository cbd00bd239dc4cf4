#pragma once
// List rows as a DJ's library fills them, numbered so a search can pick a few out of many.

#include <string>

#include "library/ListElement.h"

inline TZQListElement BenchRowOf(int i) {
  TZQListElement row;
  row.column[kColArtist] = "Artist " + std::to_string(i % 997);
  row.column[kColTitle] = "Title number " + std::to_string(i) + " (Extended Mix)";
  row.column[kColComment] = i % 5 ? "" : "peak time, remastered";
  row.column[kColAlbum] = "Album " + std::to_string(i % 3001);
  row.column[kColTempo] = "128.0";
  row.column[kColTime] = "06:12";
  row.column[kColGenre] = "Techno";
  row.column[kColPath] = "/home/dj/Music/Artist " + std::to_string(i % 997) + "/Title number " + std::to_string(i) + ".mp3";
  row.durationMs = 372000;
  return row;
}
