#include "library/ListRow.h"

#include <sys/stat.h>

#include <cstdio>

#include "app/base/PathNames.h"
#include "codecs/SongKey.h"
#include "library/KeyNaming.h"
#include "library/SongDatabase.h"
#include "library/TagReader.h"

namespace {

bool OneOf(const std::string& word, std::initializer_list<const char*> words) {
  for (const char* w : words) {
    if (word == w) return true;
  }
  return false;
}

}  // namespace

bool IsAcceptedListFile(const std::string& path) {
  if (path.find('$') != std::string::npos) return true;
  return OneOf(LowerExtensionOf(path), {"mp3", "m4a", "ogg", "opus", "wma", "aif", "aiff", "flac", "wav", "au",
                                      "mp4", "aac", "avi", "mov", "wmv", "mkv", "asf", "mpg", "mpeg", "mpe", "m3e",
                                      "cda", "cda$", "aif$", "aiff$"});
}

bool IsM3uPath(const std::string& path) { return OneOf(LowerExtensionOf(path), {"m3u", "m3u8"}); }

bool IsListFilePath(const std::string& path) { return IsM3uPath(path) || LowerExtensionOf(path) == "knl"; }

int MediaTypeOf(const std::string& path) {
  const std::string extension = LowerExtensionOf(path);
  if (OneOf(extension, {"avi", "mpg", "mov", "m4v", "mp4", "asf", "wmv", "mkv", "mpeg", "mpe"})) return 1;
  if (extension == "mp3") {
    std::string twin = path.substr(0, path.size() - 3);
    struct stat info {};
    if (::stat((twin + "cdg").c_str(), &info) == 0 || ::stat((twin + "CDG").c_str(), &info) == 0) return 2;
  }
  return 0;
}

std::string TempoText(float bpm) {
  char text[32];
  std::snprintf(text, sizeof text, bpm < 100.0f ? "0%.1f" : "%.1f", static_cast<double>(bpm));
  return text;
}

std::string TimeText(int durationMs) {
  const int seconds = durationMs / 1000;
  char text[32];
  std::snprintf(text, sizeof text, "%.2d:%.2d", seconds / 60, seconds % 60);
  return text;
}

void OverlayDatabase(TZQListElement& row) {
  const std::string name = SongKeyOf(row.column[kColPath]);
  TSongRecord record;
  const std::string& keyText = row.column[kColKey];
  if (FindSong(name, record)) {
    if (record.bpm > 0.0f) row.column[kColTempo] = TempoText(record.bpm);
    row.durationMs = record.durationMs;
    if (record.durationMs > 0) row.column[kColTime] = TimeText(record.durationMs);
    const bool recordKeyKnown = record.pitchKey >= 1 && record.pitchKey <= 24;
    if (keyText.empty() && recordKeyKnown) {
      row.column[kColKey] = KeyName(record.pitchKey);
    } else if (!keyText.empty() && !recordKeyKnown) {
      if (const int index = KeyIndexFromText(keyText)) {
        record.pitchKey = index;
        StoreSong(record);
      }
    }
  } else if (const int index = KeyIndexFromText(keyText)) {
    // A key from the tags is worth a record of its own.
    ClearSongRecord(record);
    record.name = name;
    record.pitchKey = index;
    StoreSong(record);
  }
}

int BuildRow(const std::string& path, TZQListElement& row, bool haveTags, ZQTagReader& reader) {
  if (!IsAcceptedListFile(path)) return 0;
  if (!haveTags) {
    if (!reader.Open(path, 1)) {
      // A file that is gone still gets a row, titled from its name.
      reader.Open(path + "$", 0);
    }
    for (int c = 1; c < kColumnCount; ++c) reader.GetColumn(c, row.column[c]);
    reader.Close();
  }
  row.column[kColNumber].clear();
  row.column[kColPath] = path;
  row.mediaType = MediaTypeOf(path);
  OverlayDatabase(row);
  if (row.genre1 < 0) row.genre1 = GenreIndex(row.column[kColGenre]);
  return 1;
}
