#pragma once
// TZQListElement: one song row of a list, with its twelve column texts. Rows are plain values;
// lists own them and hand out copies.

#include <string>

enum ListColumn {
  kColNumber = 0,
  kColArtist,
  kColTitle,
  kColTempo,
  kColTime,
  kColGenre,
  kColKey,
  kColComment,
  kColAlbum,
  kColTrack,
  kColYear,
  kColPath,
  kColumnCount
};

// The four-letter attribute keys of the columns in list files, in column order.
extern const char* const kColumnKeys[kColumnCount];

struct TZQListElement {
  std::string column[kColumnCount];
  int reserved[4] = {};
  int genre1 = -1, genre2 = -1, genre3 = -1;
  int mediaType = 0;  // 0 audio, 1 video, 2 karaoke
  int isNew = 0;
  int isExplicit = 0;  // added by the user, as against generated
  int group = -1;
  int selected = 0;
  int durationMs = 0;
  int highlight = -1;  // -1 none, else an index into the highlight colours
  std::string auxString;   // scheduled start text, and the like
  std::string auxString2;
  int removed = 0;  // marked for removal
};

// Reads a list-file boolean: true for "OK", "YES", "Y" and "TRUE" in any case.
bool ListBoolean(const std::string& text);
