#include "library/LibraryCommands.h"

#include <algorithm>
#include <cstring>
#include <random>

#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "library/LibraryPanel.h"
#include "library/M3uFile.h"

namespace {

std::mt19937& Random() {
  static std::mt19937 random{std::random_device{}()};
  return random;
}

CZQAbstractList* Shown(LibraryPanel& panel) { return panel.list().list(); }

// The cursor's song moved to visible place `to`; the cursor goes with it.
bool MoveCursorRow(LibraryPanel& panel, int to) {
  CZQAbstractList* list = Shown(panel);
  const int from = panel.list().Cursor();
  TZQListElement row;
  if (!list || !list->GetRow(from, row)) return false;
  to = std::clamp(to, 0, list->GetVisibleCount() - 1);
  if (to == from) return true;
  list->RemoveRow(from, false);
  list->InsertRow(row, to);
  panel.list().SetCursor(to);
  return true;
}

bool SetCursorColour(LibraryPanel& panel, int colour) {
  CZQAbstractList* list = Shown(panel);
  const int cursor = panel.list().Cursor();
  TZQListElement row;
  if (!list || !list->GetRow(cursor, row)) return false;
  row.highlight = colour;
  list->RemoveRow(cursor, false);
  list->InsertRow(row, cursor);
  panel.list().SetCursor(cursor);
  return true;
}

bool ShowMedia(LibraryPanel& panel, int mediaType) {
  CZQAbstractList* list = Shown(panel);
  if (!list) return false;
  if (mediaType < 0) {
    list->ClearFilter();
  } else {
    ListFilter filter;
    filter.mediaFilter = mediaType;
    list->SetFilter(filter);
  }
  panel.list().SetCursor(list->GetVisibleCount() > 0 ? 0 : -1);
  return true;
}

// Songs of the shown list go to the end of the second list, the one a two-list skin shows
// beside the browser; sending the second list to itself does nothing.
bool InsertIntoSecondList(LibraryPanel& panel, bool all) {
  CZQBrowser& browser = panel.browser();
  CZQAbstractList* list = Shown(panel);
  CZQAbstractList* second = browser.List(browser.secondList);
  if (!list || !second || list == second) return false;
  std::vector<TZQListElement> rows;
  TZQListElement row;
  if (all) {
    for (int i = 0; list->GetRow(i, row); ++i) rows.push_back(row);
  } else if (list->GetRow(panel.list().Cursor(), row)) {
    rows.push_back(row);
  }
  if (rows.empty()) return false;
  second->AddRows(std::move(rows));
  return true;
}

bool Shuffle(LibraryPanel& panel) {
  CZQAbstractList* list = Shown(panel);
  if (!list) return false;
  list->FlushJobs();  // rows still being read would be lost between the copy and the refill
  std::vector<TZQListElement> rows = list->AllRows();
  if (rows.size() < 2) return false;
  std::shuffle(rows.begin(), rows.end(), Random());
  list->Clear();
  list->AddRows(std::move(rows));
  panel.list().SetCursor(0);
  return true;
}

}  // namespace

const std::vector<const char*>& LibraryCommandNames() {
  static const std::vector<const char*> names = {
      "insert",       "insert_all",   "list_new",     "remove",          "clear",           "random",
      "shuffle",      "drag_up",      "drag_down",    "drag_top",        "drag_bottom",     "list_color_clear",
      "list_color_1", "list_color_2", "list_color_3", "list_color_4",    "list_color_5",    "list_color_6",
      "list_color_7", "list_filter_all", "list_filter_audio", "list_filter_video", "list_filter_karaoke"};
  return names;
}

bool RunLibraryCommand(LibraryPanel& panel, std::string_view control) {
  CZQAbstractList* list = Shown(panel);
  const int cursor = panel.list().Cursor();
  bool done = false;
  if (control == "insert" || control == "insert_all") {
    done = InsertIntoSecondList(panel, control == "insert_all");
  } else if (control == "list_new") {
    const int index = panel.browser().CreateList("");
    if (index >= 0) panel.ShowList(index);
    done = index >= 0;
  } else if (control == "remove") {
    TZQListElement row;
    if ((done = list && list->GetRow(cursor, row))) {
      list->RemoveRow(cursor, false);
      panel.list().SetCursor(std::min(cursor, list->GetVisibleCount() - 1));
    }
  } else if (control == "clear") {
    if ((done = list != nullptr)) list->Clear();
  } else if (control == "random") {
    const int count = list ? list->GetVisibleCount() : 0;
    if ((done = count > 0)) panel.list().SetCursor(std::uniform_int_distribution<int>(0, count - 1)(Random()));
  } else if (control == "shuffle") {
    done = Shuffle(panel);
  } else if (control == "drag_up" || control == "drag_down") {
    done = MoveCursorRow(panel, cursor + (control == "drag_up" ? -1 : 1));
  } else if (control == "drag_top" || control == "drag_bottom") {
    done = MoveCursorRow(panel, control == "drag_top" ? 0 : (list ? list->GetVisibleCount() - 1 : 0));
  } else if (control == "list_color_clear") {
    done = SetCursorColour(panel, -1);
  } else if (control.substr(0, 11) == "list_color_") {
    const int colour = control.back() - '1';
    if (control.size() != 12 || colour < 0 || colour > 6) return false;
    done = SetCursorColour(panel, colour);
  } else if (control.substr(0, 12) == "list_filter_") {
    static const struct { const char* name; int media; } kFilters[] = {
        {"list_filter_all", -1}, {"list_filter_audio", 0}, {"list_filter_video", 1}, {"list_filter_karaoke", 2}};
    const auto* filter = std::find_if(std::begin(kFilters), std::end(kFilters),
                                      [&](const auto& f) { return control == f.name; });
    if (filter == std::end(kFilters)) return false;
    done = ShowMedia(panel, filter->media);
  } else {
    return false;
  }
  panel.MarkChanged();
  return done;
}

int ShownListIndex(LibraryPanel& panel) { return panel.browser().ListInControl(0); }

bool ShownListIsUsers(LibraryPanel& panel) {
  const CZQAbstractList* list = Shown(panel);
  return list && list->type == 0;
}

bool RenameShownList(LibraryPanel& panel, const std::string& name) {
  if (!ShownListIsUsers(panel) || !panel.browser().RenameList(ShownListIndex(panel), name)) return false;
  panel.MarkChanged();
  return true;
}

bool DeleteShownList(LibraryPanel& panel) {
  if (!ShownListIsUsers(panel)) return false;
  const int index = ShownListIndex(panel);
  panel.ShowList(panel.browser().mainList);
  panel.browser().DeleteList(index);
  panel.MarkChanged();
  return true;
}

int SaveShownListAs(LibraryPanel& panel, const std::string& name) {
  CZQAbstractList* list = Shown(panel);
  CZQBrowser& browser = panel.browser();
  if (!list || name.empty() || browser.FindList(name) >= 0) return -1;
  list->FlushJobs();
  std::vector<TZQListElement> rows = list->AllRows();
  const int index = browser.CreateList(name);
  if (index < 0) return -1;
  browser.List(index)->AddRows(std::move(rows));
  panel.ShowList(index);
  return index;
}

bool AddListFileToShownList(LibraryPanel& panel, const std::string& path) {
  CZQAbstractList* list = Shown(panel);
  if (!list || !list->LoadFromFile(path, false)) return false;
  panel.MarkChanged();
  return true;
}

bool ExportShownList(LibraryPanel& panel, const std::string& path) {
  CZQAbstractList* list = Shown(panel);
  if (!list) return false;
  std::vector<TZQListElement> rows;
  TZQListElement row;
  for (int i = 0; list->GetRow(i, row); ++i) rows.push_back(row);
  if (WriteFileAtomically(path, WriteM3u(rows))) return true;
  TraceLine("library: cannot write the playlist %s", path.c_str());
  return false;
}
