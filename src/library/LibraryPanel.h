#pragma once
// LibraryPanel: the library as the window shows it, without the window. It owns the browser
// model and the two views over it (the tree and the track list of the first list control),
// knows which of the two has the keyboard, holds the search text and the deck that Enter loads
// to, and is the one place a track goes from the library onto a deck: the list's Enter and
// double click, a row dragged onto a deck, the deck's load button and scripts all end in
// LoadSelectedTrackToDeck or LoadPathToDeck.
//
// Threads: GUI thread only, except that the lists' workers may mark the panel changed
// (Revision), which the controls poll to redraw.

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "library/Browser.h"
#include "library/BrowserTreeView.h"
#include "library/TrackListView.h"

class LibraryPanel {
 public:
  // Loads a file on a deck (0..3); false when the deck refused it.
  using DeckLoader = std::function<bool(int deck, const std::string& path)>;
  enum Pane { kTreePane = 0, kListPane = 1 };

  LibraryPanel(std::unique_ptr<CZQBrowser> browser, DeckLoader loader);
  ~LibraryPanel();

  CZQBrowser& browser() { return *browser_; }
  BrowserTreeView& tree() { return tree_; }
  TrackListView& list() { return list_; }

  // Builds the tree and shows the main list; call after LoadLists.
  void Build();
  // A tree node chosen: a folder fills the main list with its songs, a list node shows that
  // list. The search is cleared, since it belonged to the list that left.
  void ActivateNode(int node);
  void ShowList(int listIndex);

  // Search as you type over the list shown; "" shows every row again.
  void SetSearchText(const std::string& text);
  const std::string& SearchText() const { return searchText_; }

  // The deck Enter and double click load to.
  int FocusedDeck() const { return focusedDeck_; }
  void SetFocusedDeck(int deck);
  Pane Focus() const { return focus_; }
  void SetFocus(Pane pane) {
    focus_ = pane;
    MarkChanged();
  }

  // One key of the tree or the list: arrows and page keys move in the pane with the focus,
  // Tab moves the focus, Enter opens a tree node or loads the list's cursor row to the focused
  // deck. False for a key the panel does not take.
  bool HandleKey(int key);

  // What controllers and scripts browse with (an encoder turns by delta steps): the list's
  // cursor, the tree's cursor, and opening the tree's cursor node (its songs show in the list).
  void MoveListCursor(int delta);
  void MoveTreeCursor(int delta);
  void ActivateTreeCursor() { ActivateNode(tree_.Cursor()); }

  // The list cursor's track onto deck (-1: the focused deck). False with nothing selected, a
  // deck out of range, or the deck refusing.
  bool LoadSelectedTrackToDeck(int deck);
  bool LoadPathToDeck(int deck, const std::string& path);
  // Files dropped on the list: songs join the list shown and folders add their songs, sub-
  // folders too; rows are built in the background. Returns how many songs were queued.
  int DropOnList(const std::vector<std::string>& paths);
  // A list file (.m3u, .m3u8, .knl) given to the program, e.g. opened from a file manager: its
  // songs fill the main list, as a folder's do, and show; the user's lists are not changed.
  // False for a file that is not a list or cannot be read (logged).
  bool OpenListFile(const std::string& path);
  // Files dropped on a deck: the first song among them loads; folders and other files are
  // passed over. False when none of them is a song or the deck refused it.
  bool DropOnDeck(int deck, const std::vector<std::string>& paths);

  // The context menu of a user list in the tree: 5100 renames it, 5110 deletes it (file too).
  // Return 1 when done, 0 for any other node or a bad name.
  int RenameUserList(int node, const std::string& name);
  int DeleteUserList(int node);

  // Goes up whenever what the tree or the list shows changed (rows added by a worker, a
  // search, a sort, a key); each control redraws when it differs from the one it drew.
  unsigned Revision() const { return revision_.load(std::memory_order_acquire); }
  void MarkChanged() { revision_.fetch_add(1, std::memory_order_acq_rel); }

 private:
  void HookList(int listIndex);

  std::atomic<unsigned> revision_{1};
  std::unique_ptr<CZQBrowser> browser_;  // after revision_: its workers call into it
  DeckLoader loader_;
  BrowserTreeView tree_;
  TrackListView list_;
  ListScrollState listScroll_;
  std::string searchText_;
  int focusedDeck_ = 0;
  Pane focus_ = kListPane;
};

// The panel the window made; null without a window (the lumo tool, headless tests).
LibraryPanel* CurrentLibraryPanel();
void SetCurrentLibraryPanel(LibraryPanel* panel);
// What the deck's load button and the scripts call: the selected row of the list onto deck.
// False when there is no panel or nothing to load.
bool LoadSelectedTrackToDeck(int deck);
