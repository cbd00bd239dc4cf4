#pragma once
// CZQAbstractList: the row model behind both list controls: an ordered collection of song rows
// with column settings, a filter, a search and background loading. Every list of the browser is
// one: a folder's content, a saved playlist, a search result.
//
// Rows are owned in one ordered store, the list of everything. With a filter or a search on,
// the visible rows are the subset that passes both; the store keeps the rest, so saving a list
// always writes every row, never the reduced view.
//
// Threads: the GUI thread calls everything; the list's worker thread builds rows for the files
// queued by AddFile(path, explicit) and adds them. One mutex guards the rows and is never held
// while a hook runs. onChanged may be called on the worker thread: the receiver redraws on the
// GUI thread. Destruction stops the worker (it sees the flag between files) and joins it.

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "library/ListElement.h"

class ZQTagReader;

struct ListColumnSetting {
  std::string title;
  int visible = 1;
  int hideable = 1;
  int menuHidden = 0;
  int width = 42;
  int minWidth = 30;
  int maxWidth = 300;
  int alignment = 0;
};

struct ListFilter {
  int mediaFilter = -1;  // -1 any
  int yearMin = 0, yearMax = 0, bpmMin = 0, bpmMax = 0;  // 0 none
  std::string artistFilter, albumFilter;  // compared ignoring case; empty none
  std::vector<int> genreFilter;           // read up to 256 entries or a -1
};

// Where a list control stood: slider positions and data offsets of both directions.
struct ListScrollState {
  int sliderPosHoriz = -1, dataOffsetHoriz = -1, sliderPosVert = -1, dataOffsetVert = -1;
};

class CZQAbstractList {
 public:
  using Hook = std::function<void(CZQAbstractList&)>;

  CZQAbstractList();
  ~CZQAbstractList();
  CZQAbstractList(const CZQAbstractList&) = delete;
  CZQAbstractList& operator=(const CZQAbstractList&) = delete;

  // With explicitFlag the path is queued for the worker (and the row marked as the user's);
  // otherwise the row is built here and added at once. Returns 0 for a file lists do not take.
  int AddFile(const std::string& path, int explicitFlag);
  // Adds every accepted file of a folder, sorted by name, then (recurse) its sub-folders; with
  // playlistsToo also the rows of the .m3u, .m3u8 and .knl files found. Returns files queued.
  int AddFolder(const std::string& path, bool recurse, bool playlistsToo);
  // Adds finished rows (imports that bring their own texts, list files); one redraw.
  void AddRow(const TZQListElement& row);
  void AddRows(std::vector<TZQListElement>&& rows);
  void Clear();
  // Waits until the worker has added every queued file.
  void FlushJobs();

  // .knl files (ListFile.cpp). SaveToFile returns 1 when written; LoadFromFile 1 when read.
  // A path ending in .m3u or .m3u8 is read as a playlist.
  int SaveToFile(const std::string& path, bool withAuxStrings);
  int LoadFromFile(const std::string& path, bool clearFirst);

  // index -1 takes out every row marked removed. With removeFile the file of column 11 is deleted.
  void RemoveRow(int index, bool removeFile);
  // Copies row in before visible index, or at the end when index is negative or past the end.
  void InsertRow(const TZQListElement& row, int index);

  void SetSearch(const std::string& text, bool newToo = false);
  void SetFilter(const ListFilter& filter);
  void ClearFilter();
  bool searchActive() const { return searchActive_; }
  bool filterActive() const { return filterActive_; }

  int GetVisibleCount() const;
  int GetTotalCount() const;
  // Copies a visible row out; false past the end.
  bool GetRow(int index, TZQListElement& out) const;
  // Every row, filtered or not, in order.
  std::vector<TZQListElement> AllRows() const;
  double totalDurationMs() const;
  // Rows per genre text ("" for none), over every row.
  std::vector<std::pair<std::string, int>> GenreCounts() const;

  // Lays the song database's values over the rows of this song (an analysis finished); the name
  // is the song's database key (SongKey.h).
  void RefreshSong(const std::string& songKey);
  // Reads the tags of the rows of this file again (the tag editor wrote them); the row keeps
  // its place, marks and colour. Returns the rows refreshed.
  int RefreshFile(const std::string& path, ZQTagReader& reader);
  // Sorts every row by a column; text order, which the fixed-width tempo and time texts make
  // a value order.
  void Sort(int column, bool ascending);

  Hook onChanged;
  Hook onCursorChanged;
  int listId = -1;
  int type = 0;  // 0 user list, 1 main, 2 second, 3 history, 4 side
  std::string name = "list";
  std::string imageFile;
  int overrideDuration = 3600;
  int shuffleOnLoad = 0;
  int mainCursor = -1;
  int nextCursor = -1;
  int columnCount = kColumnCount;
  int columnSortBlocked = 0, columnResizeBlocked = 0;
  int sortColumn = -1, sortAscending = 1;
  ListScrollState scroll;
  ListColumnSetting columns[kColumnCount];

 private:
  struct Entry;

  bool Passes(const Entry& entry) const;
  void RebuildVisible();
  void AppendLocked(std::unique_ptr<Entry> entry);
  void Notify();
  void StartWorker();
  void WorkerLoop();
  int LoadM3u(const std::string& path);

  mutable std::mutex rowsLock_;
  std::vector<std::unique_ptr<Entry>> rows_;  // owner, in order
  std::vector<Entry*> visible_;
  double totalDurationMs_ = 0;

  bool searchActive_ = false, searchNewToo_ = false;
  std::string searchText_;  // lower case
  bool filterActive_ = false;
  ListFilter filter_;

  std::mutex jobsLock_;
  std::condition_variable jobsChanged_;
  std::deque<std::string> jobs_;
  bool working_ = false;
  bool stop_ = false;
  std::thread worker_;
};

// The lower-cased text search compares against: ASCII and the Latin-1 letters of UTF-8; other
// bytes stay as they are.
std::string SearchFold(std::string_view text);
