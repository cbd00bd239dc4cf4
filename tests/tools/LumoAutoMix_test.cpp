// `lumo automix` end to end on generated drum tracks whose beat times are known: the fades
// start where the fade time before the last sound puts them, the two tracks' beats line up in
// the rendered mix (measured by onset detection here, not by the program's own beat marks),
// the list's end fades out, bad entries are skipped, and the same list gives the same file.

#include <gtest/gtest.h>

#include <filesystem>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "codecs/EncoderLame.h"
#include "codecs/DecoderWAV.h"
#include "support/TestFiles.h"

namespace {

constexpr double kRate = 44100.0;
constexpr double kTickFrames = 0.038 * kRate;  // the engine tick's period
constexpr double kAlignedMs = 5.0;

// A kick on every beat and, with it, a short tone burst at `markerHz` that tells this track's
// beats from its neighbour's in the mix. Beats from 0.5 s on.
std::vector<int16_t> DrumTrack(double bpm, double seconds, double markerHz) {
  const size_t frames = static_cast<size_t>(seconds * kRate);
  std::vector<int16_t> pcm(2 * frames);
  const double beat = 60.0 / bpm;
  for (size_t i = 0; i < frames; ++i) {
    const double t = i / kRate;
    double v = 0;
    if (t >= 0.5 && t < seconds - 1.0) {
      const double in = std::fmod(t - 0.5, beat);
      if (in < 0.3) v += 0.5 * std::sin(2 * M_PI * 55 * in) * std::exp(-in * 12);
      if (in < 0.03) v += 0.35 * std::sin(2 * M_PI * markerHz * in) * std::min(1.0, in * 3000) * std::exp(-in * 250);
    }
    pcm[2 * i] = pcm[2 * i + 1] = static_cast<int16_t>(std::lround(v * 30000));
  }
  return pcm;
}

std::vector<float> ReadMono(const std::string& path) {
  CDecoderWAV reader(0);
  AudioFormat format;
  if (!reader.open(path, &format, 0)) return {};
  std::vector<int16_t> stereo(2 * static_cast<size_t>(format.frames));
  reader.read(stereo.data(), format.frames, 0);
  std::vector<float> mono(static_cast<size_t>(format.frames));
  for (size_t i = 0; i < mono.size(); ++i) mono[i] = stereo[2 * i] / 32768.0f;
  return mono;
}

// Onsets (seconds) of bursts near `hz` between `from` and `to`: the signal is shifted down by
// hz and smoothed over 2 ms (a band of about +-250 Hz, wide enough for a pitched track), and an
// onset is where that envelope first rises past half its local peak after a quiet stretch.
std::vector<double> Onsets(const std::vector<float>& mono, double hz, double from, double to) {
  const size_t a = static_cast<size_t>(from * kRate), b = std::min(mono.size(), static_cast<size_t>(to * kRate));
  const int window = 88;
  std::vector<double> env(b > a ? b - a : 0);
  std::complex<double> sum = 0;
  std::vector<std::complex<double>> shifted(env.size());
  for (size_t i = a; i < b; ++i) {
    shifted[i - a] = static_cast<double>(mono[i]) * std::polar(1.0, -2 * M_PI * hz * i / kRate);
    sum += shifted[i - a];
    if (i - a >= window) sum -= shifted[i - a - window];
    env[i - a] = std::abs(sum) / window;
  }
  // The local peak: the largest envelope within 0.2 s, from 10 ms block maxima.
  const size_t block = 441, reach = 20;
  std::vector<double> blockPeak((env.size() + block - 1) / block, 0.0);
  for (size_t i = 0; i < env.size(); ++i) blockPeak[i / block] = std::max(blockPeak[i / block], env[i]);
  std::vector<double> onsets;
  for (size_t i = 1; i < env.size(); ++i) {
    const size_t c = i / block, lo = c > reach ? c - reach : 0, hi = std::min(blockPeak.size(), c + reach + 1);
    double peak = *std::max_element(blockPeak.begin() + static_cast<long>(lo), blockPeak.begin() + static_cast<long>(hi));
    if (peak < 0.01) continue;
    if (env[i] >= 0.5 * peak && env[i - 1] < 0.5 * peak) {
      if (onsets.empty() || (a + i) / kRate - onsets.back() > 0.15) onsets.push_back((a + i) / kRate);
    }
  }
  return onsets;
}

// Pulls "key":value out of one JSON line.
std::string Field(const std::string& line, const std::string& key) {
  size_t at = line.find("\"" + key + "\":");
  if (at == std::string::npos) return "";
  at += key.size() + 3;
  size_t end = line.find_first_of(",}", at);
  return line.substr(at, end - at);
}

struct ToolRun {
  int status = -1;
  std::vector<std::string> lines;  // stdout
  std::string errors;
};

ToolRun RunAutoMix(const std::string& arguments, const std::string& folder) {
  ToolRun run;
  const std::string out = folder + "stdout.txt", err = folder + "stderr.txt";
  run.status = std::system((std::string(LUMO_TOOL) + " automix " + arguments + " > '" + out + "' 2> '" + err + "'").c_str());
  std::ifstream o(out), e(err);
  for (std::string line; std::getline(o, line);) {
    if (line.find("\"mix\"") == std::string::npos) run.lines.push_back(line);  // not the summary
  }
  std::stringstream text;
  text << e.rdbuf();
  run.errors = text.str();
  return run;
}

std::string Bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class LumoAutoMix : public ::testing::Test {
 protected:
  std::string WriteTrack(const std::string& name, double bpm, double seconds, double markerHz) {
    std::string path = root.path() + name;
    WriteStereo16(path, DrumTrack(bpm, seconds, markerHz));
    return path;
  }
  std::string WriteList(const std::vector<std::string>& paths) {
    std::string list = root.path() + "set.m3u", text = "#EXTM3U\n";
    for (const auto& p : paths) text += p + "\n";
    std::ofstream(list) << text;
    return list;
  }
  ScopedDataRoot root;
};

TEST_F(LumoAutoMix, ThreeTempiMixOnTheBeatAndTheSameEveryTime) {
  const double fade = 8.0;
  const std::array<double, 3> tempo = {120.0, 125.0, 114.0};
  const std::array<double, 3> marker = {2000.0, 5000.0, 2000.0};
  std::vector<std::string> tracks;
  for (int k = 0; k < 3; ++k) tracks.push_back(WriteTrack("drums" + std::to_string(k) + ".wav", tempo[k], 36.0, marker[k]));
  const std::string list = WriteList(tracks), mix = root.path() + "mix.wav";
  ToolRun run = RunAutoMix("'" + list + "' -o '" + mix + "' --mixtime 8 --json", root.path());
  ASSERT_EQ(run.status, 0) << run.errors;
  ASSERT_EQ(run.lines.size(), 3u) << "two transitions and the fade out at the end of the list";
  const std::vector<float> mono = ReadMono(mix);
  ASSERT_FALSE(mono.empty());

  for (size_t k = 0; k < run.lines.size(); ++k) {
    const std::string& line = run.lines[k];
    SCOPED_TRACE(line);
    // The trigger: the outgoing deck's position when the fade began, against the last sound
    // minus the fade time; the tick that saw it may come one tick (at the deck's speed) late.
    const double late = std::stod(Field(line, "outgoing_frame")) - std::stod(Field(line, "predicted_frame"));
    EXPECT_GE(late, 0.0);
    EXPECT_LE(late, kTickFrames * 1.06 + 441) << "one tick at the deck's pitch, and one block";
    const double start = std::stod(Field(line, "time")), end = std::stod(Field(line, "end"));
    // A step every second tick, 127 / (10160 / (fade * 1000)) steps: 100 steps of 76 ms here.
    EXPECT_NEAR(end - start, 100 * 2 * kTickFrames / kRate, 0.1) << "a full-travel fade lasts about the fade time";
    if (k == 2) {
      EXPECT_EQ(Field(line, "to"), "null") << "the end of the list still fades";
      EXPECT_GT(mono.size() / kRate, end) << "and the file holds the whole fade";
      continue;
    }
    // After the first third of the fade (where the sync happens) the beats of both tracks,
    // heard in the mix, fall together.
    const auto outgoing = Onsets(mono, marker[k], start + fade / 3 + 0.5, end - 0.3);
    const auto incoming = Onsets(mono, marker[k + 1], start + fade / 3 + 0.5, end - 0.3);
    ASSERT_GE(incoming.size(), 6u);
    ASSERT_GE(outgoing.size(), 6u);
    double worst = 0;
    for (double t : incoming) {
      double nearest = *std::min_element(outgoing.begin(), outgoing.end(),
                                         [t](double x, double y) { return std::fabs(x - t) < std::fabs(y - t); });
      worst = std::max(worst, std::fabs(nearest - t));
    }
    EXPECT_LT(worst * 1000, kAlignedMs) << "transition " << k;
  }

  // Once analysed, the same list again: byte for byte the same file.
  const std::string again = root.path() + "again.wav";
  ToolRun second = RunAutoMix("'" + list + "' -o '" + again + "' --mixtime 8 --json", root.path());
  ASSERT_EQ(second.status, 0) << second.errors;
  EXPECT_TRUE(Bytes(mix) == Bytes(again)) << "the offline mix is reproducible";
  EXPECT_EQ(second.lines, run.lines);
}

TEST_F(LumoAutoMix, BadEntriesAreSkippedAndTheMixGoesOn) {
  std::vector<std::string> entries = {
      WriteTrack("one.wav", 124.0, 14.0, 2000.0), root.path() + "missing.wav", root.path() + "garbage.wav",
      root.path() + "empty.wav", WriteTrack("two.wav", 124.0, 14.0, 5000.0)};
  WriteBytes(root.path() + "garbage.wav", std::vector<uint8_t>(5000, 0x5a));
  WriteBytes(root.path() + "empty.wav", {});
  // A list file of the library's own kind this time.
  std::string knl = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<list version=\"100\" name=\"set\">\n";
  for (const auto& e : entries) knl += "<song fnam=\"" + e + "\" />\n";
  std::ofstream(root.path() + "set.knl") << knl << "</list>\n";
  const std::string mix = root.path() + "mix.wav";
  ToolRun run = RunAutoMix("'" + root.path() + "set.knl' -o '" + mix + "' --mixtime 3 --json", root.path());
  ASSERT_EQ(run.status, 0) << run.errors;
  std::map<std::string, int> skipped;
  int transitions = 0;
  for (const std::string& line : run.lines) {
    if (line.find("\"skipped\"") != std::string::npos) ++skipped[Field(line, "skipped")];
    if (line.find("\"time\"") != std::string::npos) ++transitions;
  }
  EXPECT_EQ(skipped.size(), 3u);
  for (const char* name : {"missing.wav", "garbage.wav", "empty.wav"}) {
    EXPECT_EQ(skipped["\"" + root.path() + name + "\""], 1) << name;
  }
  EXPECT_EQ(transitions, 2) << "one into two, and the fade out";
  const std::string log = Bytes(root.path() + "log.txt");
  EXPECT_NE(log.find("automix: skipped " + root.path() + "garbage.wav"), std::string::npos);
  EXPECT_GT(ReadMono(mix).size() / kRate, 20.0) << "both good tracks are in the mix";
}

TEST_F(LumoAutoMix, AnOutputThatCannotBeWrittenFailsBeforeAnyWork) {
  const std::string list = WriteList({WriteTrack("one.wav", 124.0, 5.0, 2000.0)});
  ToolRun run = RunAutoMix("'" + list + "' -o '" + root.path() + "no/such/folder/mix.wav'", root.path());
  EXPECT_EQ(run.status >> 8, 1);
  EXPECT_NE(run.errors.find("can not write " + root.path() + "no/such/folder/mix.wav"), std::string::npos) << run.errors;
  EXPECT_EQ(run.errors.find("analys"), std::string::npos) << "nothing was analysed first";

  // MP3 goes through the recorder's LAME, when the machine has it.
  run = RunAutoMix("'" + list + "' -o '" + root.path() + "mix.mp3'", root.path());
  if (CEncoderLame::Available()) {
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_GT(std::filesystem::file_size(root.path() + "mix.mp3"), 10000u);
  } else {
    EXPECT_EQ(run.status >> 8, 1);
    EXPECT_NE(run.errors.find("MP3 needs LAME"), std::string::npos) << run.errors;
  }

  run = RunAutoMix("'" + list + "'", root.path());
  EXPECT_EQ(run.status >> 8, 2) << "no output named";
  run = RunAutoMix("'" + list + "' -o x.wav --mixtime 0", root.path());
  EXPECT_EQ(run.status >> 8, 2);
  run = RunAutoMix("'" + root.path() + "nothing.m3u' -o '" + root.path() + "m.wav'", root.path());
  EXPECT_EQ(run.status >> 8, 1);
  EXPECT_NE(run.errors.find("nothing.m3u: no such list or folder"), std::string::npos) << run.errors;
}

}  // namespace
