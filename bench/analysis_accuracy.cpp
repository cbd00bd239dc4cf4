// Accuracy of the track analysis on the synthetic suite, with bpm-tools and SoundTouch's
// soundstretch measured on the same files when they are installed.
//
//   build/bench/analysis_accuracy [tracks=30] [seconds=0: 60 to 180 by track] [folder]
//
// Prints one line per track and a summary; the figures go into docs/performance.md.

#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "SuiteScoring.h"
#include "ExternalTools.h"
#include "SyntheticTrack.h"
#include "analysis/StripeFile.h"
#include "analysis/TrackAnalyzer.h"
#include "library/SongDatabase.h"

namespace {

double BpmToolsTempo(const std::string& wav) {
  std::string out = RunForText("sox \"" + wav + "\" -t raw -r 44100 -e float -c 1 - 2>/dev/null | bpm 2>/dev/null");
  return out.empty() ? 0.0 : std::atof(out.c_str());
}

double SoundstretchTempo(const std::string& wav) {
  std::string out = RunForText("soundstretch \"" + wav + "\" -bpm 2>&1");
  const size_t at = out.find("Detected BPM rate ");
  return at == std::string::npos ? 0.0 : std::atof(out.c_str() + at + 18);
}

}  // namespace

int main(int argc, char** argv) {
  const int tracks = argc > 1 ? std::atoi(argv[1]) : 30;
  const double seconds = argc > 2 ? std::atof(argv[2]) : 0.0;
  std::string folder = argc > 3 ? argv[3] : "/tmp/lumo-accuracy";
  if (folder.back() != '/') folder += '/';
  ::mkdir(folder.c_str(), 0755);
  ::mkdir((folder + "Stripes/").c_str(), 0755);
  SetStripesFolder(folder + "Stripes/");
  LoadSongDatabase(folder + "db.knx");
  const bool others = HaveProgram("bpm") && HaveProgram("soundstretch") && HaveProgram("sox");

  int bpmExact = 0, bpmOctave = 0, keyExact = 0, othersExact[2] = {0, 0}, othersOctave[2] = {0, 0};
  double beatSum = 0.0, mirexSum = 0.0;
  std::printf("%-4s %7s %7s %6s %5s %8s %6s %6s %6s %8s %8s\n", "#", "true", "bpm", "beats", "ofs", "key",
              "truth", "mirex", "step", "bpm-tools", "sstretch");
  const auto suite = SyntheticSuite(tracks, seconds);
  for (size_t i = 0; i < suite.size(); ++i) {
    const SyntheticRecipe& recipe = suite[i];
    SyntheticTrack track = MakeSyntheticTrack(recipe);
    const std::string wav = folder + "track" + std::to_string(i) + ".wav";
    WriteWav(wav, track.stereo);
    CTrackAnalyzer analyzer;
    TrackAnalysis result;
    analyzer.Analyze(wav, result);
    const double truth = recipe.bpm;
    const bool exact = BpmMatches(result.bpm, truth, 0.2, false) ||
                       (recipe.secondBpm > 0 && BpmMatches(result.bpm, recipe.secondBpm, 0.2, false));
    const bool octave = exact || BpmMatches(result.bpm, truth, 0.2, true) ||
                        (recipe.secondBpm > 0 && BpmMatches(result.bpm, recipe.secondBpm, 0.2, true));
    const double beats = BeatMarkHitRate(analyzer.stripe(), track.beatTimes, recipe.seconds, 10.0);
    const double mirex = MirexKeyScore(result.key, recipe.keyRoot, recipe.minor);
    bpmExact += exact, bpmOctave += octave, keyExact += mirex == 1.0;
    beatSum += beats, mirexSum += mirex;
    double tools[2] = {0.0, 0.0};
    if (others) {
      tools[0] = BpmToolsTempo(wav), tools[1] = SoundstretchTempo(wav);
      // The same rule for every detector: a track with a step may be read at either tempo.
      for (int k = 0; k < 2; ++k) {
        othersExact[k] += BpmMatches(tools[k], truth, 0.2, false) ||
                          (recipe.secondBpm > 0 && BpmMatches(tools[k], recipe.secondBpm, 0.2, false));
        othersOctave[k] += BpmMatches(tools[k], truth, 0.2, true) ||
                           (recipe.secondBpm > 0 && BpmMatches(tools[k], recipe.secondBpm, 0.2, true));
      }
    }
    const ZQKey truthKey = MakeKey(static_cast<float>(recipe.keyRoot), recipe.minor ? kAeolian : kIonian);
    std::printf("%-4zu %7.2f %7.2f %5.0f%% %5.1f %8s %6s %6.1f %6s %8.2f %8.2f\n", i, truth, result.bpm,
                beats * 100.0, MeanMarkOffsetMs(analyzer.stripe(), track.beatTimes), KeyText(result.key).c_str(),
                KeyText(truthKey).c_str(), mirex, recipe.secondBpm > 0 ? "yes" : "", tools[0], tools[1]);
    std::fflush(stdout);
    std::remove(wav.c_str());
  }
  const double n = static_cast<double>(suite.size());
  std::printf("\nlumo: BPM within 0.2: %d/%zu, octave-tolerant: %d/%zu; beats within 10 ms: %.1f%%; "
              "key exact: %d/%zu, MIREX score: %.3f\n",
              bpmExact, suite.size(), bpmOctave, suite.size(), beatSum / n * 100.0, keyExact, suite.size(),
              mirexSum / n);
  if (others) {
    std::printf("bpm-tools: within 0.2: %d/%zu, octave-tolerant: %d/%zu\n", othersExact[0], suite.size(),
                othersOctave[0], suite.size());
    std::printf("soundstretch: within 0.2: %d/%zu, octave-tolerant: %d/%zu\n", othersExact[1], suite.size(),
                othersOctave[1], suite.size());
  }
  DropSongDatabase();
  return 0;
}
