#include "library/SongDatabase.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <dirent.h>
#include <filesystem>
#include <string>

#include "app/base/AtomicFile.h"
#include "library/SongDatabaseFile.h"
#include "support/TestFiles.h"

namespace {

class SongDatabaseTest : public ::testing::Test {
 protected:
  void TearDown() override { DropSongDatabase(); }
  std::string Text() {
    std::string text;
    ReadWholeFile(path, text);
    return text;
  }
  void WriteText(const std::string& text) { ASSERT_TRUE(WriteFileAtomically(path, text)); }
  TSongRecord Song(const std::string& name) {
    TSongRecord r;
    r.name = name;
    r.bpm = 128.0f;
    r.durationMs = 215000;
    r.hasGain = 1;
    r.gain = -7.25f;
    r.eqLow = -3.5f;
    r.currentCue = 2;
    r.cue[0] = 4410, r.cue[1] = -1, r.cue[2] = 0, r.cue[3] = 99, r.cue[4] = 123456;
    r.cueIn = 100, r.cueOut = 200;
    r.pitchKey = 17;
    return r;
  }

  TempFolder folder;
  std::string path = folder.File("db.knx");
};

void ExpectSameStoredFields(const TSongRecord& a, const TSongRecord& b) {
  EXPECT_EQ(a.name, b.name);
  EXPECT_EQ(a.durationMs, b.durationMs);
  EXPECT_FLOAT_EQ(a.bpm, b.bpm);
  EXPECT_EQ(a.hasGain, b.hasGain);
  if (a.hasGain) {
    EXPECT_FLOAT_EQ(a.gain, b.gain);
  }
  EXPECT_FLOAT_EQ(a.eqLow, b.eqLow);
  EXPECT_FLOAT_EQ(a.eqMid, b.eqMid);
  EXPECT_FLOAT_EQ(a.eqHigh, b.eqHigh);
  EXPECT_EQ(a.currentCue, b.currentCue);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(a.cue[i], b.cue[i]);
  EXPECT_EQ(a.cueIn, b.cueIn);
  EXPECT_EQ(a.cueOut, b.cueOut);
  EXPECT_EQ(a.pitchKey, b.pitchKey);
}

TEST_F(SongDatabaseTest, RoundTripKeepsEveryStoredFieldAndTheGainFlag) {
  EXPECT_EQ(LoadSongDatabase(path), 0);  // absent: an empty, usable table
  TSongRecord withGain = Song("Track.mp3");
  TSongRecord noGain = Song("Other.flac");
  noGain.hasGain = 0;
  noGain.gain = 0.0f;
  StoreSong(withGain);
  StoreSong(noGain);
  ASSERT_EQ(SaveSongDatabase(path), 1);
  EXPECT_EQ(SongCount(), 0u) << "saving is the last thing done to the table";

  const std::string text = Text();
  EXPECT_EQ(text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\n<songdatabase version=\"100\">\n", 0), 0u);
  EXPECT_NE(text.find("bpm=\"128.0000\""), std::string::npos);
  EXPECT_NE(text.find("currentcue=\"3\""), std::string::npos);
  EXPECT_EQ(text.find("name=\"Other.flac\" bpm=\"128.0000\" duration_ms=\"215000\" pgain"), std::string::npos);

  ASSERT_EQ(LoadSongDatabase(path), 1);
  TSongRecord back;
  ASSERT_EQ(FindSong("Track.mp3", back), 1);
  ExpectSameStoredFields(withGain, back);
  ASSERT_EQ(FindSong("Other.flac", back), 1);
  ExpectSameStoredFields(noGain, back);
  EXPECT_EQ(FindSong("track.mp3", back), 0) << "case matters";
}

TEST_F(SongDatabaseTest, AbsentAttributesCurrentCueBoundsAndOldDurations) {
  WriteText(
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\n<songdatabase version=\"100\">\n"
      "<song name=\"bare.mp3\" />\n"
      "<song name=\"zero.mp3\" currentcue=\"0\" />\n"
      "<song name=\"twenty.mp3\" currentcue=\"20\" />\n"
      "<song name=\"wide.mp3\" currentcue=\"21\" duration=\"93\" extra=\"ignored\" />\n"
      "<song bpm=\"120.0000\" />\n"
      "</songdatabase>\n");
  ASSERT_EQ(LoadSongDatabase(path), 1);
  EXPECT_EQ(SongCount(), 4u) << "a song without a name is dropped";
  TSongRecord r;
  ASSERT_EQ(FindSong("bare.mp3", r), 1);
  for (int c : r.cue) EXPECT_EQ(c, -1);
  EXPECT_EQ(r.cueIn, -1);
  EXPECT_EQ(r.cueOut, -1);
  EXPECT_EQ(r.pitchKey, -1);
  EXPECT_EQ(r.hasGain, 0);
  EXPECT_EQ(r.bpm, 0.0f);
  EXPECT_EQ(r.currentCue, 0);
  FindSong("zero.mp3", r);
  EXPECT_EQ(r.currentCue, 0);
  FindSong("twenty.mp3", r);
  EXPECT_EQ(r.currentCue, 19);
  FindSong("wide.mp3", r);
  EXPECT_EQ(r.currentCue, 0);
  EXPECT_EQ(r.durationMs, 93000);
}

TEST_F(SongDatabaseTest, DuplicateNamesLastOneWins) {
  WriteText(
      "<?xml version=\"1.0\"?>\n<songdatabase version=\"100\">\n"
      "<song name=\"a.mp3\" bpm=\"100.0000\" />\n<song name=\"a.mp3\" bpm=\"101.5000\" />\n"
      "</songdatabase>\n");
  ASSERT_EQ(LoadSongDatabase(path), 1);
  TSongRecord r;
  ASSERT_EQ(FindSong("a.mp3", r), 1);
  EXPECT_FLOAT_EQ(r.bpm, 101.5f);
  EXPECT_EQ(SongCount(), 1u);
}

TEST_F(SongDatabaseTest, NamesAreBytesXmlSpecialsNonBmpAndInvalidUtf8Survive) {
  const std::string names[] = {
      "Rock & Roll <live> \"quoted\" 'single'.mp3",
      "tab\there\nnewline\rcr.mp3",
      "emoji \xF0\x9F\x8E\xB5 and \xF0\x9D\x84\x9E.flac",
      "latin1 caf\xE9 \xFF\xFE.mp3",
      "control \x01\x1F char.wav",
      "lone surrogate \xED\xA0\x80.ogg",
  };
  LoadSongDatabase(path);
  for (const auto& name : names) StoreSong(Song(name));
  ASSERT_EQ(SaveSongDatabase(path), 1);
  ASSERT_EQ(LoadSongDatabase(path), 1);
  for (const auto& name : names) {
    TSongRecord r;
    EXPECT_EQ(FindSong(name, r), 1) << name;
    EXPECT_EQ(r.name, name);
  }
}

TEST_F(SongDatabaseTest, NumbersIgnoreTheGermanLocale) {
  if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) GTEST_SKIP() << "de_DE.UTF-8 is not installed";
  LoadSongDatabase(path);
  StoreSong(Song("x.mp3"));
  ASSERT_EQ(SaveSongDatabase(path), 1);
  const std::string german = Text();
  ASSERT_EQ(LoadSongDatabase(path), 1);
  TSongRecord r;
  ASSERT_EQ(FindSong("x.mp3", r), 1);
  EXPECT_FLOAT_EQ(r.gain, -7.25f);
  std::setlocale(LC_ALL, "C");
  ASSERT_EQ(SaveSongDatabase(path), 1);
  EXPECT_EQ(Text(), german);
  EXPECT_NE(german.find("pgain=\"-7.2500\""), std::string::npos);
}

TEST_F(SongDatabaseTest, DamagedFileIsKeptAsideAndTheBackupLoaded) {
  LoadSongDatabase(path);
  StoreSong(Song("first.mp3"));
  ASSERT_EQ(SaveSongDatabase(path), 1);
  LoadSongDatabase(path);
  StoreSong(Song("second.mp3"));
  ASSERT_EQ(SaveSongDatabase(path), 1);  // the first save is now db.knx.bak

  std::string text = Text();
  WriteText(text.substr(0, text.size() / 2));  // truncated mid-record
  EXPECT_EQ(LoadSongDatabase(path), 1);
  TSongRecord r;
  EXPECT_EQ(FindSong("first.mp3", r), 1);
  EXPECT_EQ(SongCount(), 1u) << "the backup replaces what the damaged file gave";
  int aside = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    aside += entry.path().filename().string().rfind("db.knx.corrupt-", 0) == 0;
  }
  EXPECT_EQ(aside, 1);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(SongDatabaseTest, DamagedFileWithoutBackupKeepsWhatWasReadAndWrongRootIsRefused) {
  WriteText("<?xml version=\"1.0\"?>\n<songdatabase version=\"100\">\n<song name=\"kept.mp3\" />\n<song name=\"cut");
  EXPECT_EQ(LoadSongDatabase(path), 0);
  TSongRecord r;
  EXPECT_EQ(FindSong("kept.mp3", r), 1);

  WriteText("<?xml version=\"1.0\"?>\n<playlist><song name=\"x.mp3\"/></playlist>\n");
  EXPECT_EQ(LoadSongDatabase(path), 0);
  EXPECT_EQ(SongCount(), 0u);
}

TEST_F(SongDatabaseTest, NoTableMeansNothingFoundAndNothingStored) {
  DropSongDatabase();
  TSongRecord r = Song("x.mp3");
  StoreSong(r);
  EXPECT_EQ(FindSong("x.mp3", r), 0);
  EXPECT_EQ(SaveSongDatabase(path), 0);
}

}  // namespace
