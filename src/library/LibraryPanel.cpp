#include "library/LibraryPanel.h"

#include <filesystem>

#include "app/base/Trace.h"
#include "library/ListRow.h"

namespace {
LibraryPanel* g_panel = nullptr;
constexpr int kDecks = 4;
}  // namespace

LibraryPanel* CurrentLibraryPanel() { return g_panel; }
void SetCurrentLibraryPanel(LibraryPanel* panel) { g_panel = panel; }

bool LoadSelectedTrackToDeck(int deck) { return g_panel && g_panel->LoadSelectedTrackToDeck(deck); }

LibraryPanel::LibraryPanel(std::unique_ptr<CZQBrowser> browser, DeckLoader loader)
    : browser_(std::move(browser)), loader_(std::move(loader)), tree_(*browser_) {
  for (int i = 0; i < CZQBrowser::kMaxLists; ++i) HookList(i);
}

LibraryPanel::~LibraryPanel() {
  if (g_panel == this) g_panel = nullptr;
  // The lists' workers stop before the hooks that point here go.
  browser_.reset();
}

void LibraryPanel::HookList(int listIndex) {
  CZQAbstractList* list = browser_->List(listIndex);
  if (list && !list->onChanged) list->onChanged = [this](CZQAbstractList&) { MarkChanged(); };
}

void LibraryPanel::Build() {
  browser_->Build();
  for (int i = 0; i < CZQBrowser::kMaxLists; ++i) HookList(i);
  ShowList(browser_->mainList);
  tree_.SetCursor(0);
}

void LibraryPanel::ShowList(int listIndex) {
  if (!browser_->List(listIndex)) return;
  if (list_.list() && !searchText_.empty()) list_.list()->SetSearch("");
  searchText_.clear();
  HookList(listIndex);
  browser_->ShowInControl(0, listIndex, listScroll_);
  list_.SetList(browser_->List(listIndex), &listScroll_);
  MarkChanged();
}

void LibraryPanel::ActivateNode(int node) {
  if (node < 0 || node >= static_cast<int>(browser_->nodes.size())) return;
  tree_.SetCursor(node);
  const BrowserNode& chosen = browser_->nodes[static_cast<size_t>(node)];
  if (chosen.listIndex >= 0) {
    browser_->currentItem = node;
    ShowList(chosen.listIndex);
    return;
  }
  browser_->SelectNode(node);
  ShowList(browser_->mainList);
  // A fresh folder starts at its top.
  list_.SetCursor(-1);
  listScroll_.dataOffsetVert = 0;
}

void LibraryPanel::SetSearchText(const std::string& text) {
  searchText_ = text;
  if (CZQAbstractList* list = list_.list()) {
    list->SetSearch(text);
    // The cursor's old place means nothing in the narrowed list: start from the top hit.
    list_.SetCursor(list_.RowCount() > 0 ? 0 : -1);
  }
  MarkChanged();
}

void LibraryPanel::SetFocusedDeck(int deck) {
  if (deck >= 0 && deck < kDecks) focusedDeck_ = deck;
}

bool LibraryPanel::HandleKey(int key) {
  if (key == kNavTab) {
    focus_ = focus_ == kTreePane ? kListPane : kTreePane;
    MarkChanged();
    return true;
  }
  bool handled;
  if (focus_ == kTreePane) {
    handled = key == kNavEnter ? (ActivateNode(tree_.Cursor()), true) : tree_.Navigate(key);
  } else {
    handled = key == kNavEnter ? (LoadSelectedTrackToDeck(-1), true) : list_.Navigate(key);
  }
  if (handled) MarkChanged();
  return handled;
}

void LibraryPanel::MoveListCursor(int delta) {
  // From no cursor, the first step down lands on the first row.
  const int cursor = list_.Cursor();
  list_.SetCursor(cursor < 0 ? (delta > 0 ? delta - 1 : 0) : cursor + delta);
  MarkChanged();
}

void LibraryPanel::MoveTreeCursor(int delta) {
  const int cursor = tree_.Cursor();
  tree_.SetCursor(cursor < 0 ? 0 : cursor + delta);
  MarkChanged();
}

bool LibraryPanel::LoadSelectedTrackToDeck(int deck) {
  TZQListElement row;
  if (!list_.CursorRow(row)) return false;
  return LoadPathToDeck(deck, row.column[kColPath]);
}

bool LibraryPanel::LoadPathToDeck(int deck, const std::string& path) {
  if (deck < 0) deck = focusedDeck_;
  if (deck >= kDecks || path.empty() || !loader_) return false;
  if (!loader_(deck, path)) {
    TraceLine("browser: deck %d refused %s", deck + 1, path.c_str());
    return false;
  }
  focusedDeck_ = deck;
  return true;
}

int LibraryPanel::DropOnList(const std::vector<std::string>& paths) {
  CZQAbstractList* list = list_.list();
  if (!list) return 0;
  int queued = 0;
  for (const std::string& path : paths) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) queued += list->AddFolder(path, true, false);
    else if (list->AddFile(path, 1)) ++queued;
    else TraceLine("browser: dropped file is not a song - %s", path.c_str());
  }
  return queued;
}

bool LibraryPanel::OpenListFile(const std::string& path) {
  CZQAbstractList* main = browser_->List(browser_->mainList);
  if (!main || !IsListFilePath(path)) return false;
  main->Clear();
  if (!main->LoadFromFile(path, true)) return false;
  SetSearchText("");
  ShowList(browser_->mainList);
  list_.SetCursor(list_.RowCount() > 0 ? 0 : -1);
  listScroll_.dataOffsetVert = 0;
  MarkChanged();
  return true;
}

bool LibraryPanel::DropOnDeck(int deck, const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    std::error_code error;
    if (IsAcceptedListFile(path) && !std::filesystem::is_directory(path, error)) return LoadPathToDeck(deck, path);
  }
  TraceLine("browser: nothing to load among %d dropped files", static_cast<int>(paths.size()));
  return false;
}

int LibraryPanel::RenameUserList(int node, const std::string& name) {
  if (node < 0 || node >= static_cast<int>(browser_->nodes.size())) return 0;
  const BrowserNode& chosen = browser_->nodes[static_cast<size_t>(node)];
  if (chosen.nodeType != kNodeUserList) return 0;
  return browser_->RenameList(chosen.listIndex, name);
}

int LibraryPanel::DeleteUserList(int node) {
  if (node < 0 || node >= static_cast<int>(browser_->nodes.size())) return 0;
  const BrowserNode chosen = browser_->nodes[static_cast<size_t>(node)];
  if (chosen.nodeType != kNodeUserList) return 0;
  const bool shown = list_.list() == browser_->List(chosen.listIndex);
  if (shown) ShowList(browser_->mainList);
  browser_->DeleteList(chosen.listIndex);
  tree_.SetCursor(node - 1);
  MarkChanged();
  return 1;
}
