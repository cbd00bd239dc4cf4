// db.knx reader: any bytes must parse or fail cleanly, and whatever records come out must
// survive being written and read again unchanged.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "library/SongDatabaseFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<TSongRecord> records;
  ParseSongDatabaseText(std::string(reinterpret_cast<const char*>(data), size),
                        [&](const TSongRecord& r) { records.push_back(r); });
  std::string text;
  BeginSongDatabaseText(text);
  for (const TSongRecord& r : records) AppendSongLine(text, r);
  EndSongDatabaseText(text);
  size_t index = 0;
  const int parsed = ParseSongDatabaseText(text, [&](const TSongRecord& r) {
    if (index >= records.size() || r.name != records[index].name || r.cue[4] != records[index].cue[4]) __builtin_trap();
    ++index;
  });
  if (!parsed || index != records.size()) __builtin_trap();
  return 0;
}
