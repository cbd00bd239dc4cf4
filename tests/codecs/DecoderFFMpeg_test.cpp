// Every format a DJ drops on a deck, made from one source by the command-line encoders, against
// that source: lossless ones sample for sample, lossy ones in length, first sound and level of
// error; and every one of them after random jumps against its own sequential decode.

#include "codecs/DecoderFFMpeg.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>

#include "MediaFiles.h"
#include "app/base/AtomicFile.h"
#include "codecs/CodecChain.h"
#include "support/TraceCapture.h"

namespace {

std::string NeedFile(const std::string& name) {
  std::string path = media::Path(name);
  if (path.empty()) ADD_FAILURE() << "could not make " << name << " (are sox, lame and ffmpeg installed?)";
  return path;
}

// Error power against the source over the sounding part, in dB below the source's power.
double ErrorDb(const std::vector<int16_t>& decoded, const std::vector<int16_t>& source) {
  double signal = 0, error = 0;
  for (size_t i = 2 * media::kFirstSoundFrame; i < std::min(decoded.size(), source.size()); ++i) {
    signal += double(source[i]) * source[i];
    error += (double(decoded[i]) - source[i]) * (double(decoded[i]) - source[i]);
  }
  return 10 * std::log10(signal / std::max(error, 1.0));
}

TEST(FFMpegFormats, LosslessFilesDecodeSampleIdenticalToTheSource) {
  // The built-in readers take 16-bit PCM at 44100 Hz; FFmpeg decodes the rest (24 and 32-bit,
  // AIFF-C). Both must give the source back exactly (the wider files hold it padded with zeros):
  // 24 and 32-bit integer WAV once played as full-scale DC and noise.
  const std::pair<const char*, const char*> files[] = {
      {"source.wav", "wav"},          {"flac.flac", "ffmpeg-audio"},  {"wav24.wav", "ffmpeg-audio"},
      {"wav32.wav", "ffmpeg-audio"},  {"wavfloat.wav", "ffmpeg-audio"}, {"aiff16.aiff", "aiff"},
      {"aiff24.aiff", "ffmpeg-audio"}, {"aiff32.aiff", "ffmpeg-audio"}, {"au16.au", "au"},
      {"au24.au", "ffmpeg-audio"},    {"au32.au", "ffmpeg-audio"},   {"alac.m4a", "ffmpeg-audio"},
      {"aifc16.aiff", "ffmpeg-audio"},
  };
  for (const auto& [name, decoder] : files) {
    std::string path = NeedFile(name);
    if (path.empty()) continue;
    int frames = 0;
    std::string codec;
    std::vector<int16_t> decoded = media::DecodeWhole(path, &frames, &codec);
    EXPECT_EQ(codec, decoder) << name;
    EXPECT_EQ(frames, media::kSourceFrames) << name;
    EXPECT_TRUE(decoded == media::Source()) << name << " differs from the source";
  }
}

TEST(FFMpegFormats, EightBitFilesPlayAsTheEightBitWav) {
  // 8-bit AIFF and AU are signed, 8-bit WAV unsigned: all three must give the same audio. The
  // WAV reader scales by 32767/128 and FFmpeg by 256, so they may differ by one step.
  int frames = 0;
  std::string wav = NeedFile("wav8.wav");
  if (wav.empty()) return;
  std::vector<int16_t> reference = media::DecodeWhole(wav, &frames);
  ASSERT_EQ(frames, media::kSourceFrames);
  for (const char* name : {"aiff8.aiff", "au8.au"}) {
    std::string path = NeedFile(name);
    if (path.empty()) continue;
    std::vector<int16_t> decoded = media::DecodeWhole(path, &frames);
    ASSERT_EQ(decoded.size(), reference.size()) << name;
    int worst = 0;
    for (size_t i = 0; i < decoded.size(); ++i) worst = std::max(worst, std::abs(decoded[i] - reference[i]));
    EXPECT_LE(worst, 1) << name;
  }
}

TEST(FFMpegFormats, LossyFilesKeepTheSourcesLengthAndFirstSound) {
  // Encoder delay and padding are trimmed, so the music neither moves nor grows. The error
  // floors are what each encoder reaches on this signal at its bit rate, with a few dB spare; a
  // shift of even one millisecond would ruin them.
  const std::pair<const char*, double> files[] = {
      {"mp3.mp3", 25.0}, {"ogg.ogg", 25.0}, {"opus.opus", 20.0}, {"m4a.m4a", 25.0}};
  const int millisecond = 44;
  for (const auto& [name, floorDb] : files) {
    std::string path = NeedFile(name);
    if (path.empty()) continue;
    int frames = 0;
    std::vector<int16_t> decoded = media::DecodeWhole(path, &frames);
    EXPECT_NEAR(frames, media::kSourceFrames, millisecond) << name;
    EXPECT_NEAR(media::FirstSound(decoded), media::kFirstSoundFrame, millisecond) << name;
    EXPECT_GT(ErrorDb(decoded, media::Source()), floorDb) << name;
  }
}

TEST(FFMpegFormats, RandomJumpsMatchTheSequentialDecode) {
  // Lossless, MP3, Vorbis and WMA (whose millisecond time stamps make every jump a decode from
  // the start): identical. AAC (its noise substitution draws from a generator) and
  // Opus (its predictors) carry state that a restart cannot rebuild: within 64 steps, -54 dB of
  // full scale, where a jump to the wrong place would be off by thousands.
  const std::pair<const char*, int> files[] = {{"flac.flac", 0}, {"wav24.wav", 0}, {"rate48000.wav", 0},
                                               {"mp3.mp3", 0},   {"ogg.ogg", 0},   {"opus.opus", 64},
                                               {"m4a.m4a", 64},  {"wma.wma", 0}};
  for (const auto& [name, tolerance] : files) {
    std::string path = NeedFile(name);
    if (path.empty()) continue;
    int total = 0;
    std::vector<int16_t> sequential = media::DecodeWhole(path, &total);
    CCodecChain chain(1);
    AudioFormat format = EngineFormat();
    ASSERT_TRUE(chain.open(path, &format, 0, 88200)) << name;
    std::mt19937 random(11);
    std::vector<int16_t> read(2 * 8192);
    int worst = 0;
    for (int jump = 0; jump < 200; ++jump) {
      int at = static_cast<int>(random() % static_cast<unsigned>(total));
      int frames = 256 + static_cast<int>(random() % 7000);
      int got = chain.read16(read.data(), frames, at);
      ASSERT_EQ(got, std::min(frames, total - at)) << name << " at " << at;
      for (int i = 0; i < 2 * got; ++i) worst = std::max(worst, std::abs(read[i] - sequential[2 * static_cast<size_t>(at) + i]));
    }
    EXPECT_LE(worst, tolerance) << name;
  }
}

TEST(FFMpegFormats, OtherRatesHaveTheirLengthAndJoinBlocksSmoothly) {
  // A mono 1 kHz sine at 48 and 22.05 kHz, read in the deck's one-second blocks. Between neighbouring
  // samples a sine of amplitude A moves at most 2 pi f A / 44100; a block join that restarted or
  // pinned the resampler would jump further.
  const double amplitude = 16000, step = 2 * M_PI * 1000 * amplitude / 44100;
  for (int rate : {48000, 22050}) {
    std::string path = media::Folder() + "sine" + std::to_string(rate) + ".wav";
    if (!media::Run("sox -n -r " + std::to_string(rate) + " -c 1 -b 16 '" + path + "' synth 5 sine 1000 vol " +
                    std::to_string(amplitude / 32768))) {
      ADD_FAILURE() << "sox failed";
      continue;
    }
    int frames = 0;
    std::vector<int16_t> decoded = media::DecodeWhole(path, &frames);
    EXPECT_EQ(frames, 5 * 44100) << rate;
    double worst = 0;
    // The first and last milliseconds are the sine switching on and off.
    for (int i = 100; i + 101 < frames; ++i) {
      worst = std::max(worst, std::fabs(double(decoded[2 * i + 2]) - decoded[2 * i]));
      ASSERT_EQ(decoded[2 * i], decoded[2 * i + 1]) << rate << ": a mono file plays on both sides, frame " << i;
    }
    EXPECT_LT(worst, step * 1.02 + 2) << rate;
  }
}

TEST(FFMpegFormats, BrokenFilesFailWithOneLineAndTruncatedOnesPlayWhatIsThere) {
  std::string mp3 = NeedFile("mp3.mp3");
  if (mp3.empty()) return;
  std::string folder = media::Folder();
  auto write = [&](const std::string& name, const std::string& bytes) {
    WriteFileAtomically(folder + name, bytes);
    return folder + name;
  };
  std::string garbage(20000, '\0');
  std::mt19937 random(3);
  for (char& c : garbage) c = static_cast<char>(random());
  std::string half;
  ASSERT_TRUE(ReadWholeFile(mp3, half));
  half.resize(60000);

  for (const std::string& path : {write("empty.mp3", ""), write("noise.flac", garbage),
                                  write("letter.m4a", "Dear DJ, this is a text file.\n"),
                                  write("cut.ogg", "OggS\0\2\0\0"), write("cut.wav", "RIFF\x24\0\0\0WAVEfmt ")}) {
    TraceCapture trace;
    CCodecChain chain(1);
    AudioFormat format = EngineFormat();
    EXPECT_EQ(chain.open(path, &format, 0, 88200), 0) << path;
    EXPECT_EQ(trace.Count(""), 1) << path << ": one line";
    EXPECT_TRUE(trace.Saw("no suitable codec found")) << path;
  }
  // An MP3 cut short after its header (which still counts every frame) plays what is there.
  int frames = 0;
  std::vector<int16_t> decoded = media::DecodeWhole(write("cut.mp3", half), &frames);
  EXPECT_NEAR(frames, 60000LL * 8 * 44100 / 128000, 44100 / 10);
  int sequential = 0;
  std::vector<int16_t> reference = media::DecodeWhole(mp3, &sequential);
  EXPECT_TRUE(std::equal(decoded.begin(), decoded.begin() + 2 * (frames - 1200), reference.begin()));
}

TEST(FFMpegFormats, DamagedFramesAreSkippedWithOneLineAndTheMusicKeepsItsTime) {
  std::string flac = NeedFile("flac.flac");
  if (flac.empty()) return;
  std::string bytes;
  ASSERT_TRUE(ReadWholeFile(flac, bytes));
  std::mt19937 random(9);
  for (size_t at : {bytes.size() / 3, bytes.size() / 2}) {
    for (size_t i = at; i < at + 400; ++i) bytes[i] = static_cast<char>(random());
  }
  std::string damaged = media::Folder() + "damaged.flac";
  ASSERT_TRUE(WriteFileAtomically(damaged, bytes));

  TraceCapture trace;
  int frames = 0;
  std::vector<int16_t> decoded = media::DecodeWhole(damaged, &frames);
  EXPECT_EQ(trace.Count("skipping damaged audio"), 1) << "one line per file, not per packet";
  ASSERT_EQ(frames, media::kSourceFrames);
  // The lost frames became silence: the last second is still the source's last second.
  const size_t tail = 2 * static_cast<size_t>(media::kSourceFrames - 44100);
  EXPECT_TRUE(std::equal(decoded.begin() + static_cast<long>(tail), decoded.end(), media::Source().begin() + static_cast<long>(tail)));
}

TEST(FFMpegFormats, CoverArtAndAGraphicsFileBesideChangeNothing) {
  std::string mp3 = NeedFile("mp3.mp3"), covered = NeedFile("mp3-cover.mp3");
  if (mp3.empty() || covered.empty()) return;
  // A .cdg no decoder takes yet: the MP3 beside it plays as audio.
  std::string karaoke = media::Folder() + "karaoke.mp3";
  std::filesystem::copy_file(mp3, karaoke, std::filesystem::copy_options::overwrite_existing);
  WriteFileAtomically(media::Folder() + "karaoke.cdg", "CD+G packets nobody decodes yet");
  int plain = 0, frames = 0;
  std::vector<int16_t> reference = media::DecodeWhole(mp3, &plain);
  for (const std::string& path : {covered, karaoke}) {
    std::string codec;
    EXPECT_TRUE(media::DecodeWhole(path, &frames, &codec) == reference) << path;
    EXPECT_EQ(codec, "ffmpeg-audio");
    EXPECT_EQ(frames, plain);
  }
}

}  // namespace
