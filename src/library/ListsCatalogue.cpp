// lists.knx: the catalogue of the browser's lists, with each list's cursors, sort and column
// settings and scroll state. Every list's rows go to its own .knl beside it. The whole set is
// written under the library lock, each file atomically.

#include <sys/stat.h>

#include <algorithm>

#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "library/Browser.h"
#include "library/LibraryLock.h"
#include "library/ListFile.h"
#include "library/XmlWalk.h"

namespace {

const char* const kHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\n";

void AppendListEntry(std::string& text, const CZQAbstractList& list) {
  text += "<list ";
  AppendTextAttribute(text, "name", list.name);
  AppendIntAttribute(text, "type", list.type);
  AppendIntAttribute(text, "maincursor", list.mainCursor);
  AppendIntAttribute(text, "nextcursor", list.nextCursor);
  AppendIntAttribute(text, "columnsortblocked", list.columnSortBlocked);
  AppendIntAttribute(text, "columnresizeblocked", list.columnResizeBlocked);
  AppendIntAttribute(text, "sortcolumn", list.sortColumn);
  AppendIntAttribute(text, "sortascending", list.sortAscending);
  AppendIntAttribute(text, "sliderposhoriz", list.scroll.sliderPosHoriz);
  AppendIntAttribute(text, "dataoffsethoriz", list.scroll.dataOffsetHoriz);
  AppendIntAttribute(text, "sliderposvert", list.scroll.sliderPosVert);
  AppendIntAttribute(text, "dataoffsetvert", list.scroll.dataOffsetVert);
  for (int i = 0; i < kColumnCount; ++i) {
    const std::string n = std::to_string(i);
    AppendIntAttribute(text, ("columnwidth" + n).c_str(), list.columns[i].width);
    AppendIntAttribute(text, ("columnvisible" + n).c_str(), list.columns[i].visible);
  }
  text += "/>\n";
}

void ApplyListEntry(CZQAbstractList& list, const XmlAttributes& a) {
  list.mainCursor = a.Int("maincursor", list.mainCursor);
  list.nextCursor = a.Int("nextcursor", list.nextCursor);
  list.columnSortBlocked = a.Int("columnsortblocked", 0) > 0;
  list.columnResizeBlocked = a.Int("columnresizeblocked", 0) > 0;
  list.sortColumn = a.Int("sortcolumn", list.sortColumn);
  list.sortAscending = a.Int("sortascending", list.sortAscending);
  list.scroll.sliderPosHoriz = a.Int("sliderposhoriz", -1);
  list.scroll.dataOffsetHoriz = a.Int("dataoffsethoriz", -1);
  list.scroll.sliderPosVert = a.Int("sliderposvert", -1);
  list.scroll.dataOffsetVert = a.Int("dataoffsetvert", -1);
  for (int i = 0; i < kColumnCount; ++i) {
    const std::string n = std::to_string(i);
    ListColumnSetting& column = list.columns[i];
    column.width = std::clamp(a.Int("columnwidth" + n, column.width), column.minWidth, column.maxWidth);
    // The artist, title and number columns cannot be switched off.
    column.visible = column.hideable ? (a.Int("columnvisible" + n, column.visible) != 0) : 1;
  }
}

}  // namespace

std::string CZQBrowser::ListFilePath(const CZQAbstractList& list) const {
  const std::string& folder = list.type == 0 ? playlistsFolder_ : databaseFolder_;
  return folder + SafeListFileName(list.name) + ".knl";
}

int CZQBrowser::SaveLists() {
  CLibraryLock lock(databaseFolder_);
  if (!lock.held()) return 0;
  if (!rememberHistory && List(historyList)) List(historyList)->Clear();
  std::string text = kHeader;
  text += "<lists version=\"100\">\n";
  int ok = 1;
  for (auto& list : lists_) {
    if (!list) continue;
    AppendListEntry(text, *list);
    if (!list->SaveToFile(ListFilePath(*list), true)) ok = 0;
  }
  text += "</lists>\n";
  if (!WriteFileAtomically(databaseFolder_ + "lists.knx", text)) ok = 0;
  return ok;
}

int CZQBrowser::LoadLists() {
  const std::string path = databaseFolder_ + "lists.knx";
  std::string bytes;
  if (!ReadWholeFile(path, bytes)) return 0;
  return LoadListsText(bytes, path);
}

int CZQBrowser::LoadListsText(const std::string& bytes, const std::string& path) {
  std::string why;
  bool builtInSeen[5] = {};
  const XmlWalkResult result = WalkXmlElements(
      bytes, "lists", nullptr,
      [&](std::string_view element, const XmlAttributes& a) {
        if (element != "list") return;
        const int type = a.Int("type", 0);
        const std::string name = ReadTextAttribute(a, "name").empty() ? "unknown" : ReadTextAttribute(a, "name");
        int index = -1;
        if (type >= 1 && type <= 4) {
          if (builtInSeen[type]) return;  // only one list of each built-in type
          builtInSeen[type] = true;
          const int builtIn[5] = {-1, mainList, secondList, historyList, sideList};
          index = builtIn[type];
        } else {
          index = FindList(name);
          if (index < 0 || List(index)->type != 0) index = CreateList(name, 0);
          if (index < 0) {
            TraceLine("LoadLists: no place for list %s", name.c_str());
            return;
          }
        }
        CZQAbstractList* list = List(index);
        const std::string file = ListFilePath(*list);
        struct stat info {};
        if (::stat(file.c_str(), &info) == 0) list->LoadFromFile(file, true);
        ApplyListEntry(*list, a);
      },
      &why);
  if (result != XmlWalkResult::kOk) {
    TraceLine("LoadLists: %s is not a list catalogue (%s)", path.c_str(), why.c_str());
    return 0;
  }
  return 1;
}
