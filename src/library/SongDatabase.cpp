#include "library/SongDatabase.h"

#include <memory>
#include <mutex>
#include <unordered_map>

#include "library/SongDatabaseFile.h"

namespace {

using SongTable = std::unordered_map<std::string, TSongRecord>;

// The table is a hash so that the lookups made for every row of a long list stay cheap.
constexpr size_t kInitialBuckets = 101;  // the first prime at or above 100

std::mutex& TableLock() {
  static std::mutex lock;
  return lock;
}
std::unique_ptr<SongTable>& Table() {
  static std::unique_ptr<SongTable> table;
  return table;
}

void StoreLocked(SongTable& table, const TSongRecord& record) {
  auto it = table.find(record.name);
  if (it == table.end()) table.emplace(record.name, record);
  else it->second = record;
}

}  // namespace

void ClearSongRecord(TSongRecord& record) { record = TSongRecord{}; }

int LoadSongDatabase(const std::string& path) {
  std::lock_guard guard(TableLock());
  Table() = std::make_unique<SongTable>(kInitialBuckets);
  SongTable& table = *Table();
  return ReadSongDatabaseFile(path, [&](const TSongRecord& record) { StoreLocked(table, record); },
                              [&] { table.clear(); });
}

int SaveSongDatabase(const std::string& path) {
  std::unique_ptr<SongTable> table;
  {
    std::lock_guard guard(TableLock());
    table = std::move(Table());
  }
  if (!table) return 0;
  std::string text;
  text.reserve(table->size() * 200 + 128);
  BeginSongDatabaseText(text);
  for (const auto& [name, record] : *table) AppendSongLine(text, record);
  EndSongDatabaseText(text);
  return WriteSongDatabaseFile(path, text) ? 1 : 0;
}

int FindSong(const std::string& name, TSongRecord& out) {
  std::lock_guard guard(TableLock());
  if (!Table()) return 0;
  auto it = Table()->find(name);
  if (it == Table()->end()) return 0;
  out = it->second;
  return 1;
}

void StoreSong(const TSongRecord& record) {
  std::lock_guard guard(TableLock());
  if (Table()) StoreLocked(*Table(), record);
}

size_t SongCount() {
  std::lock_guard guard(TableLock());
  return Table() ? Table()->size() : 0;
}

void DropSongDatabase() {
  std::lock_guard guard(TableLock());
  Table().reset();
}
