// The library as the window drives it, without a window: moving through the list and the tree
// with the keys, sorting by a header, searching as characters are typed into the search box,
// loading the chosen song on a deck (a real one), files dropped on a deck or on the list, and
// the user-list menu.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "audio/Threads.h"
#include "deck/SoundSource.h"
#include "library/LibraryCommands.h"
#include "library/LibraryPanel.h"
#include "library/SongDatabase.h"
#include "skin/model/EditTextModel.h"
#include "support/TestFiles.h"
#include "EmptyFile.h"
#include "LibraryFolderFixture.h"

namespace {

struct Load {
  int deck;
  std::string path;
};

class LibraryPanelTest : public LibraryFolderFixture {
 protected:
  void SetUp() override {
    // The tree's top items are the home folder: keep the test out of the real one.
    if (const char* home = std::getenv("HOME")) savedHome = home;
    ::setenv("HOME", folder.path().c_str(), 1);
    LibraryFolderFixture::SetUp();
    panel = std::make_unique<LibraryPanel>(std::make_unique<CZQBrowser>(db, playlists),
        [this](int deck, const std::string& path) {
          loads.push_back({deck, path});
          return true;
        });
    panel->Build();
    // Ten rows on screen: a 16-pixel header and 16-pixel rows in 176 pixels.
    panel->list().SetGeometry(16, 16, 176);
  }
  void TearDown() override {
    panel.reset();
    LibraryFolderFixture::TearDown();
    ::setenv("HOME", savedHome.c_str(), 1);
  }
  // Rows with a title, an artist and a tempo text as the list builds them.
  void AddSongs(const std::vector<std::array<std::string, 3>>& songs) {
    std::vector<TZQListElement> rows;
    for (const auto& [title, artist, tempo] : songs) {
      TZQListElement row;
      row.column[kColTitle] = title;
      row.column[kColArtist] = artist;
      row.column[kColTempo] = tempo;
      row.column[kColPath] = "/music/" + title + ".mp3";
      rows.push_back(row);
    }
    panel->list().list()->AddRows(std::move(rows));
  }
  void AddNumberedSongs(int count) {
    std::vector<std::array<std::string, 3>> songs;
    for (int i = 0; i < count; ++i) songs.push_back({"song" + std::to_string(100 + i), "artist", "120.0"});
    AddSongs(songs);
  }
  std::string CursorTitle() {
    TZQListElement row;
    return panel->list().CursorRow(row) ? row.column[kColTitle] : "(none)";
  }

  std::string savedHome;
  std::unique_ptr<LibraryPanel> panel;
  std::vector<Load> loads;
};

TEST_F(LibraryPanelTest, ListKeysMoveTheCursorAndKeepItOnScreen) {
  AddNumberedSongs(35);
  TrackListView& view = panel->list();
  ASSERT_EQ(view.RowsOnScreen(), 10);
  EXPECT_EQ(view.Cursor(), -1);
  panel->HandleKey(kNavDown);
  EXPECT_EQ(view.Cursor(), 0) << "the first Down from nothing lands on the first row";
  panel->HandleKey(kNavUp);
  EXPECT_EQ(view.Cursor(), 0) << "Up stops at the top";
  panel->HandleKey(kNavPageDown);
  panel->HandleKey(kNavPageDown);
  EXPECT_EQ(view.Cursor(), 20);
  EXPECT_EQ(view.FirstRow(), 11) << "the cursor is the last row on screen";
  panel->HandleKey(kNavEnd);
  EXPECT_EQ(view.Cursor(), 34);
  EXPECT_EQ(view.FirstRow(), 25);
  panel->HandleKey(kNavPageDown);
  EXPECT_EQ(view.Cursor(), 34) << "nothing past the end";
  panel->HandleKey(kNavHome);
  EXPECT_EQ(view.FirstRow(), 0);

  // A controller's encoder steps by its own amounts and stops at the ends too.
  panel->MoveListCursor(7);
  EXPECT_EQ(view.Cursor(), 7);
  panel->MoveListCursor(-100);
  EXPECT_EQ(view.Cursor(), 0);
  panel->MoveListCursor(100);
  EXPECT_EQ(view.Cursor(), 34);
  panel->HandleKey(kNavHome);

  // The wheel scrolls without moving the cursor, and never past either end.
  view.Scroll(100);
  EXPECT_EQ(view.FirstRow(), 25);
  EXPECT_EQ(view.Cursor(), 0);
  // A click picks the row under the pointer: below the header, counted from the first shown.
  EXPECT_EQ(view.RowAt(16 + 3 * 16 + 5), 28);
  EXPECT_EQ(view.RowAt(5), -1) << "the header is no row";
}

TEST_F(LibraryPanelTest, HeaderClicksSortByValueBothWaysAndTheCursorFollowsItsSong) {
  AddSongs({{"b", "x", "128.0"}, {"a", "y", "098.4"}, {"c", "z", "174.0"}});
  TrackListView& view = panel->list();
  view.SetCursor(0);  // "b"
  const int bpmHeader = 2;
  ASSERT_EQ(view.Columns()[bpmHeader].column, kColTempo);
  view.ClickHeader(bpmHeader);
  TZQListElement row;
  std::vector<std::string> order;
  for (int i = 0; i < 3; ++i) order.push_back(view.list()->GetRow(i, row) ? TrackListView::CellText(row, kColTempo) : "");
  EXPECT_EQ(order, (std::vector<std::string>{"98.4", "128.0", "174.0"})) << "98.4 sorts below 128, shown without its zero";
  EXPECT_EQ(CursorTitle(), "b");
  EXPECT_EQ(view.Cursor(), 1);
  view.ClickHeader(bpmHeader);
  ASSERT_TRUE(view.list()->GetRow(0, row));
  EXPECT_EQ(row.column[kColTitle], "c") << "a second click reverses";

  view.list()->columnSortBlocked = 1;
  view.ClickHeader(0);
  ASSERT_TRUE(view.list()->GetRow(0, row));
  EXPECT_EQ(row.column[kColTitle], "c") << "a list that blocks sorting keeps its order";
}

TEST_F(LibraryPanelTest, TheTreeOpensAndClosesFoldersWithTheArrows) {
  for (const char* sub : {"house/deep", "house/acid", "techno"}) std::filesystem::create_directories(folder.File(sub));
  CZQBrowser& browser = panel->browser();
  browser.nodes = {{kNodeDrive, 0, "<DISK>music", folder.path().substr(0, folder.path().size() - 1), -1},
                   {kNodeLists, 0, "Lists", "", -1}};
  BrowserTreeView& tree = panel->tree();
  tree.SetGeometry(16, 16, 176);
  tree.SetCursor(0);
  panel->SetFocus(LibraryPanel::kTreePane);

  panel->HandleKey(kNavRight);
  ASSERT_EQ(tree.RowCount(), 6) << "Right opens the drive: Database, house, Playlists, techno";
  EXPECT_EQ(tree.Cursor(), 0);
  panel->HandleKey(kNavRight);
  EXPECT_EQ(browser.nodes[static_cast<size_t>(tree.Cursor())].label, "<DIR>Database") << "Right steps into an open folder";
  panel->HandleKey(kNavDown);
  panel->HandleKey(kNavDown);
  ASSERT_EQ(browser.nodes[static_cast<size_t>(tree.Cursor())].label, "<DIR>house");
  panel->HandleKey(kNavRight);
  EXPECT_EQ(tree.RowCount(), 8) << "house opens with acid and deep";
  panel->HandleKey(kNavDown);
  EXPECT_EQ(browser.nodes[static_cast<size_t>(tree.Cursor())].label, "<DIR>acid");
  panel->HandleKey(kNavLeft);
  EXPECT_EQ(browser.nodes[static_cast<size_t>(tree.Cursor())].label, "<DIR>house") << "Left steps out to the parent";

  // Closing the drive from inside one of its folders puts the cursor on the drive, and the
  // node after the drive is still where the keys find it.
  tree.SetCursor(4);
  tree.Toggle(0);
  EXPECT_EQ(tree.RowCount(), 2);
  EXPECT_EQ(tree.Cursor(), 0);
  panel->HandleKey(kNavDown);
  EXPECT_EQ(browser.nodes[static_cast<size_t>(tree.Cursor())].label, "Lists");
  panel->HandleKey(kNavRight);
  EXPECT_EQ(tree.RowCount(), 2) << "a list node does not open";
}

TEST_F(LibraryPanelTest, TypingInTheSearchBoxNarrowsTheListCharacterByCharacter) {
  AddSongs({{"Beat Street", "Arthur", "120.0"}, {"Heartbeat", "Beatrix", "124.0"}, {"Sunrise", "Dawn", "126.0"},
            {"Café del Mar", "Energy", "128.0"}});
  EditTextModel box;
  std::vector<int> counts;
  for (char32_t c : {U'b', U'e', U'a', U't', U' '}) {
    ASSERT_TRUE(box.Type(c));
    panel->SetSearchText(box.Text());
    counts.push_back(panel->list().RowCount());
  }
  // "b" matches inside words (Sunrise does not have one; Café del Mar's artist Energy neither).
  EXPECT_EQ(counts, (std::vector<int>{2, 2, 2, 2, 1})) << "'beat ' leaves Beat Street only";
  EXPECT_EQ(panel->list().Cursor(), 0) << "the cursor waits on the first hit, ready for Enter";
  ASSERT_TRUE(box.Backspace());
  panel->SetSearchText(box.Text());
  EXPECT_EQ(panel->list().RowCount(), 2) << "a letter taken back widens the list again";

  box.SetText("caf");
  ASSERT_TRUE(box.Type(U'é'));
  panel->SetSearchText(box.Text());
  EXPECT_EQ(panel->list().RowCount(), 1);
  // Escape (or the stop button) empties the box and shows every row again.
  box.Clear();
  panel->SetSearchText(box.Text());
  EXPECT_EQ(panel->list().RowCount(), 4);
}

// Each letter typed tests only the rows still on show; the result must be the one a search of
// the whole text from scratch gives, whatever the letters and however they fold.
TEST(ListSearch, NarrowingLetterByLetterAgreesWithASearchFromScratch) {
  CZQAbstractList typed, fresh;
  std::vector<TZQListElement> rows;
  const char* words[] = {"Été", "ete", "Beat", "beaT", "Straße", "Street", "été d'amour", "Ete Remix"};
  for (int i = 0; i < 64; ++i) {
    TZQListElement row;
    row.column[kColTitle] = std::string(words[i % 8]) + " " + std::to_string(i);
    row.column[kColArtist] = words[(i * 3) % 8];
    row.isNew = i % 7 == 0;
    rows.push_back(row);
  }
  typed.AddRows(std::vector<TZQListElement>(rows));
  fresh.AddRows(std::move(rows));
  for (const std::string text : {"été d", "stra", "beat 1", "ete r"}) {
    for (bool newToo : {false, true}) {
      for (size_t n = 1; n <= text.size(); ++n) {
        // Whole characters only: a prefix may not end inside one.
        if (n < text.size() && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80) continue;
        typed.SetSearch(text.substr(0, n), newToo);
        fresh.SetSearch("");
        fresh.SetSearch(text.substr(0, n), newToo);
        EXPECT_EQ(typed.GetVisibleCount(), fresh.GetVisibleCount()) << text.substr(0, n) << " newToo " << newToo;
      }
      typed.SetSearch("");
    }
  }
}

TEST(EditTextModel, EditsAtTheCaretAndRefusesWhatIsNotText) {
  EditTextModel box;
  for (char32_t c : {U'a', U'c'}) box.Type(c);
  box.Left();
  box.Type(U'b');
  EXPECT_EQ(box.Text(), "abc");
  EXPECT_EQ(box.Caret(), 2u);
  box.Home();
  EXPECT_FALSE(box.Backspace()) << "nothing before the caret";
  EXPECT_TRUE(box.Delete());
  EXPECT_EQ(box.Text(), "bc");
  box.SetText("caf\xc3\xa9");
  ASSERT_TRUE(box.Backspace());
  EXPECT_EQ(box.Text(), "caf") << "Backspace takes the whole letter, not one byte of it";
  EXPECT_FALSE(box.Type(U'\t'));
  EXPECT_FALSE(box.Type(0xD800)) << "a lone surrogate is no character";
  box.SetText(std::string(EditTextModel::kMaxBytes - 1, 'x'));
  EXPECT_FALSE(box.Type(U'é')) << "two bytes do not fit in one";
  EXPECT_TRUE(box.Type(U'y'));
  // Text cut at the limit never ends inside a character.
  box.SetText(std::string(EditTextModel::kMaxBytes - 1, 'x') + "é");
  EXPECT_EQ(box.Text().size(), EditTextModel::kMaxBytes - 1);
}

TEST_F(LibraryPanelTest, EnterLoadsTheCursorRowOnTheFocusedDeckAndTabSwitchesPanes) {
  AddNumberedSongs(3);
  EXPECT_FALSE(panel->LoadSelectedTrackToDeck(-1)) << "nothing selected, nothing loaded";
  panel->HandleKey(kNavDown);
  panel->HandleKey(kNavDown);
  panel->SetFocusedDeck(2);
  panel->HandleKey(kNavEnter);
  ASSERT_EQ(loads.size(), 1u);
  EXPECT_EQ(loads[0].deck, 2);
  EXPECT_EQ(loads[0].path, "/music/song101.mp3");

  // The deck's load button goes through the same function, for its own deck.
  SetCurrentLibraryPanel(panel.get());
  EXPECT_TRUE(LoadSelectedTrackToDeck(0));
  EXPECT_FALSE(LoadSelectedTrackToDeck(4));
  SetCurrentLibraryPanel(nullptr);
  EXPECT_FALSE(LoadSelectedTrackToDeck(0)) << "no window, no panel";
  ASSERT_EQ(loads.size(), 2u);
  EXPECT_EQ(loads[1].deck, 0);

  // With the tree focused, Enter opens a node instead of loading.
  panel->HandleKey(kNavTab);
  EXPECT_EQ(panel->Focus(), LibraryPanel::kTreePane);
  panel->HandleKey(kNavEnter);
  EXPECT_EQ(loads.size(), 2u);
}

TEST_F(LibraryPanelTest, DroppedFilesLoadTheFirstSongOnADeckAndJoinTheList) {
  std::filesystem::create_directories(folder.File("crate/sub"));
  const std::string notes = TouchFile(folder, "notes.txt");
  const std::string first = TouchFile(folder, "crate/one.wav");
  TouchFile(folder, "crate/two.mp3");
  TouchFile(folder, "crate/sub/three.flac");
  EXPECT_TRUE(panel->DropOnDeck(1, {folder.File("crate"), notes, first}));
  ASSERT_EQ(loads.size(), 1u);
  EXPECT_EQ(loads[0].deck, 1);
  EXPECT_EQ(loads[0].path, first) << "a folder and a text file are passed over";
  EXPECT_FALSE(panel->DropOnDeck(1, {notes}));
  EXPECT_EQ(loads.size(), 1u);

  EXPECT_EQ(panel->DropOnList({folder.File("crate"), notes}), 3) << "the folder's songs, sub-folder too";
  panel->list().list()->FlushJobs();
  EXPECT_EQ(panel->list().RowCount(), 3);
}

// A playlist opened from the file manager or the command line: its songs show in the main list,
// whatever list was on screen, and the user's own lists stay as they were.
TEST_F(LibraryPanelTest, APlaylistGivenToTheProgramFillsTheMainList) {
  TouchFile(folder, "crate/one.wav");
  TouchFile(folder, "crate/two.mp3");
  WriteFileAtomically(folder.File("crate/Party.M3U"), "#EXTM3U\none.wav\n# a comment\ntwo.mp3\n");
  CZQBrowser& browser = panel->browser();
  const int crate = browser.CreateList("crate");
  ASSERT_GE(crate, 0);
  panel->ShowList(crate);
  panel->SetSearchText("zzz");

  ASSERT_TRUE(panel->OpenListFile(folder.File("crate/Party.M3U")));
  panel->list().list()->FlushJobs();
  EXPECT_EQ(panel->list().list(), browser.List(browser.mainList));
  EXPECT_EQ(panel->list().RowCount(), 2) << "relative lines are read beside the playlist";
  EXPECT_EQ(panel->SearchText(), "");
  EXPECT_EQ(browser.List(crate)->GetTotalCount(), 0);

  // The program's own list file reads the same way.
  browser.List(crate)->AddFile(folder.File("crate/one.wav"), 1);
  browser.List(crate)->FlushJobs();
  ASSERT_EQ(browser.SaveLists(), 1);
  ASSERT_TRUE(panel->OpenListFile(folder.File("Playlists/crate.knl")));
  EXPECT_EQ(panel->list().RowCount(), 1);

  EXPECT_FALSE(panel->OpenListFile(folder.File("crate/one.wav"))) << "a song is not a list";
  EXPECT_FALSE(panel->OpenListFile(folder.File("gone.knl")));
}

// The library buttons that work on the cursor's song: it moves and the cursor goes with it, a
// colour leaves it in its place, remove and clear take rows out, shuffle keeps every song.
TEST_F(LibraryPanelTest, ListButtonsWorkOnTheCursorSong) {
  AddNumberedSongs(5);
  auto titles = [&] {
    std::vector<std::string> out;
    TZQListElement row;
    for (int i = 0; panel->list().list()->GetRow(i, row); ++i) out.push_back(row.column[kColTitle]);
    return out;
  };
  panel->list().SetCursor(1);
  EXPECT_TRUE(RunLibraryCommand(*panel, "drag_down"));
  EXPECT_EQ(titles(), (std::vector<std::string>{"song100", "song102", "song101", "song103", "song104"}));
  EXPECT_EQ(CursorTitle(), "song101");
  EXPECT_TRUE(RunLibraryCommand(*panel, "drag_top"));
  EXPECT_TRUE(RunLibraryCommand(*panel, "drag_up")) << "already at the top: stays";
  EXPECT_EQ(titles().front(), "song101");
  EXPECT_TRUE(RunLibraryCommand(*panel, "drag_bottom"));
  EXPECT_EQ(titles().back(), "song101");
  EXPECT_EQ(CursorTitle(), "song101");

  EXPECT_TRUE(RunLibraryCommand(*panel, "list_color_3"));
  TZQListElement row;
  ASSERT_TRUE(panel->list().CursorRow(row));
  EXPECT_EQ(row.highlight, 2);
  EXPECT_EQ(titles().back(), "song101");
  EXPECT_FALSE(RunLibraryCommand(*panel, "list_color_9"));

  // insert sends the cursor's song, insert_all every row, to the end of the second list.
  CZQBrowser& browser = panel->browser();
  EXPECT_TRUE(RunLibraryCommand(*panel, "insert"));
  EXPECT_TRUE(RunLibraryCommand(*panel, "insert_all"));
  EXPECT_EQ(browser.List(browser.secondList)->GetTotalCount(), 6);

  EXPECT_TRUE(RunLibraryCommand(*panel, "remove"));
  EXPECT_EQ(titles(), (std::vector<std::string>{"song100", "song102", "song103", "song104"}));
  EXPECT_EQ(CursorTitle(), "song104") << "the cursor stays at the end";

  EXPECT_TRUE(RunLibraryCommand(*panel, "shuffle"));
  std::vector<std::string> shuffled = titles();
  std::sort(shuffled.begin(), shuffled.end());
  EXPECT_EQ(shuffled, (std::vector<std::string>{"song100", "song102", "song103", "song104"}));

  EXPECT_TRUE(RunLibraryCommand(*panel, "list_filter_video"));
  EXPECT_EQ(panel->list().RowCount(), 0) << "these songs are audio";
  EXPECT_TRUE(RunLibraryCommand(*panel, "list_filter_all"));
  EXPECT_EQ(panel->list().RowCount(), 4);
  EXPECT_TRUE(RunLibraryCommand(*panel, "clear"));
  EXPECT_EQ(panel->list().RowCount(), 0);
  EXPECT_FALSE(RunLibraryCommand(*panel, "remove")) << "nothing left to remove";
  EXPECT_FALSE(RunLibraryCommand(*panel, "autodj"));
}

// The list buttons that ask for a name or a file end here: a new list shows, a renamed or
// saved-as list keeps its songs, an exported playlist reads back, built-in lists are refused.
TEST_F(LibraryPanelTest, ListButtonsMakeRenameExportAndDeleteUserLists) {
  AddNumberedSongs(3);
  EXPECT_FALSE(RenameShownList(*panel, "party")) << "the main list is built in";
  EXPECT_FALSE(DeleteShownList(*panel));
  const int copy = SaveShownListAs(*panel, "party");
  ASSERT_GE(copy, 0);
  EXPECT_EQ(ShownListIndex(*panel), copy);
  EXPECT_EQ(panel->list().RowCount(), 3);
  EXPECT_EQ(SaveShownListAs(*panel, "party"), -1) << "the name is taken";

  const std::string playlist = folder.File("party.m3u");
  ASSERT_TRUE(ExportShownList(*panel, playlist));
  ASSERT_TRUE(RunLibraryCommand(*panel, "list_new"));
  EXPECT_TRUE(ShownListIsUsers(*panel));
  EXPECT_EQ(panel->list().RowCount(), 0);
  ASSERT_TRUE(AddListFileToShownList(*panel, playlist));
  panel->list().list()->FlushJobs();
  EXPECT_EQ(panel->list().RowCount(), 3);

  EXPECT_TRUE(RenameShownList(*panel, "warm up"));
  EXPECT_EQ(panel->browser().FindList("warm up"), ShownListIndex(*panel));
  EXPECT_TRUE(DeleteShownList(*panel));
  EXPECT_LT(panel->browser().FindList("warm up"), 0);
  EXPECT_EQ(ShownListIndex(*panel), panel->browser().mainList);
}

TEST_F(LibraryPanelTest, UserListMenuRenamesAndDeletesOnlyUserLists) {
  CZQBrowser& browser = panel->browser();
  // An iTunes library's items come after the lists: a new list still goes under Lists.
  browser.nodes.push_back({kNodeITunes, 0, "iTunes Library", "", -1});
  const int index = browser.CreateList("Friday");
  ASSERT_GE(browser.nodes.size(), 2u);
  EXPECT_EQ(browser.nodes[browser.nodes.size() - 2].listIndex, index);
  EXPECT_EQ(browser.nodes.back().nodeType, kNodeITunes);
  browser.List(index)->AddRow(TZQListElement{});
  ASSERT_EQ(browser.SaveLists(), 1);
  auto nodeOf = [&](int list) {
    for (size_t i = 0; i < browser.nodes.size(); ++i)
      if (browser.nodes[i].listIndex == list) return static_cast<int>(i);
    return -1;
  };
  const int node = nodeOf(index);
  ASSERT_GE(node, 0);
  EXPECT_EQ(panel->RenameUserList(node, "Saturday"), 1);
  EXPECT_EQ(browser.nodes[static_cast<size_t>(node)].label, "Saturday");
  EXPECT_TRUE(std::filesystem::exists(folder.File("Playlists/Saturday.knl")));
  EXPECT_FALSE(std::filesystem::exists(folder.File("Playlists/Friday.knl")));
  EXPECT_EQ(panel->RenameUserList(node, ""), 0);
  EXPECT_EQ(panel->RenameUserList(nodeOf(browser.historyList), "x"), 0) << "built-in lists keep their names";

  panel->ActivateNode(node);
  EXPECT_EQ(panel->list().list(), browser.List(index));
  EXPECT_EQ(panel->DeleteUserList(node), 1);
  EXPECT_EQ(panel->list().list(), browser.List(browser.mainList)) << "the list on screen went: the main list shows";
  EXPECT_EQ(nodeOf(index), -1);
  EXPECT_FALSE(std::filesystem::exists(folder.File("Playlists/Saturday.knl")));
}

// The whole road with a real deck: the list's row, Enter, and the deck holding that track.
TEST(LibraryPanelDeck, EnterPutsTheSongOnARealDeck) {
  TempFolder folder;
  SetThreadsManual(true);
  {
    CSoundSource deck(0, folder.path());
    const std::string path = folder.File("kick.wav");
    WriteStereo16(path, MakeTestSignal(44100));
    LibraryPanel panel(std::make_unique<CZQBrowser>(folder.path(), folder.path()),
                       [&](int, const std::string& p) { return deck.load(p, 0, nullptr, 1) != 0; });
    panel.Build();
    TZQListElement row;
    row.column[kColPath] = path;
    panel.list().list()->AddRow(row);
    panel.HandleKey(kNavDown);
    ASSERT_TRUE(panel.HandleKey(kNavEnter));
    while (deck.loadPending.load()) deck.loaderPass();
    EXPECT_EQ(deck.FilePath(), path);
    EXPECT_EQ(deck.GetLength(), 44100);
  }
  SetThreadsManual(false);
}

}  // namespace
