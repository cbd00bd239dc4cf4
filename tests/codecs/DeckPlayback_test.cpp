// Compressed files through the deck's own loader: the path that scrambled music when the
// decoder ignored positions. The deck streams a long MP3, jumps about and plays backwards; every
// block it holds must be the block a plain start-to-end decode gives.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

#include "MediaFiles.h"
#include "app/base/AtomicFile.h"
#include "audio/Threads.h"
#include "codecs/CodecChain.h"
#include "deck/SoundSource.h"

namespace {

uint64_t Hash(const short* samples, int frames) {
  uint64_t h = 1469598103934665603ull;
  for (int i = 0; i < 2 * frames; ++i) h = (h ^ static_cast<uint16_t>(samples[i])) * 1099511628211ull;
  return h;
}

class DeckPlayback : public ::testing::Test {
 protected:
  DeckPlayback() { SetThreadsManual(true); }
  ~DeckPlayback() override {
    deck.reset();
    SetThreadsManual(false);
    g_trackMemoryLimitKB = 310080;
  }
  void Load(const std::string& path) {
    deck = std::make_unique<CSoundSource>(0, media::Folder());
    ASSERT_TRUE(deck->load(path, 0, nullptr, 1));
    while (deck->loadPending.load()) deck->loaderPass();
  }
  std::unique_ptr<CSoundSource> deck;
};

// Hashes of every one-second block of a sequential decode, read as the deck reads them.
std::vector<uint64_t> SequentialBlockHashes(const std::string& path, int* length) {
  CCodecChain chain(1);
  AudioFormat format = EngineFormat();
  std::vector<uint64_t> hashes;
  if (!chain.open(path, &format, 0, 88200)) return hashes;
  *length = format.frames;
  std::vector<short> block(2 * kTrackBlockFrames);
  for (int at = 0; at < format.frames; at += kTrackBlockFrames) {
    std::fill(block.begin(), block.end(), 0);
    chain.read16(block.data(), std::min(kTrackBlockFrames, format.frames - at), at);
    hashes.push_back(Hash(block.data(), kTrackBlockFrames));
  }
  return hashes;
}

TEST_F(DeckPlayback, StreamedTwentyMinuteMp3WithJumpsMatchesTheWholeDecode) {
  // Twenty minutes of a slow sweep (every second different), mono at 22.05 kHz and a low bit
  // rate so it is quick to make; the deck resamples it as it would any file.
  std::string path = media::Folder() + "twenty-minutes.mp3";
  ASSERT_TRUE(media::Run("sox -n -r 22050 -c 1 -b 16 -t wav - synth 1200 sine 100-4000 vol 0.5 | lame --quiet -q 9 -b 32 - '" +
                         path + "'"))
      << "sox and lame make the test file";
  int length = 0;
  std::vector<uint64_t> expected = SequentialBlockHashes(path, &length);
  ASSERT_NEAR(length, 1200 * 44100, 44100 / 10);

  g_trackMemoryLimitKB = 0;  // "maxram" 5: every track streams
  Load(path);
  ASSERT_TRUE(deck->fileOpen.load());
  ASSERT_TRUE(deck->memory.streaming());
  ASSERT_EQ(deck->GetLength(), length);

  int checked = 0;
  auto checkHeldBlocks = [&](const char* when) {
    for (int b = 0; b < deck->memory.blockCount(); ++b) {
      const TrackBlock* block = deck->memory.Block(b);
      if (!block) continue;
      ASSERT_EQ(Hash(block->samples, kTrackBlockFrames), expected[static_cast<size_t>(b)])
          << "block " << b << " " << when;
      ++checked;
    }
  };
  checkHeldBlocks("after the load");
  for (double second : {40.0, 1100.5, 300.0, 1199.2, 5.0, 700.7, 699.0}) {
    ASSERT_TRUE(deck->seek(static_cast<int>(second * 44100)));
    deck->loaderPass();  // the jump
    deck->loaderPass();  // the window around it
    checkHeldBlocks(("after a jump to " + std::to_string(second)).c_str());
  }
  // Backwards: the window fills towards the start, each block before the last one read.
  deck->speed.store(-1.0);
  deck->loaderPass();
  checkHeldBlocks("playing backwards");
  EXPECT_GT(checked, 7 * 30);
}

TEST_F(DeckPlayback, HeldWholeMp3JumpedRightAfterTheLoadFillsEveryBlockRightly) {
  // Held whole, the loader fills from the play head outwards: after a jump that is out of order.
  std::string path = media::Path("mp3.mp3");
  ASSERT_FALSE(path.empty());
  int length = 0;
  std::vector<uint64_t> expected = SequentialBlockHashes(path, &length);
  Load(path);
  ASSERT_FALSE(deck->memory.streaming());
  ASSERT_TRUE(deck->seek(static_cast<int>(4.5 * 44100)));
  for (int pass = 0; pass < 3; ++pass) deck->loaderPass();
  ASSERT_EQ(deck->memory.presentCount(), static_cast<int>(expected.size()));
  for (int b = 0; b < deck->memory.blockCount(); ++b) {
    EXPECT_EQ(Hash(deck->memory.Block(b)->samples, kTrackBlockFrames), expected[static_cast<size_t>(b)]) << "block " << b;
  }
}

TEST_F(DeckPlayback, Mp3WithoutAHeaderLoadsWithItsRealLengthAndSilenceAfterIt) {
  std::string path = media::Path("mp3-noheader.mp3");
  ASSERT_FALSE(path.empty());
  Load(path);
  ASSERT_TRUE(deck->fileOpen.load());
  int length = deck->GetLength();
  // The source plus what the encoder added, which nothing in this file records.
  EXPECT_GE(length, media::kSourceFrames);
  EXPECT_LE(length, media::kSourceFrames + 2 * 1152 + 1105);
  const int blocks = deck->memory.blockCount();
  EXPECT_EQ(blocks, (length + kTrackBlockFrames - 1) / kTrackBlockFrames);
  for (int b = 0; b < blocks; ++b) deck->LoadBlock(b);
  const TrackBlock* last = deck->memory.Block(blocks - 1);
  ASSERT_NE(last, nullptr);
  EXPECT_EQ(last->framesRead, length - (blocks - 1) * kTrackBlockFrames);
  for (int i = 2 * last->framesRead; i < 2 * kTrackBlockFrames; ++i) ASSERT_EQ(last->samples[i], 0) << i;
}

TEST_F(DeckPlayback, FilesNoDecoderTakesLeaveTheDeckEmpty) {
  std::string path = media::Folder() + "not-audio.mp3";
  WriteFileAtomically(path, "ID3 but nothing after it");
  Load(path);
  EXPECT_EQ(deck->fileOpen.load(), 0);
  EXPECT_EQ(deck->GetLength(), 0);
  EXPECT_EQ(deck->TakeStatus(), kStatusLoadFailed);
}

}  // namespace
