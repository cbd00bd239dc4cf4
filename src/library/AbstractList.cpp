#include "library/AbstractList.h"

#include <strings.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "codecs/SongKey.h"
#include "library/ListRow.h"
#include "library/TagReader.h"

namespace fs = std::filesystem;

namespace {

constexpr int kWorkerWakeMs = 290;
constexpr int kWorkerBatch = 256;  // rows added under one lock and one redraw
constexpr int kDefaultWidths[kColumnCount] = {42, 110, 150, 42, 42, 73, 42, 100, 100, 42, 42, 200};

// The haystack joins the four searched columns with a byte no search text holds, so a match
// never spans two of them.
constexpr char kFieldSeparator = '\x01';

}  // namespace

struct CZQAbstractList::Entry {
  TZQListElement row;
  std::string haystack;

  explicit Entry(const TZQListElement& r) : row(r) { Index(); }
  explicit Entry(TZQListElement&& r) : row(std::move(r)) { Index(); }
  void Index() {
    haystack.clear();
    for (int c : {kColTitle, kColArtist, kColComment, kColAlbum}) {
      haystack += SearchFold(row.column[c]);
      haystack += kFieldSeparator;
    }
  }
};

std::string SearchFold(std::string_view text) {
  std::string out(text);
  for (size_t i = 0; i < out.size(); ++i) {
    char& c = out[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c == kFieldSeparator) c = ' ';
    // Latin-1 capitals in UTF-8 (C3 80 to C3 9E, but not the multiplication sign C3 97), so
    // "BJÖRK" finds "Björk".
    if (static_cast<unsigned char>(c) == 0xC3 && i + 1 < out.size()) {
      const auto next = static_cast<unsigned char>(out[i + 1]);
      if (next >= 0x80 && next <= 0x9E && next != 0x97) out[i + 1] = static_cast<char>(next + 0x20), ++i;
    }
  }
  return out;
}

CZQAbstractList::CZQAbstractList() {
  for (int c = 0; c < kColumnCount; ++c) {
    columns[c].width = kDefaultWidths[c];
    columns[c].hideable = c > kColTitle ? 1 : 0;
    const bool right = c == kColNumber || c == kColTempo || c == kColTime || c == kColTrack || c == kColYear;
    columns[c].alignment = right ? 2 : 0;
  }
}

CZQAbstractList::~CZQAbstractList() {
  {
    std::lock_guard guard(jobsLock_);
    stop_ = true;
  }
  jobsChanged_.notify_all();
  if (worker_.joinable()) worker_.join();
}

void CZQAbstractList::Notify() {
  if (onChanged) onChanged(*this);
}

int CZQAbstractList::AddFile(const std::string& path, int explicitFlag) {
  if (!IsAcceptedListFile(path)) return 0;
  if (explicitFlag) {
    {
      std::lock_guard guard(jobsLock_);
      jobs_.push_back(path);
    }
    StartWorker();
    jobsChanged_.notify_all();
    return 1;
  }
  thread_local ZQTagReader reader;
  TZQListElement row;
  if (!BuildRow(path, row, false, reader)) return 0;
  AddRow(row);
  return 1;
}

int CZQAbstractList::AddFolder(const std::string& path, bool recurse, bool playlistsToo) {
  std::error_code error;
  std::vector<fs::path> files, folders;
  for (fs::directory_iterator it(path, fs::directory_options::skip_permission_denied, error), end;
       !error && it != end; it.increment(error)) {
    std::error_code typeError;
    if (it->is_directory(typeError)) folders.push_back(it->path());
    else if (it->is_regular_file(typeError)) files.push_back(it->path());
  }
  std::sort(files.begin(), files.end());
  std::sort(folders.begin(), folders.end());
  int added = 0;
  for (const fs::path& file : files) {
    const std::string text = file.string();
    if (playlistsToo && IsListFilePath(text)) {
      LoadFromFile(text, false);
    } else {
      added += AddFile(text, 1);
    }
  }
  if (recurse) {
    for (const fs::path& folder : folders) added += AddFolder(folder.string(), true, playlistsToo);
  }
  return added;
}

void CZQAbstractList::AppendLocked(std::unique_ptr<Entry> entry) {
  if (Passes(*entry)) {
    visible_.push_back(entry.get());
    totalDurationMs_ += entry->row.durationMs;
  }
  rows_.push_back(std::move(entry));
}

void CZQAbstractList::AddRow(const TZQListElement& row) {
  {
    std::lock_guard guard(rowsLock_);
    AppendLocked(std::make_unique<Entry>(row));
  }
  Notify();
}

void CZQAbstractList::AddRows(std::vector<TZQListElement>&& rows) {
  if (rows.empty()) return;
  {
    std::lock_guard guard(rowsLock_);
    rows_.reserve(rows_.size() + rows.size());
    for (TZQListElement& row : rows) AppendLocked(std::make_unique<Entry>(std::move(row)));
  }
  Notify();
}

void CZQAbstractList::Clear() {
  {
    std::lock_guard guard(rowsLock_);
    rows_.clear();
    visible_.clear();
    totalDurationMs_ = 0;
  }
  mainCursor = nextCursor = -1;
  Notify();
}

void CZQAbstractList::StartWorker() {
  std::lock_guard guard(jobsLock_);
  if (!worker_.joinable() && !stop_) worker_ = std::thread([this] { WorkerLoop(); });
}

void CZQAbstractList::WorkerLoop() {
  // Row building reads tags from disk: the lowest priority keeps it out of the way of playback.
  ::setpriority(PRIO_PROCESS, static_cast<id_t>(::syscall(SYS_gettid)), 19);
  ZQTagReader reader;
  std::unique_lock guard(jobsLock_);
  for (;;) {
    jobsChanged_.wait_for(guard, std::chrono::milliseconds(kWorkerWakeMs), [&] { return stop_ || !jobs_.empty(); });
    if (stop_) return;
    if (jobs_.empty()) continue;
    working_ = true;
    std::vector<std::unique_ptr<Entry>> batch;
    while (!jobs_.empty() && !stop_ && batch.size() < kWorkerBatch) {
      const std::string path = std::move(jobs_.front());
      jobs_.pop_front();
      guard.unlock();
      TZQListElement row;
      row.isExplicit = 1;
      if (BuildRow(path, row, false, reader)) batch.push_back(std::make_unique<Entry>(row));
      guard.lock();
    }
    guard.unlock();
    {
      std::lock_guard rows(rowsLock_);
      for (auto& entry : batch) AppendLocked(std::move(entry));
    }
    if (!batch.empty()) Notify();
    guard.lock();
    working_ = false;
    jobsChanged_.notify_all();
  }
}

void CZQAbstractList::FlushJobs() {
  std::unique_lock guard(jobsLock_);
  jobsChanged_.wait(guard, [&] { return stop_ || (jobs_.empty() && !working_); });
}

bool CZQAbstractList::Passes(const Entry& entry) const {
  const TZQListElement& row = entry.row;
  if (filterActive_) {
    const ListFilter& f = filter_;
    if (f.mediaFilter != -1 && f.mediaFilter != row.mediaType) return false;
    char* end = nullptr;
    const std::string& yearText = row.column[kColYear];
    long year = std::strtol(yearText.c_str(), &end, 10);
    if (end == yearText.c_str()) year = -1;
    if (f.yearMin > 0 && year < f.yearMin) return false;
    if (f.yearMax > 0 && year > f.yearMax) return false;
    // The tempo is read only when an upper year is set; otherwise it counts as -1, so any lower
    // tempo bound then rejects the row. Saved filters rely on this.
    const double tempo = f.yearMax > 0 ? std::atof(row.column[kColTempo].c_str()) : -1.0;
    if (f.bpmMin > 0 && tempo < f.bpmMin) return false;
    if (f.bpmMax > 0 && tempo > f.bpmMax) return false;
    if (!f.artistFilter.empty() && strcasecmp(f.artistFilter.c_str(), row.column[kColArtist].c_str())) return false;
    if (!f.albumFilter.empty() && strcasecmp(f.albumFilter.c_str(), row.column[kColAlbum].c_str())) return false;
    if (!f.genreFilter.empty()) {
      bool found = false;
      for (size_t i = 0; i < f.genreFilter.size() && i < 256 && f.genreFilter[i] != -1 && !found; ++i) {
        const int g = f.genreFilter[i];
        found = g == row.genre1 || g == row.genre2 || g == row.genre3;
      }
      if (!found) return false;
    }
  }
  if (searchActive_ && !searchText_.empty()) {
    if (searchNewToo_ && row.isNew) return true;
    return entry.haystack.find(searchText_) != std::string::npos;
  }
  return true;
}

void CZQAbstractList::RebuildVisible() {
  {
    std::lock_guard guard(rowsLock_);
    visible_.clear();
    totalDurationMs_ = 0;
    for (auto& entry : rows_) {
      if (!Passes(*entry)) continue;
      visible_.push_back(entry.get());
      totalDurationMs_ += entry->row.durationMs;
    }
  }
  Notify();
}

void CZQAbstractList::SetSearch(const std::string& text, bool newToo) {
  std::string folded = SearchFold(text);
  // Typing one more letter can only narrow what shows: a row that missed the shorter text
  // misses the longer one too, so only the rows on show are tested again.
  const bool narrowing = searchActive_ && newToo == searchNewToo_ && folded.size() > searchText_.size() &&
                         folded.compare(0, searchText_.size(), searchText_) == 0;
  searchText_ = std::move(folded);
  searchNewToo_ = newToo;
  searchActive_ = !searchText_.empty();
  if (!narrowing) {
    RebuildVisible();
    return;
  }
  {
    std::lock_guard guard(rowsLock_);
    std::erase_if(visible_, [&](const Entry* entry) { return !Passes(*entry); });
    totalDurationMs_ = 0;
    for (const Entry* entry : visible_) totalDurationMs_ += entry->row.durationMs;
  }
  Notify();
}

void CZQAbstractList::SetFilter(const ListFilter& filter) {
  filter_ = filter;
  filterActive_ = true;
  RebuildVisible();
}

void CZQAbstractList::ClearFilter() {
  filterActive_ = false;
  RebuildVisible();
}

int CZQAbstractList::GetVisibleCount() const {
  std::lock_guard guard(rowsLock_);
  return static_cast<int>(visible_.size());
}

int CZQAbstractList::GetTotalCount() const {
  std::lock_guard guard(rowsLock_);
  return static_cast<int>(rows_.size());
}

bool CZQAbstractList::GetRow(int index, TZQListElement& out) const {
  std::lock_guard guard(rowsLock_);
  if (index < 0 || index >= static_cast<int>(visible_.size())) return false;
  out = visible_[static_cast<size_t>(index)]->row;
  return true;
}

std::vector<TZQListElement> CZQAbstractList::AllRows() const {
  std::lock_guard guard(rowsLock_);
  std::vector<TZQListElement> rows;
  rows.reserve(rows_.size());
  for (const auto& entry : rows_) rows.push_back(entry->row);
  return rows;
}

double CZQAbstractList::totalDurationMs() const {
  std::lock_guard guard(rowsLock_);
  return totalDurationMs_;
}

std::vector<std::pair<std::string, int>> CZQAbstractList::GenreCounts() const {
  std::vector<std::pair<std::string, int>> counts;
  std::lock_guard guard(rowsLock_);
  for (const auto& entry : rows_) {
    const std::string& genre = entry->row.column[kColGenre];
    auto it = std::find_if(counts.begin(), counts.end(), [&](const auto& c) { return c.first == genre; });
    if (it == counts.end()) counts.emplace_back(genre, 1);
    else ++it->second;
  }
  std::sort(counts.begin(), counts.end());
  return counts;
}

void CZQAbstractList::RemoveRow(int index, bool removeFile) {
  {
    std::lock_guard guard(rowsLock_);
    // The row is picked before any is taken out: visible_ shifts under the loop.
    const Entry* target = index >= 0 && index < static_cast<int>(visible_.size()) ? visible_[static_cast<size_t>(index)] : nullptr;
    if (index >= 0 && !target) return;
    auto doomed = [&](const Entry* entry) { return index >= 0 ? entry == target : entry->row.removed != 0; };
    for (auto it = rows_.begin(); it != rows_.end();) {
      if (!doomed(it->get())) {
        ++it;
        continue;
      }
      if (removeFile) ::unlink((*it)->row.column[kColPath].c_str());
      visible_.erase(std::remove(visible_.begin(), visible_.end(), it->get()), visible_.end());
      it = rows_.erase(it);
    }
    totalDurationMs_ = 0;
    for (const Entry* entry : visible_) totalDurationMs_ += entry->row.durationMs;
  }
  if (index >= 0 && mainCursor > index) --mainCursor;
  Notify();
}

void CZQAbstractList::InsertRow(const TZQListElement& row, int index) {
  {
    std::lock_guard guard(rowsLock_);
    auto entry = std::make_unique<Entry>(row);
    Entry* raw = entry.get();
    const bool atEnd = index < 0 || index >= static_cast<int>(visible_.size());
    auto ownerPlace = atEnd ? rows_.end()
                            : std::find_if(rows_.begin(), rows_.end(),
                                           [&](const auto& e) { return e.get() == visible_[static_cast<size_t>(index)]; });
    rows_.insert(ownerPlace, std::move(entry));
    if (Passes(*raw)) {
      visible_.insert(atEnd ? visible_.end() : visible_.begin() + index, raw);
      totalDurationMs_ += raw->row.durationMs;
    }
  }
  // The cursor stays on its song.
  if (index >= 0 && mainCursor >= index) ++mainCursor;
  Notify();
}

void CZQAbstractList::RefreshSong(const std::string& songKey) {
  bool changed = false;
  {
    std::lock_guard guard(rowsLock_);
    for (auto& entry : rows_) {
      if (SongKeyOf(entry->row.column[kColPath]) != songKey) continue;
      OverlayDatabase(entry->row);
      entry->Index();
      changed = true;
    }
  }
  if (changed) Notify();
}

int CZQAbstractList::RefreshFile(const std::string& path, ZQTagReader& reader) {
  int refreshed = 0;
  {
    std::lock_guard guard(rowsLock_);
    for (auto& entry : rows_) {
      if (entry->row.column[kColPath] != path) continue;
      TZQListElement fresh = entry->row;
      if (!BuildRow(path, fresh, false, reader)) continue;
      fresh.column[kColNumber] = entry->row.column[kColNumber];
      entry->row = std::move(fresh);
      entry->Index();
      ++refreshed;
    }
  }
  if (refreshed) Notify();
  return refreshed;
}

void CZQAbstractList::Sort(int column, bool ascending) {
  if (column < 0 || column >= kColumnCount) return;
  sortColumn = column;
  sortAscending = ascending ? 1 : 0;
  {
    std::lock_guard guard(rowsLock_);
    std::stable_sort(rows_.begin(), rows_.end(), [&](const auto& a, const auto& b) {
      const int order = a->row.column[column].compare(b->row.column[column]);
      return ascending ? order < 0 : order > 0;
    });
  }
  RebuildVisible();
}
