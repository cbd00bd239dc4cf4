#pragma once
// CZQBrowser: the model of the library tree on the left of the window, with no toolkit in it.
// The tree is kept flat, in display order (nodes with a depth), over up to 100 lists. Four
// lists are built in: the main list (folder content, first list control), a second list, the
// history and the side list (second control). User lists are saved to the playlists folder,
// the built-in ones to the database folder, and lists.knx names them all.
//
// Threads: the GUI thread. The lists' own workers fill them (AbstractList.h).

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <map>

#include "codecs/CdDrive.h"
#include "codecs/Cddb.h"
#include "library/AbstractList.h"

enum BrowserNodeType {
  kNodeDrive = 100,
  kNodeBigDrive = 101,
  kNodeTop = 120,
  kNodeFolders = 200,
  kNodeITunes = 202,
  kNodeLists = 205,
  kNodeUserList = 210,
  kNodeHistory = 212,
  kNodeFolder = 220,        // a folder under a drive
  kNodeITunesPlaylist = 230,
  kNodeCdDrive = 300,       // an optical drive or disc image; " (audio-CD)" when a disc is in
};

struct BrowserNode {
  int nodeType = 0;
  int depth = 0;
  std::string label;
  std::string path;
  int listIndex = -1;
};

class CZQBrowser {
 public:
  static constexpr int kMaxLists = 100;
  static constexpr int kRecentItem = -100;  // stands for recentItem wherever a node index is given
  enum BuiltInList { kMainList = 1, kSecondList = 2, kHistoryList = 3, kSideList = 4 };

  // Interface texts by language-string number; "" falls back on English.
  using TextLookup = std::function<std::string(int number)>;
  // Queues a song for background analysis (the file worker's producer side).
  using AnalyzeHook = std::function<void(const std::string& path)>;

  CZQBrowser(std::string databaseFolder, std::string playlistsFolder, TextLookup text = nullptr);
  ~CZQBrowser();

  void Build();
  // Shows the node: a folder fills the main list, a list node makes that list current.
  void SelectNode(int index);
  // Opens a drive or folder node: its sub-folders (not hidden ones), sorted, become "<DIR>name"
  // nodes one level deeper behind it. A second call closes it again. Returns the nodes added.
  int ToggleFolder(int index);
  // A user list; an empty name takes the default name with a running number. -1 when all 100
  // places are taken.
  int CreateList(const std::string& name, int type = 0);
  void DeleteList(int index);
  // Renames a user list, its tree item and its file; 0 for a built-in list, an empty name or
  // the name of another list.
  int RenameList(int index, const std::string& name);
  int FindList(const std::string& name) const;
  CZQAbstractList* List(int index) const;
  int SaveLists();
  int LoadLists();
  // LoadLists over text in memory; path names it in the log.
  int LoadListsText(const std::string& bytes, const std::string& path);

  // Puts a list into list control 0 or 1: the scroll state of the list that leaves is kept in
  // it, the one of the list that comes is restored (-1 stored resets to 0).
  void ShowInControl(int control, int listIndex, ListScrollState& controlState);
  int ListInControl(int control) const { return control == 0 ? shownLists_[0] : shownLists_[1]; }

  // "analyze": every given visible row of the list goes to the file worker.
  int AnalyzeRows(int listIndex, const std::vector<int>& visibleRows);
  // A finished analysis: every list shows the song's new tempo, length and key.
  void SongAnalysed(const std::string& songKey);
  // The tag editor wrote the file's tags: every row of it reads them again.
  int FileRetagged(const std::string& path);

  // "All Genres (%d)" and one "name (%d)" item per genre of the list.
  std::vector<std::string> GenreItems(int listIndex) const;

  // Folders offered in the tree: home, /, and removable mounts of the user.
  static std::vector<std::string> FolderRoots();

  // The optical drives the tree shows from the next Build; a drive scan (CdDriveScan.h) finds
  // them away from the window. Titles found by a CDDB lookup reach the rows of that disc, and
  // the rows already shown when the disc's list is on screen.
  void SetCdDrives(std::vector<CdDriveInfo> drives);
  void SetCdTitles(const std::string& discId, const CddbDiscInfo& titles);

  std::vector<BrowserNode> nodes;
  int currentItem = -1;
  int recentItem = -1;
  int mainList = -1, secondList = -1, historyList = -1, sideList = -1;
  bool rememberHistory = true;
  AnalyzeHook analyze;
  std::string iTunesLibrary;  // "" none; set before Build to show its playlists

 private:
  std::string Text(int number) const;
  std::string ListFilePath(const CZQAbstractList& list) const;
  int PlaceList(std::unique_ptr<CZQAbstractList> list);
  void AddNode(int type, int depth, const std::string& label, const std::string& path = "", int list = -1);
  void ShowCdTracks(const CdDriveInfo& drive);

  std::vector<CdDriveInfo> cdDrives_;
  std::map<std::string, CddbDiscInfo> cdTitles_;  // by disc id

  std::string databaseFolder_;
  std::string playlistsFolder_;
  TextLookup text_;
  std::unique_ptr<CZQAbstractList> lists_[kMaxLists];
  int shownLists_[2] = {-1, -1};
  int defaultNameCounter_ = 0;
};
