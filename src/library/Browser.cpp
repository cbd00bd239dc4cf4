#include "library/Browser.h"

#include <glob.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "library/ITunesLibrary.h"
#include "library/LibraryLock.h"
#include "library/ListFile.h"
#include "library/TagReader.h"

namespace {

const std::map<int, const char*>& EnglishTexts() {
  static const std::map<int, const char*> texts = {
      {117, "List"}, {118, "New List"}, {120, "Music"}, {121, "Desktop"}, {125, "Folders"},
      {126, "Lists"}, {128, "iTunes Library"}, {129, "History"}};
  return texts;
}

std::string HomeFolder() {
  const char* home = std::getenv("HOME");
  return home && *home ? home : "/";
}

}  // namespace

CZQBrowser::CZQBrowser(std::string databaseFolder, std::string playlistsFolder, TextLookup text)
    : databaseFolder_(std::move(databaseFolder)), playlistsFolder_(std::move(playlistsFolder)), text_(std::move(text)) {
  mainList = CreateList("main", kMainList);
  secondList = CreateList("second", kSecondList);
  historyList = CreateList("history", kHistoryList);
  sideList = CreateList("side", kSideList);
}

CZQBrowser::~CZQBrowser() = default;

std::string CZQBrowser::Text(int number) const {
  std::string text = text_ ? text_(number) : std::string();
  if (text.empty()) {
    auto it = EnglishTexts().find(number);
    if (it != EnglishTexts().end()) text = it->second;
  }
  return text;
}

void CZQBrowser::AddNode(int type, int depth, const std::string& label, const std::string& path, int list) {
  nodes.push_back(BrowserNode{type, depth, label, path, list});
}

std::vector<std::string> CZQBrowser::FolderRoots() {
  std::vector<std::string> roots = {HomeFolder(), "/"};
  const char* user = std::getenv("USER");
  std::vector<std::string> patterns = {"/mnt/*"};
  if (user && *user) {
    patterns.insert(patterns.begin(), {std::string("/media/") + user + "/*", std::string("/run/media/") + user + "/*"});
  }
  for (const std::string& pattern : patterns) {
    glob_t found{};
    if (::glob(pattern.c_str(), GLOB_ONLYDIR, nullptr, &found) == 0) {
      for (size_t i = 0; i < found.gl_pathc; ++i) roots.emplace_back(found.gl_pathv[i]);
    }
    ::globfree(&found);
  }
  return roots;
}

void CZQBrowser::Build() {
  nodes.clear();
  currentItem = recentItem = -1;
  AddNode(kNodeTop, 0, Text(120), HomeFolder());
  AddNode(kNodeTop, 0, Text(121), HomeFolder() + "/Desktop");
  AddNode(kNodeFolders, 0, Text(125));
  for (const std::string& root : FolderRoots()) {
    const size_t slash = root.find_last_of('/', root.size() > 1 ? root.size() - 2 : 0);
    const std::string label = root == "/" ? "/" : root.substr(slash + 1);
    AddNode(kNodeDrive, 1, "<DISK>" + label, root);
  }
  for (const CdDriveInfo& drive : cdDrives_) AddNode(kNodeCdDrive, 1, "<DISK>" + drive.DisplayName(), drive.devicePath);
  AddNode(kNodeHistory, 0, Text(129), "", historyList);
  AddNode(kNodeLists, 0, Text(126));
  for (int i = 0; i < kMaxLists; ++i) {
    if (lists_[i] && lists_[i]->type == 0) AddNode(kNodeUserList, 1, lists_[i]->name, "", i);
  }
  if (!iTunesLibrary.empty()) {
    std::vector<ITunesPlaylist> playlists;
    if (ScanForPlaylists(iTunesLibrary, playlists)) {
      AddNode(kNodeITunes, 0, Text(128), iTunesLibrary);
      for (const ITunesPlaylist& p : playlists) {
        if (p.visible) AddNode(kNodeITunesPlaylist, 1, p.displayName, std::to_string(p.id));
      }
    }
  }
}

void CZQBrowser::SelectNode(int index) {
  if (index == kRecentItem) index = recentItem;
  if (index < 0 || index >= static_cast<int>(nodes.size())) return;
  recentItem = currentItem;
  currentItem = index;
  const BrowserNode& node = nodes[static_cast<size_t>(index)];
  CZQAbstractList* main = List(mainList);
  switch (node.nodeType) {
    case kNodeTop:
    case kNodeDrive:
    case kNodeBigDrive:
    case kNodeFolder:
      main->Clear();
      main->AddFolder(node.path, false, false);
      break;
    case kNodeCdDrive:
      for (const CdDriveInfo& drive : cdDrives_) {
        if (drive.devicePath == node.path) ShowCdTracks(drive);
      }
      break;
    case kNodeITunesPlaylist:
      main->Clear();
      ParseITunesXML(iTunesLibrary, *main, std::atoi(node.path.c_str()));
      break;
    default:
      break;
  }
}

int CZQBrowser::ToggleFolder(int index) {
  if (index < 0 || index >= static_cast<int>(nodes.size())) return 0;
  const BrowserNode node = nodes[static_cast<size_t>(index)];
  if (node.nodeType != kNodeDrive && node.nodeType != kNodeBigDrive && node.nodeType != kNodeFolder &&
      node.nodeType != kNodeTop) {
    return 0;
  }
  auto next = nodes.begin() + index + 1;
  if (next != nodes.end() && next->depth > node.depth) {
    auto end = std::find_if(next, nodes.end(), [&](const BrowserNode& n) { return n.depth <= node.depth; });
    nodes.erase(next, end);
    return 0;
  }
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator it(node.path, std::filesystem::directory_options::skip_permission_denied,
                                              error), end;
       !error && it != end; it.increment(error)) {
    std::error_code typeError;
    const std::string name = it->path().filename().string();
    if (!name.empty() && name[0] != '.' && it->is_directory(typeError)) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  std::vector<BrowserNode> children;
  const std::string base = node.path.empty() || node.path.back() == '/' ? node.path : node.path + "/";
  for (const std::string& name : names) children.push_back(BrowserNode{kNodeFolder, node.depth + 1, "<DIR>" + name, base + name, -1});
  nodes.insert(nodes.begin() + index + 1, children.begin(), children.end());
  return static_cast<int>(children.size());
}

int CZQBrowser::PlaceList(std::unique_ptr<CZQAbstractList> list) {
  for (int i = 0; i < kMaxLists; ++i) {
    if (!lists_[i]) {
      list->listId = i;
      lists_[i] = std::move(list);
      return i;
    }
  }
  return -1;
}

int CZQBrowser::CreateList(const std::string& name, int type) {
  auto list = std::make_unique<CZQAbstractList>();
  list->type = type;
  list->name = name.empty() ? Text(118) : name;
  if (list->name.empty()) list->name = Text(117);
  // The counter runs on across deletions, so a new default list never takes an old one's name.
  if (list->name == Text(118)) list->name += std::to_string(++defaultNameCounter_);
  const int index = PlaceList(std::move(list));
  if (index >= 0 && type == 0 && !nodes.empty()) {
    // Under the Lists item, after the lists already there (iTunes may follow them).
    auto at = std::find_if(nodes.begin(), nodes.end(), [](const BrowserNode& n) { return n.nodeType == kNodeLists; });
    if (at != nodes.end()) {
      const int depth = at->depth;
      at = std::find_if(at + 1, nodes.end(), [&](const BrowserNode& n) { return n.depth <= depth; });
    }
    nodes.insert(at, BrowserNode{kNodeUserList, 1, lists_[index]->name, "", index});
  }
  return index;
}

void CZQBrowser::DeleteList(int index) {
  if (!List(index) || lists_[index]->type != 0) return;
  ::unlink(ListFilePath(*lists_[index]).c_str());
  lists_[index].reset();
  std::erase_if(nodes, [&](const BrowserNode& n) { return n.nodeType == kNodeUserList && n.listIndex == index; });
}

int CZQBrowser::RenameList(int index, const std::string& name) {
  CZQAbstractList* list = List(index);
  if (!list || list->type != 0 || name.empty()) return 0;
  const int other = FindList(name);
  if (other >= 0 && other != index) return 0;
  // Written under the new name before the old file goes, so a crash in between loses nothing.
  const std::string oldPath = ListFilePath(*list);
  list->name = name;
  const std::string newPath = ListFilePath(*list);
  if (newPath != oldPath && list->SaveToFile(newPath, true)) ::unlink(oldPath.c_str());
  for (BrowserNode& node : nodes) {
    if (node.nodeType == kNodeUserList && node.listIndex == index) node.label = name;
  }
  return 1;
}

int CZQBrowser::FindList(const std::string& name) const {
  for (int i = 0; i < kMaxLists; ++i) {
    if (lists_[i] && lists_[i]->name == name) return i;
  }
  return -1;
}

CZQAbstractList* CZQBrowser::List(int index) const {
  return index >= 0 && index < kMaxLists ? lists_[index].get() : nullptr;
}

void CZQBrowser::ShowInControl(int control, int listIndex, ListScrollState& state) {
  if (control < 0 || control > 1 || !List(listIndex)) return;
  if (CZQAbstractList* leaving = List(shownLists_[control])) leaving->scroll = state;
  shownLists_[control] = listIndex;
  state = List(listIndex)->scroll;
  for (int* value : {&state.sliderPosHoriz, &state.dataOffsetHoriz, &state.sliderPosVert, &state.dataOffsetVert}) {
    if (*value < 0) *value = 0;
  }
}

int CZQBrowser::AnalyzeRows(int listIndex, const std::vector<int>& visibleRows) {
  CZQAbstractList* list = List(listIndex);
  if (!list || !analyze) return 0;
  int queued = 0;
  TZQListElement row;
  for (int index : visibleRows) {
    if (list->GetRow(index, row)) analyze(row.column[kColPath]), ++queued;
  }
  return queued;
}

void CZQBrowser::SongAnalysed(const std::string& songKey) {
  for (auto& list : lists_) {
    if (list) list->RefreshSong(songKey);
  }
}

int CZQBrowser::FileRetagged(const std::string& path) {
  ZQTagReader reader;
  int refreshed = 0;
  for (auto& list : lists_) {
    if (list) refreshed += list->RefreshFile(path, reader);
  }
  return refreshed;
}

std::vector<std::string> CZQBrowser::GenreItems(int listIndex) const {
  std::vector<std::string> items;
  const CZQAbstractList* list = List(listIndex);
  if (!list) return items;
  items.push_back("All Genres (" + std::to_string(list->GetTotalCount()) + ")");
  for (const auto& [genre, count] : list->GenreCounts()) {
    if (!genre.empty()) items.push_back(genre + " (" + std::to_string(count) + ")");
  }
  return items;
}
