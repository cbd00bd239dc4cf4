// Tempo accuracy on the generated evaluation set: ACC1 (within 4 % of the true tempo), ACC2 (of
// the tempo or its double, half, triple or third) and beat F-measure (marks within 70 ms of a
// true beat), for lumo and, when installed, bpm-tools, aubio and soundstretch on the same files.
// Also the CPU time of the whole analysis per minute of audio.
//
//   build/bench/analysis_tempo_eval [pieces=150] [seconds=0: 20 s to 6 min by piece] [--others] [--from N]
//                                   [--every K] [folder]
//
// --from N starts at piece N of the set, so two processes can share the set on two cores; the
// summary then counts only the pieces run. --every K runs every Kth piece from there: 10 from 7
// gives the pieces with a tempo step, 4 from 2 the half-time ones.
//
// One line per piece (lumo, lumo with the walk finding its own phase, then the others) and a
// summary by drum feel; the figures go into docs/performance.md.

#include <sys/stat.h>
#include <time.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ExternalTools.h"
#include "SyntheticTrack.h"
#include "analysis/StripeFile.h"
#include "analysis/StripeMarks.h"
#include "analysis/TrackAnalyzer.h"
#include "library/SongDatabase.h"

namespace {

double ThreadSeconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return t.tv_sec + t.tv_nsec * 1e-9;
}

bool Within(double detected, double truth) { return truth > 0 && std::fabs(detected - truth) <= 0.04 * truth; }
bool Acc1(double detected, const SyntheticRecipe& r) {
  return Within(detected, r.bpm) || (r.secondBpm > 0 && Within(detected, r.secondBpm));
}
bool Acc2(double detected, const SyntheticRecipe& r) {
  for (double f : {1.0, 2.0, 0.5, 3.0, 1.0 / 3.0}) {
    if (Within(detected, r.bpm * f) || (r.secondBpm > 0 && Within(detected, r.secondBpm * f))) return true;
  }
  return false;
}

// One-to-one matching of sorted detections to sorted truth within 70 ms.
double BeatF(const std::vector<double>& detected, const std::vector<double>& truth) {
  if (detected.empty() || truth.empty()) return 0.0;
  size_t i = 0, j = 0, hits = 0;
  while (i < detected.size() && j < truth.size()) {
    if (std::fabs(detected[i] - truth[j]) <= 0.07) ++hits, ++i, ++j;
    else if (detected[i] < truth[j]) ++i;
    else ++j;
  }
  const double p = double(hits) / detected.size(), r = double(hits) / truth.size();
  return p + r > 0 ? 2 * p * r / (p + r) : 0.0;
}

std::vector<double> MarkTimes(const std::vector<float>& stripe) {
  std::vector<double> times;
  for (size_t i = 0; i < stripe.size(); ++i) {
    if (IsMarked(stripe[i])) times.push_back(i / 441.0);
  }
  return times;
}

// Tallies of one analyser, over the whole set and by drum feel.
struct Tool {
  static constexpr int kFeels = 4;
  const char* name;
  bool available;
  bool beats = false;  // gives beat times, so a beat F
  int pieces[kFeels + 1] = {}, acc1[kFeels + 1] = {}, acc2[kFeels + 1] = {};
  double beatF[kFeels + 1] = {};
  void Add(int feel, double bpm, const SyntheticRecipe& r, double f) {
    for (int k : {feel, kFeels}) ++pieces[k], acc1[k] += Acc1(bpm, r), acc2[k] += Acc2(bpm, r), beatF[k] += f;
  }
  void Print(int k) const {
    if (!available || pieces[k] == 0) return;
    char f[16] = "-";
    if (beats) std::snprintf(f, sizeof f, "%.3f", beatF[k] / pieces[k]);
    std::printf("  %-26s %5.1f%% %5.1f%% %7s\n", name, 100.0 * acc1[k] / pieces[k], 100.0 * acc2[k] / pieces[k], f);
  }
};

double BpmTools(const std::string& wav) {
  const std::string out = RunForText("sox \"" + wav + "\" -t raw -r 44100 -e float -c 1 - 2>/dev/null | bpm 2>/dev/null");
  return out.empty() ? 0.0 : std::atof(out.c_str());
}
double Soundstretch(const std::string& wav) {
  const std::string out = RunForText("soundstretch \"" + wav + "\" -bpm 2>&1");
  const size_t at = out.find("Detected BPM rate ");
  return at == std::string::npos ? 0.0 : std::atof(out.c_str() + at + 18);
}
// aubio beat prints one beat time per line; its tempo here is the median of the beat intervals.
// (`aubio tempo` prints a single figure of its own, which can differ: 103.86 for a 120 BPM click.)
double AubioBeats(const std::string& wav, std::vector<double>& beats) {
  const std::string out = RunForText("aubio beat \"" + wav + "\" 2>/dev/null");
  beats.clear();
  for (const char* p = out.c_str(); *p;) {
    char* end = nullptr;
    const double t = std::strtod(p, &end);
    if (end == p) break;
    beats.push_back(t);
    p = end;
    while (*p == '\n' || *p == ' ') ++p;
  }
  if (beats.size() < 3) return 0.0;
  std::vector<double> gaps;
  for (size_t i = 1; i < beats.size(); ++i) gaps.push_back(beats[i] - beats[i - 1]);
  std::nth_element(gaps.begin(), gaps.begin() + gaps.size() / 2, gaps.end());
  return 60.0 / gaps[gaps.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  int pieces = 150;
  double seconds = 0.0;
  bool others = false;
  size_t first = 0, every = 1;
  std::string folder = "/tmp/lumo-tempo-eval";
  int positional = 0;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--others") == 0) others = true;
    else if (std::strcmp(argv[i], "--from") == 0 && i + 1 < argc) first = static_cast<size_t>(std::atoi(argv[++i]));
    else if (std::strcmp(argv[i], "--every") == 0 && i + 1 < argc) every = static_cast<size_t>(std::max(std::atoi(argv[++i]), 1));
    else if (positional == 0) pieces = std::atoi(argv[i]), ++positional;
    else if (positional == 1) seconds = std::atof(argv[i]), ++positional;
    else folder = argv[i];
  }
  if (folder.back() != '/') folder += '/';
  ::mkdir(folder.c_str(), 0755);
  ::mkdir((folder + "Stripes/").c_str(), 0755);
  SetStripesFolder(folder + "Stripes/");
  LoadSongDatabase(folder + "db.knx");

  Tool lumo{"lumo analyse", true, true};
  Tool ownPhase{"lumo, walk's own phase", true, true};
  Tool bpmTools{"bpm-tools", others && HaveProgram("bpm") && HaveProgram("sox")};
  Tool aubio{"aubio beat", others && HaveProgram("aubio"), true};
  Tool stretch{"soundstretch", others && HaveProgram("soundstretch")};
  double cpu = 0.0, audioMinutes = 0.0;
  CTrackAnalyzer analyzer;
  const auto set = TempoEvaluationSet(pieces, seconds);
  std::printf("%-4s %7s %4s %5s | %7s %5s %5s | %7s %5s | %7s %7s %5s %7s\n", "#", "true", "feel", "secs", "lumo",
              "conf", "F", "own", "F", "bpm", "aubio", "F", "sstr");
  for (size_t i = first; i < set.size(); i += every) {
    const SyntheticRecipe& r = set[i];
    const int feel = static_cast<int>(r.feel);
    const SyntheticTrack track = MakeSyntheticTrack(r);
    const std::string wav = folder + "piece" + std::to_string(i) + ".wav";
    WriteWav(wav, track.stereo);
    TrackAnalysis result, own;
    const double before = ThreadSeconds();
    analyzer.Analyze(wav, result);
    cpu += ThreadSeconds() - before;
    audioMinutes += r.seconds / 60.0;
    const double f = BeatF(MarkTimes(analyzer.stripe()), track.beatTimes);
    lumo.Add(feel, result.bpm, r, f);
    analyzer.SetFollowEstimatedBeat(false);
    analyzer.Analyze(wav, own);
    analyzer.SetFollowEstimatedBeat(true);
    const double ownF = BeatF(MarkTimes(analyzer.stripe()), track.beatTimes);
    ownPhase.Add(feel, own.bpm, r, ownF);
    double tools[3] = {0, 0, 0}, aubioF = 0.0;
    if (bpmTools.available) bpmTools.Add(feel, tools[0] = BpmTools(wav), r, 0.0);
    if (aubio.available) {
      std::vector<double> beats;
      tools[1] = AubioBeats(wav, beats);
      aubio.Add(feel, tools[1], r, aubioF = BeatF(beats, track.beatTimes));
    }
    if (stretch.available) stretch.Add(feel, tools[2] = Soundstretch(wav), r, 0.0);
    std::printf("%-4zu %7.2f %4d %5.0f | %7.2f %5.2f %5.2f | %7.2f %5.2f | %7.2f %7.2f %5.2f %7.2f%s%s\n", i, r.bpm,
                feel, r.seconds, result.bpm, result.bpmConfidence, f, own.bpm, ownF, tools[0], tools[1], aubioF,
                tools[2], r.secondBpm > 0 ? " step" : "", Acc1(result.bpm, r) ? "" : " <-- miss");
    std::fflush(stdout);
    std::remove(wav.c_str());
  }
  // Music without a beat must get no tempo.
  const char* const kBeatless[] = {"silence", "pink noise", "sine", "pad", "random hits"};
  for (double length : {15.0, 60.0}) {
    for (int kind = 0; kind < 5; ++kind) {
      const std::string wav = folder + "beatless.wav";
      WriteWav(wav, MakeBeatless(kind, length, 7));
      TrackAnalysis result;
      analyzer.Analyze(wav, result);
      std::printf("beatless %-11s %3.0f s: bpm %7.2f conf %.2f\n", kBeatless[kind], length, result.bpm,
                  result.bpmConfidence);
      std::remove(wav.c_str());
    }
  }
  const char* const kFeelNames[] = {"straight", "12/8 shuffle", "half-time", "sixteenths", "all pieces run"};
  for (int k = Tool::kFeels; k >= 0; --k) {
    if (lumo.pieces[k] == 0) continue;
    std::printf("\n%s (%d pieces)%*s ACC1   ACC2  beat F\n", kFeelNames[k], lumo.pieces[k], 8, "");
    for (const Tool* t : {&lumo, &ownPhase, &bpmTools, &aubio, &stretch}) t->Print(k);
  }
  std::printf("lumo CPU: %.3f s per minute of audio (whole analysis, %.1f minutes)\n", cpu / audioMinutes,
              audioMinutes);
  DropSongDatabase();
  return 0;
}
