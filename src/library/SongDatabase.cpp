#include "library/SongDatabase.h"

#include <sys/stat.h>

#include <atomic>
#include <memory>
#include <thread>
#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "app/base/Trace.h"
#include "library/LibraryLock.h"
#include "library/SongDatabaseFile.h"

namespace {

using SongTable = std::unordered_map<std::string, TSongRecord>;

// The table is a hash so that the lookups made for every row of a long list stay cheap.
constexpr size_t kInitialBuckets = 101;  // the first prime at or above 100

// Which file a path named when this process last read or wrote it. While it is unchanged no other
// program has saved, and a save need not read it again.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = -1;
  long long modifiedNs = -1;
  bool operator==(const FileIdentity&) const = default;
};

FileIdentity IdentityOf(const std::string& path) {
  struct stat info {};
  FileIdentity id;
  if (::stat(path.c_str(), &info) != 0) return id;
  id.device = info.st_dev;
  id.inode = info.st_ino;
  id.size = info.st_size;
  id.modifiedNs = info.st_mtim.tv_sec * 1000000000LL + info.st_mtim.tv_nsec;
  return id;
}

struct Database {
  std::mutex lock;
  std::unique_ptr<SongTable> table;
  // Names stored since the last save: this process's changes, laid over the file at the save.
  std::unordered_set<std::string> dirty;
  std::string knownPath;
  FileIdentity known;  // of knownPath, as last read or written here
  std::atomic<SongChangeHook> changeHook{nullptr};
  std::atomic<void*> changeContext{nullptr};
  std::atomic<int> hooksRunning{0};  // calls of the hook in flight, so removing it can wait them out
};

Database& Db() {
  static Database db;
  return db;
}

void StoreLocked(SongTable& table, const TSongRecord& record) {
  auto it = table.find(record.name);
  if (it == table.end()) table.emplace(record.name, record);
  else it->second = record;
}

std::string BuildText(const SongTable& table) {
  std::string text;
  text.reserve(table.size() * 200 + 128);
  BeginSongDatabaseText(text);
  for (const auto& [name, record] : table) AppendSongLine(text, record);
  EndSongDatabaseText(text);
  return text;
}

}  // namespace

void ClearSongRecord(TSongRecord& record) { record = TSongRecord{}; }

int LoadSongDatabase(const std::string& path) {
  Database& db = Db();
  std::lock_guard guard(db.lock);
  db.table = std::make_unique<SongTable>(kInitialBuckets);
  db.dirty.clear();
  SongTable& table = *db.table;
  const int read = ReadSongDatabaseFile(path, [&](const TSongRecord& record) { StoreLocked(table, record); },
                                        [&] { table.clear(); });
  db.knownPath = path;
  db.known = read == 1 ? IdentityOf(path) : FileIdentity{};
  return read > 0 ? 1 : 0;
}

namespace {

// Nobody else saved since this process read or wrote the file: the table in memory is the
// merge. The text is made under the table's lock, which costs callers of StoreSong no more than
// copying the table out would.
int SaveUnchangedFile(Database& db, const std::string& path) {
  std::string text;
  std::vector<std::string> saving;
  {
    std::lock_guard guard(db.lock);
    if (!db.table) return 0;
    text = BuildText(*db.table);
    saving.assign(db.dirty.begin(), db.dirty.end());
    db.dirty.clear();
  }
  const bool written = WriteSongDatabaseFile(path, text, true);
  std::lock_guard guard(db.lock);
  if (!written) {
    db.dirty.insert(saving.begin(), saving.end());
    return 0;
  }
  db.knownPath = path;
  db.known = IdentityOf(path);
  return 1;
}

}  // namespace

int FlushSongDatabase(const std::string& path) {
  Database& db = Db();
  {
    std::lock_guard guard(db.lock);
    if (!db.table) return 0;
    if (db.dirty.empty()) return 1;
  }
  CLibraryLock lock(path);
  if (!lock.held()) return 0;  // the changes stay marked for the next save
  bool unchanged;
  {
    std::lock_guard guard(db.lock);
    unchanged = db.knownPath == path && db.known.size >= 0 && db.known == IdentityOf(path);
  }
  if (unchanged) return SaveUnchangedFile(db, path);

  SongTable changed;
  {
    std::lock_guard guard(db.lock);
    if (!db.table) return 0;
    for (const std::string& name : db.dirty) changed.emplace(name, db.table->at(name));
    db.dirty.clear();
  }
  auto keepForNextSave = [&] {
    std::lock_guard guard(db.lock);
    for (const auto& [name, record] : changed) db.dirty.insert(name);
  };

  // What other programs saved since this one read the file comes first; this one's changes,
  // whole records, go over it.
  SongTable merged(kInitialBuckets);
  const int read = ReadSongDatabaseFile(path, [&](const TSongRecord& r) { StoreLocked(merged, r); },
                                        [&] { merged.clear(); });
  if (read < 0) {
    keepForNextSave();
    return 0;
  }
  {
    // Records this process holds that the file lost (a damaged file replaced by its backup).
    std::lock_guard guard(db.lock);
    if (db.table) {
      for (const auto& [name, record] : *db.table) {
        if (!merged.count(name)) merged.emplace(name, record);
      }
    }
  }
  for (const auto& [name, record] : changed) StoreLocked(merged, record);
  if (!WriteSongDatabaseFile(path, BuildText(merged), read == 1)) {
    keepForNextSave();
    return 0;
  }
  std::lock_guard guard(db.lock);
  db.knownPath = path;
  db.known = IdentityOf(path);
  if (db.table) {
    for (auto& [name, record] : merged) {
      if (!db.dirty.count(name)) (*db.table)[name] = std::move(record);
    }
  }
  return 1;
}

int SaveSongDatabase(const std::string& path) {
  const int saved = FlushSongDatabase(path);
  DropSongDatabase();
  return saved;
}

int FindSong(const std::string& name, TSongRecord& out) {
  Database& db = Db();
  std::lock_guard guard(db.lock);
  if (!db.table) return 0;
  auto it = db.table->find(name);
  if (it == db.table->end()) return 0;
  out = it->second;
  return 1;
}

void StoreSong(const TSongRecord& record) {
  Database& db = Db();
  {
    std::lock_guard guard(db.lock);
    if (!db.table) return;
    StoreLocked(*db.table, record);
    db.dirty.insert(record.name);
  }
  db.hooksRunning.fetch_add(1, std::memory_order_seq_cst);
  if (SongChangeHook hook = db.changeHook.load(std::memory_order_seq_cst)) {
    hook(db.changeContext.load(std::memory_order_seq_cst));
  }
  db.hooksRunning.fetch_sub(1, std::memory_order_seq_cst);
}

size_t SongCount() {
  Database& db = Db();
  std::lock_guard guard(db.lock);
  return db.table ? db.table->size() : 0;
}

size_t UnsavedSongCount() {
  Database& db = Db();
  std::lock_guard guard(db.lock);
  return db.dirty.size();
}

void DropSongDatabase() {
  Database& db = Db();
  std::lock_guard guard(db.lock);
  db.table.reset();
  db.dirty.clear();
  db.known = FileIdentity{};
}

void SetSongChangeHook(SongChangeHook hook, void* context) {
  Database& db = Db();
  db.changeHook.store(nullptr, std::memory_order_seq_cst);
  // A StoreSong that read the old hook may still be inside it: its receiver must outlive that.
  while (db.hooksRunning.load(std::memory_order_seq_cst) != 0) std::this_thread::yield();
  db.changeContext.store(context, std::memory_order_seq_cst);
  db.changeHook.store(hook, std::memory_order_seq_cst);
}
