// lumo automix LIST -o MIX.wav: an unattended DJ set. Songs without a stripe are analysed
// first; then decks A and B play the list with Auto-Mix on the engine tick, exactly as in the
// window, beat-matching each incoming track, and each transition is printed. Offline by default:
// the engine is pulled as fast as the machine goes, with the deck workers stepped in time, so
// the same list always gives the same file.

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <filesystem>
#include <thread>

#include "AutoMixList.h"
#include "Commands.h"
#include "JsonText.h"
#include "LumoSession.h"
#include "MixOutput.h"
#include "app/AutoMix.h"
#include "app/DataFolders.h"
#include "app/Engine.h"
#include "codecs/SongKey.h"
#include "app/EngineTick.h"
#include "app/Settings.h"
#include "app/base/NumberText.h"
#include "app/base/Trace.h"
#include "audio/Mixer.h"
#include "audio/OfflineOutput.h"
#include "analysis/StripeFile.h"
#include "audio/devices/OutputLayer.h"
#include "deck/BeatSync.h"
#include "deck/SoundSource.h"
#include "library/SongDatabase.h"

namespace {

constexpr int kBlockFrames = 441;
constexpr double kTickFrames = 44100 * 0.038;  // the main tick's period
constexpr int kTailFrames = 22050;             // half a second after the last sound
constexpr double kSlackPerSong = 60.0;         // seconds a mix may run past its songs' length

struct Options {
  std::string source, output, device;
  bool realtime = false, shuffle = false, json = false, demo = false;
  double mixSeconds = 0;  // 0: the "mixtim" setting
};

bool ParseOptions(int argc, char** argv, Options& options) {
  ParsedArgs args = ParseArgs(argc, argv, {"realtime", "shuffle", "json", "demo"});
  auto output = args.Get("o") ? args.Get("o") : args.Get("output");
  options.realtime = args.Has("realtime");
  options.shuffle = args.Has("shuffle");
  options.json = args.Has("json");
  options.demo = args.Has("demo");
  options.device = args.Get("device").value_or("");
  if (auto text = args.Get("mixtime")) {
    if (!ParseDouble(*text, options.mixSeconds) || !(options.mixSeconds >= 0.1 && options.mixSeconds <= 600)) {
      std::fprintf(stderr, "lumo: --mixtime wants seconds from 0.1 to 600, not \"%s\"\n", text->c_str());
      return false;
    }
  }
  if (!output || output->empty() || args.positional.size() != (options.demo ? 0u : 1u)) return false;
  options.output = *output;
  if (!options.demo) options.source = args.positional[0];
  return true;
}

std::string Name(const std::string& path) { return std::filesystem::path(path).filename().string(); }

// Prints the set as it happens: each fade with its tempi and how far apart the beats were when
// it started and ended, and every song passed over.
class MixReport {
 public:
  MixReport(bool json, const double* clockSeconds) : json_(json), clock_(clockSeconds) {}

  void OnEvent(CAutoMix::Event event, int from, int to, const std::string& path) {
    CSoundSource* out = from >= 0 ? g_engine.decks[from] : nullptr;
    CSoundSource* in = g_engine.decks[to];
    switch (event) {
      case CAutoMix::Event::kFadeStarted: {
        start_ = *clock_;
        fromPath_ = out->FilePath();
        toPath_ = in->fileOpen.load() ? in->FilePath() : std::string();
        fromBpm_ = out->GetBpm();
        toBpm_ = in->GetBpm();
        phaseStart_ = ShortPhaseDifference(in->beatPhase.load(), out->beatPhase.load());
        outgoingFrame_ = out->GetPosition();
        int length = out->GetLength(), last = out->cueTable[CSoundSource::kLastSoundSlot].load();
        int end = last > length / 2 && last < length ? last : length;
        predictedFrame_ = end - g_settings.mixtim * 4410;
        break;
      }
      case CAutoMix::Event::kFadeEnded:
        Print(ShortPhaseDifference(in->beatPhase.load(), out->beatPhase.load()), in->getPitch());
        ++transitions_;
        // The set ends with the list: a deck with no next song is emptied rather than played
        // again from its cue at the next fade.
        if (!out->loadPending.load() && g_autoMix.songsLeft() == 0) out->unload();
        break;
      case CAutoMix::Event::kLoaded:
        ++songs_;
        break;
      case CAutoMix::Event::kSkipped:
        if (json_) {
          std::printf("{\"skipped\":%s}\n", JsonString(path).c_str());
        } else {
          std::fprintf(stderr, "\rlumo automix: skipped %s: missing, not decodable or empty\n", path.c_str());
        }
        std::fflush(stdout);
        break;
    }
  }
  int transitions() const { return transitions_; }
  int songs() const { return songs_; }

 private:
  void Print(float phaseEnd, int pitch) {
    const bool toEmpty = toPath_.empty();
    if (json_) {
      std::printf(
          "{\"time\":%s,\"end\":%s,\"from\":%s,\"to\":%s,\"from_bpm\":%s,\"to_bpm\":%s,\"pitch\":%s,"
          "\"phase_start\":%s,\"phase_end\":%s,\"outgoing_frame\":%d,\"predicted_frame\":%d}\n",
          FormatFixed(start_, 3).c_str(), FormatFixed(*clock_, 3).c_str(), JsonString(fromPath_).c_str(),
          toEmpty ? "null" : JsonString(toPath_).c_str(), FormatFixed(fromBpm_, 2).c_str(), FormatFixed(toBpm_, 2).c_str(),
          FormatFixed(pitch * 0.01, 2).c_str(), FormatFixed(phaseStart_, 3).c_str(), FormatFixed(phaseEnd, 3).c_str(),
          outgoingFrame_, predictedFrame_);
    } else {
      if (isatty(2)) std::fputs("\r\033[K", stderr);  // the line goes where the progress line was
      std::printf("%s  %s -> %s  %s -> %s BPM (pitch %s %%)  beats %s -> %s apart\n", FormatClock(start_).c_str(),
                  Name(fromPath_).c_str(), toEmpty ? "(end of list)" : Name(toPath_).c_str(),
                  FormatFixed(fromBpm_, 2).c_str(), FormatFixed(toBpm_, 2).c_str(), FormatFixed(pitch * 0.01, 2).c_str(),
                  FormatFixed(phaseStart_, 2).c_str(), FormatFixed(phaseEnd, 2).c_str());
    }
    std::fflush(stdout);
  }

  bool json_;
  const double* clock_;
  double start_ = 0;
  std::string fromPath_, toPath_;
  float fromBpm_ = 0, toBpm_ = 0, phaseStart_ = 0;
  int outgoingFrame_ = 0, predictedFrame_ = 0;
  int transitions_ = 0, songs_ = 0;
};

double ListSeconds(const std::vector<std::string>& songs) {
  double total = 0;
  for (const std::string& song : songs) {
    TSongRecord record;
    if (FindSong(SongKeyOf(song), record)) total += record.durationMs / 1000.0;
  }
  return total;
}

bool MixOver(CSoundSource& a, CSoundSource& b) {
  return !g_autoMix.fading() && g_autoMix.songsLeft() == 0 && !g_autoMix.loadsPending() && !a.IsPlaying() &&
         !b.IsPlaying();
}

// Deck A starts the set with the first song that loads, playing from its first sound; deck B
// gets the next one ready.
bool StartSet(bool offline) {
  CSoundSource& a = *g_engine.decks[0];
  g_autoMix.LoadNextTrack(0, 1);
  while (g_autoMix.loadsPending()) {
    if (offline) {
      if (a.loadPending.load()) a.loaderPass();
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    g_autoMix.SettleLoads();
  }
  if (!a.fileOpen.load()) return false;
  a.setPlaying(1);
  g_autoMix.LoadNextTrack(1);
  return true;
}

int RunOffline(const Options& options, MixOutput& output, double listSeconds, MixReport& report, double& clock) {
  COfflineOutput offline(kBlockFrames);
  std::vector<float> master(2 * kBlockFrames);
  CEngineTick tick;
  CSoundSource* decks[kDeckCount];
  for (int d = 0; d < kDeckCount; ++d) decks[d] = g_engine.decks[d];
  const long long limit = std::llround((listSeconds + kSlackPerSong * 2) * 44100);
  long long rendered = 0, tail = -1;
  double nextTick = kTickFrames;
  auto start = std::chrono::steady_clock::now();
  while (tail != 0) {
    offline.PullBlock(master.data());
    if (!output.Healthy()) {
      std::fprintf(stderr, "\nlumo automix: can not write %s (disk full?)\n", options.output.c_str());
      return 1;
    }
    rendered += kBlockFrames;
    clock = rendered / 44100.0;
    while (rendered >= nextTick) {
      tick.Run(decks, kDeckCount, nullptr);
      nextTick += kTickFrames;
    }
    if (tail < 0 && MixOver(*decks[0], *decks[1])) tail = kTailFrames / kBlockFrames;
    if (tail > 0) --tail;
    if (rendered > limit) {
      std::fprintf(stderr, "\nlumo automix: the mix ran past the list's length; stopped\n");
      return 1;
    }
    if (rendered % (44100 * 10) < kBlockFrames) ShowProgress(clock, listSeconds, "mixing");
  }
  EndProgress();
  const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::fprintf(stderr, "lumo automix: %d songs, %d transitions, %s of audio in %.2f s (%.0fx real time)\n",
               report.songs(), report.transitions(), FormatClock(clock).c_str(), wall, wall > 0 ? clock / wall : 0.0);
  return 0;
}

int RunRealtime(const Options& options, double listSeconds, double& clock) {
  g_outputSelection.primary = ChooseDevice(options.device, OutputDeviceCount(true));
  g_outputSelection.secondary = -1;
  EngineOpenOutputs();
  std::fprintf(stderr, "lumo automix: playing on %s and recording to %s\n", CurrentOutputStatus().primaryName.c_str(),
               options.output.c_str());
  CEngineTick tick;
  CSoundSource* decks[kDeckCount];
  for (int d = 0; d < kDeckCount; ++d) decks[d] = g_engine.decks[d];
  auto start = std::chrono::steady_clock::now();
  while (!MixOver(*decks[0], *decks[1])) {
    std::this_thread::sleep_for(std::chrono::milliseconds(38));
    DrainRealtimeTrace();
    tick.Run(decks, kDeckCount, nullptr);
    clock = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    ShowProgress(clock, listSeconds, "playing");
    if (clock > listSeconds + kSlackPerSong * 2) break;
  }
  EndProgress();
  return 0;
}

}  // namespace

int RunAutoMixCommand(int argc, char** argv) {
  Options options;
  if (!ParseOptions(argc, argv, options)) {
    std::fprintf(stderr, "usage: lumo automix LIST.m3u|LIST.knl|FOLDER -o MIX.wav|MIX.mp3 [--realtime] "
                         "[--device N] [--mixtime S] [--shuffle] [--json] [--demo]\n");
    return 2;
  }
  // The output first: a path that cannot be written fails before any work.
  MixOutput output;
  std::string error;
  if (!output.Check(options.output, &error)) {
    std::fprintf(stderr, "lumo automix: %s\n", error.c_str());
    return 1;
  }
  if (options.demo) {
    const char* tmp = std::getenv("TMPDIR");
    options.source = WriteDemoSet(std::string(tmp && *tmp ? tmp : "/tmp") + "/zorvik-lumo-automix");
    if (options.source.empty()) {
      std::fprintf(stderr, "lumo automix: can not write the demo set\n");
      return 1;
    }
  }
  std::vector<std::string> songs;
  if (!ReadMixSongs(options.source, songs, &error)) {
    std::fprintf(stderr, "lumo automix: %s\n", error.c_str());
    return 1;
  }
  if (songs.empty()) {
    std::fprintf(stderr, "lumo automix: %s holds no songs\n", options.source.c_str());
    return 1;
  }

  LumoSession session(!options.realtime);
  EngineLoadLibrary();
  EngineCreateAnalysis();
  SetTraceQuiet(true);  // the progress line owns the terminal; log.txt keeps every line
  AnalyseMixSongs(songs);
  const double listSeconds = ListSeconds(songs);

  g_settings.bmatch = 1;
  g_settings.slowrt = 1;
  g_settings.random = options.shuffle ? 1 : 0;
  if (options.mixSeconds > 0) g_settings.mixtim = static_cast<int>(std::lround(options.mixSeconds * 10));
  if (options.shuffle) std::srand(static_cast<unsigned>(std::time(nullptr)));
  double clock = 0;
  MixReport report(options.json, &clock);
  g_autoMix.Attach(g_engine.decks, kDeckCount, g_engine.mixer);
  g_autoMix.SetPlaylist(std::deque<std::string>(songs.begin(), songs.end()));
  g_autoMix.SetListener([&report](CAutoMix::Event e, int from, int to, const std::string& path) {
    report.OnEvent(e, from, to, path);
  });
  g_engine.mixer->SetCrossfader(0);
  int result = 1;
  if (!StartSet(!options.realtime)) {
    std::fprintf(stderr, "lumo automix: none of the songs in %s could be played\n", options.source.c_str());
  } else if (!output.Start(&error)) {
    std::fprintf(stderr, "lumo automix: %s\n", error.c_str());
  } else {
    g_settings.mixaut = 1;
    result = options.realtime ? RunRealtime(options, listSeconds, clock)
                              : RunOffline(options, output, listSeconds, report, clock);
  }
  g_settings.mixaut = 0;
  g_autoMix.SetListener(nullptr);
  if (!output.Close() && result == 0) {
    std::fprintf(stderr, "lumo automix: %s is incomplete (disk full?)\n", options.output.c_str());
    result = 1;
  }
  EngineSaveLibrary();
  if (result == 0) {
    if (options.json) {
      std::printf("{\"mix\":%s,\"songs\":%d,\"transitions\":%d,\"seconds\":%s}\n", JsonString(options.output).c_str(),
                  report.songs(), report.transitions(), FormatFixed(clock, 3).c_str());
    } else {
      std::printf("mix written to %s\n", options.output.c_str());
    }
  }
  return result;
}
