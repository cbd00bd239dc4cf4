// Lists as a DJ meets them: rows built from files and the song database, filter and search as
// the browser applies them, .knl files that keep every row, and .m3u playlists from any system.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "TestKeyNames.h"
#include "app/base/AtomicFile.h"
#include "library/AbstractList.h"
#include "library/KeyNaming.h"
#include "library/ListFile.h"
#include "library/ListRow.h"
#include "library/M3uFile.h"
#include "library/SongDatabase.h"
#include "library/TagReader.h"
#include "support/TestFiles.h"
#include "EmptyFile.h"
#include "LibraryFolderFixture.h"

namespace {

class ListTest : public LibraryFolderFixture {
 protected:
  void SetUp() override {
    UseTestKeyNames();
    LibraryFolderFixture::SetUp();
  }
  std::string Touch(const std::string& name) { return TouchFile(folder, name); }
  static TZQListElement Row(const std::string& artist, const std::string& title, const std::string& tempo = "",
                            const std::string& year = "") {
    TZQListElement row;
    row.column[kColArtist] = artist;
    row.column[kColTitle] = title;
    row.column[kColTempo] = tempo;
    row.column[kColYear] = year;
    row.column[kColPath] = "/music/" + artist + " - " + title + ".mp3";
    return row;
  }
  static std::vector<std::string> Titles(const CZQAbstractList& list) {
    std::vector<std::string> titles;
    TZQListElement row;
    for (int i = 0; list.GetRow(i, row); ++i) titles.push_back(row.column[kColTitle]);
    return titles;
  }
};

TEST_F(ListTest, BuildRowTakesTheNameTheDatabaseAndTheCdgTwin) {
  TSongRecord record;
  record.name = "DJ One - Slow Jam.wav";
  record.bpm = 98.4f;
  record.durationMs = 215000;
  record.pitchKey = TestKeyIndex("Am");
  StoreSong(record);
  record = {};
  record.name = "Fast.wav";
  record.bpm = 128.0f;
  StoreSong(record);

  ZQTagReader reader;
  TZQListElement row;
  ASSERT_EQ(BuildRow(Touch("DJ One - Slow Jam.wav"), row, false, reader), 1);
  EXPECT_EQ(row.column[kColArtist], "DJ One");
  EXPECT_EQ(row.column[kColTitle], "Slow Jam");
  EXPECT_EQ(row.column[kColTempo], "098.4") << "the leading zero makes text order tempo order";
  EXPECT_EQ(row.column[kColTime], "03:35");
  EXPECT_EQ(row.column[kColKey], "Am");
  EXPECT_EQ(row.mediaType, 0);

  TZQListElement fast;
  ASSERT_EQ(BuildRow(Touch("Fast.wav"), fast, false, reader), 1);
  EXPECT_EQ(fast.column[kColTempo], "128.0");
  EXPECT_EQ(fast.column[kColTitle], "Fast");
  EXPECT_TRUE(fast.column[kColArtist].empty());

  // A key from the tags (here supplied by an import) reaches the database.
  TZQListElement tagged;
  tagged.column[kColKey] = "F#m";
  ASSERT_EQ(BuildRow(folder.File("Keyed.wav"), tagged, true, reader), 1);
  TSongRecord keyed;
  ASSERT_TRUE(FindSong("Keyed.wav", keyed));
  EXPECT_EQ(keyed.pitchKey, TestKeyIndex("F#m"));

  Touch("karaoke/Sing.cdg");
  TZQListElement karaoke;
  ASSERT_EQ(BuildRow(Touch("karaoke/Sing.mp3"), karaoke, false, reader), 1);
  EXPECT_EQ(karaoke.mediaType, 2);
  TZQListElement video;
  ASSERT_EQ(BuildRow(Touch("clip.MKV"), video, false, reader), 1);
  EXPECT_EQ(video.mediaType, 1);
  EXPECT_EQ(BuildRow(Touch("notes.txt"), video, false, reader), 0);
}

TEST_F(ListTest, FilterRulesIncludingTheTempoQuirk) {
  CZQAbstractList list;
  list.AddRow(Row("Alpha", "One", "098.0", "1999"));
  list.AddRow(Row("alpha", "Two", "125.0", "2005"));
  list.AddRow(Row("Beta", "Three", "128.0", "2010"));
  list.AddRow(Row("Beta", "Four", "140.0", "x"));

  ListFilter years;
  years.yearMin = 2000;
  years.yearMax = 2010;
  list.SetFilter(years);
  EXPECT_EQ(Titles(list), (std::vector<std::string>{"Two", "Three"}));

  // Without an upper year the tempo is never read: a lower tempo bound rejects every row.
  ListFilter tempoOnly;
  tempoOnly.bpmMin = 100;
  list.SetFilter(tempoOnly);
  EXPECT_EQ(list.GetVisibleCount(), 0);
  tempoOnly.yearMax = 3000;
  tempoOnly.bpmMax = 130;
  list.SetFilter(tempoOnly);
  EXPECT_EQ(Titles(list), (std::vector<std::string>{"Two", "Three"})) << "the year x row fails the year bound";

  ListFilter artist;
  artist.artistFilter = "ALPHA";
  list.SetFilter(artist);
  EXPECT_EQ(Titles(list), (std::vector<std::string>{"One", "Two"}));

  // A search narrows the filtered rows; new rows join while both are on.
  list.SetSearch("W");
  EXPECT_EQ(Titles(list), (std::vector<std::string>{"Two"}));
  list.AddRow(Row("Alpha", "Owl"));
  list.AddRow(Row("Gamma", "Owl"));
  EXPECT_EQ(Titles(list), (std::vector<std::string>{"Two", "Owl"}));
  list.ClearFilter();
  list.SetSearch("");
  EXPECT_EQ(list.GetVisibleCount(), 6);
}

TEST_F(ListTest, SearchMatchesInsideWordsOfFourColumnsAndNewRowsOnRequest) {
  CZQAbstractList list;
  TZQListElement a = Row("Kraftwerk", "Computer Love"), b = Row("Other", "Song"), c = Row("Third", "Tune");
  b.column[kColComment] = "Warm-up SET";
  c.isNew = 1;
  list.AddRow(a), list.AddRow(b), list.AddRow(c);
  list.SetSearch("ftw");
  EXPECT_EQ(Titles(list), (std::vector<std::string>{"Computer Love"}));
  list.SetSearch("set");
  EXPECT_EQ(Titles(list), (std::vector<std::string>{"Song"}));
  list.SetSearch("love", true);
  EXPECT_EQ(Titles(list), (std::vector<std::string>{"Computer Love", "Tune"}));
  list.AddRow(Row("Bj\xc3\xb6rk", "Joga"));
  list.SetSearch("BJ\xc3\x96RK");
  EXPECT_EQ(Titles(list), (std::vector<std::string>{"Joga"})) << "accented capitals fold too";
  list.SetSearch("kraftwerk computer");
  EXPECT_EQ(list.GetVisibleCount(), 0) << "a match never spans two columns";
}

TEST_F(ListTest, KnlKeepsEveryRowAndFieldWhateverIsFilteredOrSearched) {
  CZQAbstractList list;
  list.name = "Friday";
  list.imageFile = "cover.png";
  list.shuffleOnLoad = 1;
  TZQListElement special = Row("A & B", "<Quotes \"here\">", "120.0", "2001");
  special.column[kColPath] = "/music/caf\xe9 \x01.mp3";  // Latin-1 byte and a control byte
  special.column[kColGenre] = "Techno";
  special.highlight = 3;
  special.isNew = 1;
  special.isExplicit = 1;
  special.durationMs = 61000;
  special.auxString = "22:00";
  list.AddRow(special);
  list.AddRow(Row("Plain", "Row"));
  ListFilter filter;
  filter.artistFilter = "nobody";
  list.SetFilter(filter);
  list.SetSearch("zzz");
  ASSERT_EQ(list.GetVisibleCount(), 0);
  const std::string path = folder.File("Friday.knl");
  ASSERT_EQ(list.SaveToFile(path, true), 1);

  CZQAbstractList read;
  read.name = "kept";
  ASSERT_EQ(read.LoadFromFile(path, true), 1);
  EXPECT_EQ(read.name, "kept") << "the name comes from lists.knx, not the file";
  EXPECT_EQ(read.imageFile, "cover.png");
  EXPECT_EQ(read.shuffleOnLoad, 1);
  ASSERT_EQ(read.GetVisibleCount(), 2);
  TZQListElement row, plain;
  read.GetRow(0, row);
  read.GetRow(1, plain);
  for (int c = 1; c < kColumnCount; ++c) EXPECT_EQ(row.column[c], special.column[c]) << "column " << c;
  EXPECT_EQ(row.column[kColNumber], "1");
  EXPECT_EQ(row.genre1, GenreIndex("Techno"));
  EXPECT_EQ(row.highlight, 3);
  EXPECT_EQ(plain.highlight, -1) << "absent highlight";
  EXPECT_EQ(row.isNew, 1);
  EXPECT_EQ(plain.isNew, 0);
  EXPECT_EQ(row.isExplicit, 1);
  EXPECT_EQ(row.durationMs, 61000);
  EXPECT_EQ(row.auxString, "22:00");

  // Damaged and foreign files leave the list as it was and say why.
  WriteFileAtomically(folder.File("bad.knl"), "<list><song arti=\"x\"");
  WriteFileAtomically(folder.File("other.knl"), "<songdatabase/>");
  EXPECT_EQ(read.LoadFromFile(folder.File("bad.knl"), false), 0);
  EXPECT_EQ(read.LoadFromFile(folder.File("other.knl"), false), 0);
  EXPECT_EQ(read.LoadFromFile(folder.File("missing.knl"), true), 0);
  EXPECT_EQ(read.GetVisibleCount(), 2);
}

TEST_F(ListTest, M3uPathFormsLineEndsAndTheWayBack) {
  const std::string base = folder.path();
  Touch("lists/rel.mp3");
  Touch("lists/sub/deeper.mp3");
  Touch("lists/From Windows.mp3");
  Touch("lists/caf\xc3\xa9.mp3");  // UTF-8 on disk, Latin-1 in a Windows playlist
  Touch("abs space.mp3");
  const std::string text = std::string("\xEF\xBB\xBF#EXTM3U\r\n#EXTINF:123,Someone - Something\r\nrel.mp3\r\n") +
                           "sub\\deeper.mp3\r" + base + "abs space.mp3\n" + "C:\\Users\\dj\\Music\\From Windows.mp3\n" +
                           "file://" + base + "abs%20space.mp3\n" + "caf\xe9.mp3\n" + "x\n\n   \n";
  const std::vector<std::string> paths = ParseM3u(text, base + "lists/");
  EXPECT_EQ(paths, (std::vector<std::string>{base + "lists/rel.mp3", base + "lists/sub/deeper.mp3",
                                             base + "abs space.mp3", base + "lists/From Windows.mp3",
                                             base + "abs space.mp3", base + "lists/caf\xc3\xa9.mp3"}));
  EXPECT_EQ(FileUrlToPath("file:///C:/Music/a%23b.mp3"), "C:/Music/a#b.mp3");

  // Through a list: the playlist loads, and its export reads back to the same files.
  ASSERT_TRUE(WriteFileAtomically(folder.File("lists/set.m3u8"), text));
  CZQAbstractList list;
  ASSERT_EQ(list.LoadFromFile(folder.File("lists/set.m3u8"), true), 1);
  ASSERT_EQ(list.GetVisibleCount(), 6);
  TZQListElement row;
  list.GetRow(3, row);
  EXPECT_EQ(row.column[kColTitle], "From Windows");
  EXPECT_EQ(row.isExplicit, 1);
  const std::string exported = WriteM3u(list.AllRows());
  EXPECT_EQ(ParseM3u(exported, "/elsewhere/"), paths);
}

TEST_F(ListTest, TenThousandQueuedFilesAllArriveAfterFlush) {
  std::filesystem::create_directories(folder.File("many"));
  CZQAbstractList list;
  std::atomic<int> notes{0};
  list.onChanged = [&](CZQAbstractList&) { ++notes; };
  constexpr int kFiles = 10000;
  for (int i = 0; i < kFiles; ++i) {
    // A virtual path is taken on trust, so no file need exist: the worker still builds each row.
    ASSERT_EQ(list.AddFile("/cd/Artist - Track " + std::to_string(i) + ".cda$", 1), 1);
  }
  list.FlushJobs();
  ASSERT_EQ(list.GetVisibleCount(), kFiles);
  TZQListElement row;
  list.GetRow(kFiles - 1, row);
  EXPECT_EQ(row.column[kColTitle], "Track 9999");
  EXPECT_GT(notes.load(), 0);
}

}  // namespace
