// CD tracks read from BIN/CUE images made at test time: the exact frames of each track, seeks
// against sequential reads, refused tracks, unreadable sectors, and the codec chain.

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "codecs/CdDrive.h"
#include "codecs/CdImage.h"
#include "codecs/CodecChain.h"
#include "codecs/DecoderCda.h"
#include "codecs/SongKey.h"
#include "support/TestFiles.h"
#include "support/TraceCapture.h"

namespace {

// Three tracks, none a whole number of 20-sector groups, so every track ends mid-group.
const std::vector<int> kTracks = {75 * 3 + 7, 75 * 2 + 33, 41};
const long long kTrackFirstFrame[] = {0, kTracks[0] * 588LL, (kTracks[0] + kTracks[1]) * 588LL};

class CdaTest : public ::testing::Test {
 protected:
  int Open(int trackNumber) { return decoder.open(CdTrackPathFor(cue, trackNumber), &format, 0); }
  std::vector<int16_t> Read(int frames, int position) {
    std::vector<int16_t> out(2 * static_cast<size_t>(frames), 0x5a5a);
    EXPECT_EQ(decoder.read(out.data(), frames, position), frames);
    return out;
  }

  TempFolder folder;
  std::string cue = WriteCdImage(folder.path(), kTracks);
  CDecoderCda decoder{0};
  AudioFormat format{};
};

TEST_F(CdaTest, EachTrackDeliversExactlyItsOwnFramesInAnyChunking) {
  for (int track = 1; track <= 3; ++track) {
    ASSERT_TRUE(Open(track)) << track;
    const int frames = kTracks[track - 1] * 588;
    EXPECT_EQ(format.frames, frames);
    EXPECT_EQ(decoder.TrackBytes(track - 1), kTracks[track - 1] * 2352LL);
    // Chunks of 1, 4, 13, 40... frames cross the 20-sector groups at ever different offsets.
    std::vector<int16_t> all;
    for (int done = 0, chunk = 1; done < frames; done += chunk, chunk = chunk * 3 + 1) {
      chunk = std::min(chunk, frames - done);
      std::vector<int16_t> piece = Read(chunk, done == 0 ? 0 : -1);
      all.insert(all.end(), piece.begin(), piece.end());
    }
    ASSERT_EQ(all, CdImageFrames(kTrackFirstFrame[track - 1], frames)) << "track " << track;
    EXPECT_EQ(decoder.ReadErrors(), 0);
    decoder.close();
  }
}

TEST_F(CdaTest, ASeekToAnyFrameGivesWhatASequentialReadGivesWithAndWithoutParanoia) {
  for (int mode : {0, 2}) {
    g_cdParanoiaMode = mode;
    ASSERT_TRUE(Open(1));
    std::vector<int16_t> sequential = Read(format.frames, 0);
    ASSERT_EQ(sequential, CdImageFrames(0, format.frames)) << "paranoia mode " << mode;
    std::mt19937 random(7);
    // Group edges, then the same group again (read afresh), then anywhere (fewer with paranoia,
    // whose every seek re-reads around the new place).
    std::vector<int> positions = {0, 1, 587, 588, 11759, 11760, 11761, 23520, format.frames - 300, 5, 6, 4};
    for (int i = 0; i < (mode == 0 ? 40 : 6); ++i) positions.push_back(static_cast<int>(random() % (format.frames - 600)));
    for (int position : positions) {
      std::vector<int16_t> got = Read(300, position);
      ASSERT_TRUE(std::equal(got.begin(), got.end(), sequential.begin() + 2 * position)) << "at " << position;
    }
    std::vector<int16_t> next = Read(300, -1);
    EXPECT_TRUE(std::equal(next.begin(), next.end(), sequential.begin() + 2 * (positions.back() + 300)));
    decoder.close();
  }
  g_cdParanoiaMode = 1;
}

TEST_F(CdaTest, RefusesTracksOutsideTheTableDataTracksAndOtherPaths) {
  TraceCapture trace;
  EXPECT_FALSE(Open(0)) << "track 00";
  EXPECT_FALSE(Open(4)) << "past the table";
  EXPECT_EQ(trace.Count("CD track does not exist"), 1);
  for (const char* other : {"/Track01.wav", "/Track1.cda"}) EXPECT_FALSE(decoder.open(cue + other, &format, 0));
  EXPECT_FALSE(decoder.open(CdTrackPathFor(cue, 1), &format, 1)) << "CD tracks cannot be written";
  EXPECT_FALSE(decoder.open(folder.File("nothing.cue/Track01.cda"), &format, 0));
  EXPECT_TRUE(trace.Saw("can not open CD-ROM"));
  std::string mixed = WriteCdImage(folder.path(), {300, 300}, {2});
  EXPECT_FALSE(decoder.open(CdTrackPathFor(mixed, 2), &format, 0));
  EXPECT_TRUE(trace.Saw("CD track 2 of " + mixed + " is not audio"));
  std::vector<int16_t> buffer(2 * 588);
  EXPECT_EQ(decoder.read(buffer.data(), 588, 0) + decoder.durationSeconds(), 0.0) << "nothing stays open";
  // Upper case and the list's "$" mark are both accepted.
  EXPECT_TRUE(decoder.open(mixed + "/TRACK01.CDA$", &format, 0));
}

TEST_F(CdaTest, UnreadableSectorsPlayAsSilenceAndTheReadGoesOn) {
  ASSERT_TRUE(Open(2));
  // The image loses its end while the track is open: sectors past the cut cannot be read.
  std::filesystem::resize_file(folder.File("disc.bin"), (kTracks[0] + 50) * 2352LL);
  TraceCapture trace;
  std::vector<int16_t> got = Read(format.frames, 0);
  std::vector<int16_t> before = CdImageFrames(kTrackFirstFrame[1], 50 * 588);
  ASSERT_TRUE(std::equal(before.begin(), before.end(), got.begin())) << "sectors before the cut survive";
  for (size_t i = before.size(); i < got.size(); ++i) ASSERT_EQ(got[i], 0) << "sample " << i;
  EXPECT_GE(decoder.ReadErrors(), 1);
  EXPECT_EQ(trace.Count("KNP-ERROR: can not read from the CD track"), decoder.ReadErrors()) << "one per group";
  EXPECT_EQ(decoder.read(got.data(), 100, -1), 100) << "the position went on past the bad sectors";
}

TEST_F(CdaTest, TheChainTakesATrackPathAsAListRowHandsItOver) {
  // With the list's "$" mark, which lets a path that no file system holds reach the decoders.
  // lumo render's test follows the same path on through a deck to the master bus.
  CCodecChain chain(0);
  format = EngineFormat();
  ASSERT_EQ(chain.open(CdTrackPathFor(cue, 2) + "$", &format, 0, 88200), 1);
  EXPECT_STREQ(chain.activeCodecObject()->codecName(), "cda");
  std::vector<int16_t> out(2 * 1000);
  ASSERT_EQ(chain.read16(out.data(), 1000, 12345), 1000);
  EXPECT_EQ(out, CdImageFrames(kTrackFirstFrame[1] + 12345, 1000));
}

TEST_F(CdaTest, TracksOfTwoDiscsNeverShareASongRecord) {
  // Both discs name their first track "Track01.cda"; the key carries each disc's id.
  TempFolder other;
  const std::string otherCue = WriteCdImage(other.path(), {75 * 4, 75 * 5});
  const std::string first = SongKeyOf(CdTrackPathFor(cue, 1));
  const std::string second = SongKeyOf(CdTrackPathFor(otherCue, 1) + "$");
  EXPECT_EQ(first, DescribeCdSource(cue).discId + "-Track01.cda");
  EXPECT_EQ(second, DescribeCdSource(otherCue).discId + "-Track01.cda");
  EXPECT_NE(first, second);
  EXPECT_EQ(SongKeyOf("/music/a/Track01.cda.mp3"), "Track01.cda.mp3") << "only track paths are keyed by disc";

  // A stale id (another disc was in the drive when it was read) is put right when a deck opens
  // one of the tracks.
  RememberCdDiscId(cue, "00000000");
  EXPECT_EQ(SongKeyOf(CdTrackPathFor(cue, 2)), "00000000-Track02.cda");
  ASSERT_EQ(Open(2), 1);
  EXPECT_EQ(SongKeyOf(CdTrackPathFor(cue, 2)), DescribeCdSource(cue).discId + "-Track02.cda");
}

}  // namespace
