// The browser's lists as the window uses them: names and the list limit, lists.knx with every
// list's settings, scroll positions that follow a list, analysis requests and results, and
// iTunes libraries written on other machines.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "app/base/AtomicFile.h"
#include "library/Browser.h"
#include "library/ITunesLibrary.h"
#include "library/SongDatabase.h"
#include "support/TestFiles.h"
#include "EmptyFile.h"
#include "LibraryFolderFixture.h"

namespace {

class BrowserTest : public LibraryFolderFixture {
 protected:
  std::string Touch(const std::string& name) { return TouchFile(folder, name); }
  TZQListElement Row(const std::string& title) {
    TZQListElement row;
    row.column[kColTitle] = title;
    row.column[kColPath] = "/m/" + title + ".mp3";
    return row;
  }
};

TEST_F(BrowserTest, DefaultNamesCountOnAcrossDeletionsAndTheHundredthPlaceIsTheLast) {
  CZQBrowser browser(db, playlists);
  const int first = browser.CreateList("");
  EXPECT_EQ(browser.List(first)->name, "New List1");
  browser.DeleteList(first);
  EXPECT_EQ(browser.List(browser.CreateList(""))->name, "New List2");
  EXPECT_EQ(browser.FindList("nothing"), -1);
  int last = 0;
  while (last >= 0) last = browser.CreateList("x");
  EXPECT_EQ(browser.CreateList("more"), -1) << "every place of the hundred is taken";
}

TEST_F(BrowserTest, ListsKnxRestoresListsRowsAndSettings) {
  {
    CZQBrowser browser(db, playlists);
    const int set = browser.CreateList("Friday: set/1");  // ':' and '/' cannot reach a file name
    CZQAbstractList* list = browser.List(set);
    list->AddRow(Row("opener"));
    list->AddRow(Row("closer"));
    list->mainCursor = 1;
    list->columns[kColGenre].width = 120;
    list->columns[kColGenre].visible = 0;
    list->scroll.sliderPosVert = 17;
    browser.List(browser.mainList)->AddRow(Row("in main"));
    browser.List(browser.historyList)->AddRow(Row("played"));
    browser.rememberHistory = false;
    ASSERT_EQ(browser.SaveLists(), 1);
    EXPECT_TRUE(std::filesystem::exists(playlists + "Friday set1.knl"));
  }
  CZQBrowser browser(db, playlists);
  ASSERT_EQ(browser.LoadLists(), 1);
  const int set = browser.FindList("Friday: set/1");
  ASSERT_GE(set, 0);
  CZQAbstractList* list = browser.List(set);
  EXPECT_EQ(list->GetVisibleCount(), 2);
  EXPECT_EQ(list->mainCursor, 1);
  EXPECT_EQ(list->columns[kColGenre].width, 120);
  EXPECT_EQ(list->columns[kColGenre].visible, 0);
  EXPECT_EQ(list->scroll.sliderPosVert, 17);
  EXPECT_EQ(browser.List(browser.mainList)->GetVisibleCount(), 1);
  EXPECT_EQ(browser.List(browser.historyList)->GetVisibleCount(), 0) << "history is not remembered";

  // Scroll state travels with the list between controls.
  ListScrollState control;
  browser.ShowInControl(0, browser.mainList, control);
  EXPECT_EQ(control.sliderPosVert, 0) << "a stored -1 resets to 0";
  control.sliderPosVert = 40;
  browser.ShowInControl(0, set, control);
  EXPECT_EQ(control.sliderPosVert, 17);
  browser.ShowInControl(0, browser.mainList, control);
  EXPECT_EQ(control.sliderPosVert, 40);

  EXPECT_EQ(browser.GenreItems(set).front(), "All Genres (2)");
}

TEST_F(BrowserTest, FoldersOpenAndCloseAndSelectingOneFillsTheMainList) {
  Touch("crate/b/Two.mp3");
  Touch("crate/a/One.mp3");
  Touch("crate/.hidden/x.mp3");
  Touch("crate/a/skip.txt");
  CZQBrowser browser(db, playlists);
  browser.Build();
  browser.nodes.push_back(BrowserNode{kNodeFolder, 1, "<DIR>crate", folder.File("crate"), -1});
  const int crate = static_cast<int>(browser.nodes.size()) - 1;
  ASSERT_EQ(browser.ToggleFolder(crate), 2);
  EXPECT_EQ(browser.nodes[crate + 1].label, "<DIR>a");
  EXPECT_EQ(browser.nodes[crate + 1].depth, 2);
  EXPECT_EQ(browser.nodes[crate + 2].label, "<DIR>b");
  browser.SelectNode(crate + 1);
  browser.List(browser.mainList)->FlushJobs();
  EXPECT_EQ(browser.List(browser.mainList)->GetVisibleCount(), 1);
  EXPECT_EQ(browser.currentItem, crate + 1);
  browser.SelectNode(crate + 2);
  browser.SelectNode(CZQBrowser::kRecentItem);
  EXPECT_EQ(browser.currentItem, crate + 1) << "the recent item is the one before";
  browser.ToggleFolder(crate);
  EXPECT_EQ(static_cast<int>(browser.nodes.size()), crate + 1);
}

TEST_F(BrowserTest, AnalyzeFeedsTheWorkerAndResultsReachTheRows) {
  CZQBrowser browser(db, playlists);
  std::vector<std::string> queued;
  browser.analyze = [&](const std::string& path) { queued.push_back(path); };
  CZQAbstractList* main = browser.List(browser.mainList);
  main->AddFile(Touch("music/Deep.wav"), 0);
  main->AddFile(Touch("music/Other.wav"), 0);
  EXPECT_EQ(browser.AnalyzeRows(browser.mainList, {1, 5}), 1);
  ASSERT_EQ(queued, std::vector<std::string>{folder.File("music/Other.wav")});

  TSongRecord record;
  record.name = "Other.wav";
  record.bpm = 122.5f;
  record.durationMs = 61000;
  StoreSong(record);
  browser.SongAnalysed("Other.wav");
  TZQListElement row;
  ASSERT_TRUE(main->GetRow(1, row));
  EXPECT_EQ(row.column[kColTempo], "122.5");
  EXPECT_EQ(row.column[kColTime], "01:01");
  ASSERT_TRUE(main->GetRow(0, row));
  EXPECT_TRUE(row.column[kColTempo].empty());
}

std::string Plist(const std::string& tracks, const std::string& playlists) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
         "<plist version=\"1.0\"><dict><key>Major Version</key><integer>1</integer>\n<key>Tracks</key><dict>" +
         tracks + "</dict>\n<key>Playlists</key><array>" + playlists + "</array></dict></plist>\n";
}

std::string Track(int id, const std::string& name, const std::string& location) {
  const std::string n = std::to_string(id);
  return "<key>" + n + "</key><dict><key>Track ID</key><integer>" + n + "</integer><key>Name</key><string>" + name +
         "</string><key>Artist</key><string>Band</string><key>BPM</key><integer>96</integer>"
         "<key>Comments</key><string>nice 00000A1B 00000B2C 0000C3D4 0000D4E5</string>"
         "<key>Location</key><string>" + location + "</string></dict>\n";
}

std::string Playlist(int id, const std::string& name, const std::string& extra, const std::vector<int>& items) {
  std::string text = "<dict><key>Name</key><string>" + name + "</string><key>Playlist ID</key><integer>" +
                     std::to_string(id) + "</integer>" + extra + "<key>Playlist Items</key><array>";
  for (int item : items) text += "<dict><key>Track ID</key><integer>" + std::to_string(item) + "</integer></dict>";
  return text + "</array></dict>\n";
}

TEST_F(BrowserTest, ITunesPlaylistsKindsOrderAndForeignLocations) {
  Touch("iTunes/iTunes Media/Music/Band/Album/01 Mac Song.mp3");
  Touch("iTunes/Win Song.mp3");  // copied beside the library from the old machine
  Touch("music/Local Song.mp3");
  const std::string base = folder.path();
  const std::string tracks =
      Track(10, "Mac Song", "file:///Users/dj/Music/iTunes/iTunes%20Media/Music/Band/Album/01%20Mac%20Song.mp3") +
      Track(11, "Win Song", "file://localhost/C:/Users/dj/Music/Win%20Song.mp3") +
      Track(12, "Local Song", "file://" + base + "music/Local%20Song.mp3") +
      Track(13, "Gone", "file:///nowhere/gone.mp3");
  const std::string lists =
      Playlist(1, "Library", "<key>Master</key><true/><key>Visible</key><false/>", {10, 11, 12, 13}) +
      Playlist(2, "Music", "<key>Distinguished Kind</key><integer>4</integer>", {10}) +
      Playlist(3, "Top Rated", "<key>Smart Info</key><data>AQEA</data>", {}) +
      Playlist(4, "Gigs", "<key>Folder</key><true/>", {}) +
      Playlist(5, "Warm-up", "", {12, 10, 13, 11});
  const std::string library = folder.File("iTunes/iTunes Music Library.xml");
  ASSERT_TRUE(WriteFileAtomically(library, Plist(tracks, lists)));

  std::vector<ITunesPlaylist> playlists;
  ASSERT_EQ(ScanForPlaylists(library, playlists), 1);
  ASSERT_EQ(playlists.size(), 5u);
  EXPECT_FALSE(playlists[0].visible) << "the master list drops out";
  EXPECT_TRUE(playlists[1].system);
  EXPECT_EQ(playlists[2].displayName, "Top Rated (smart list)");
  EXPECT_TRUE(playlists[3].folder);

  CZQAbstractList all;
  EXPECT_EQ(ParseITunesXML(library, all, 0), 3) << "the missing track is skipped";
  TZQListElement row;
  ASSERT_TRUE(all.GetRow(0, row));
  EXPECT_EQ(row.column[kColPath], folder.File("iTunes/iTunes Media/Music/Band/Album/01 Mac Song.mp3"));
  EXPECT_EQ(row.column[kColTempo], "096.0");
  EXPECT_EQ(row.column[kColComment], "nice");
  ASSERT_TRUE(all.GetRow(1, row));
  EXPECT_EQ(row.column[kColPath], folder.File("iTunes/Win Song.mp3"));

  // The fill follows the "Tracks" section: tracks out of the playlist's order are passed over.
  CZQAbstractList warmUp;
  EXPECT_EQ(ParseITunesXML(library, warmUp, 5), 1);
  ASSERT_TRUE(warmUp.GetRow(0, row));
  EXPECT_EQ(row.column[kColTitle], "Local Song");

  CZQBrowser browser(db, folder.File("Playlists/"));
  browser.iTunesLibrary = library;
  browser.Build();
  int shown = 0;
  for (const BrowserNode& node : browser.nodes) shown += node.nodeType == kNodeITunesPlaylist;
  EXPECT_EQ(shown, 4);

  EXPECT_EQ(ScanITunesText("<plist><array/></plist>", playlists), 0);
  EXPECT_EQ(ScanITunesText("<nope/>", playlists), 0);
}

}  // namespace
