#include "cmd_analyse.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "LumoSession.h"
#include "analysis/FileWorker.h"
#include "analysis/StripeFile.h"
#include "analysis/TempoRange.h"
#include "analysis/TrackAnalyzer.h"
#include "JsonText.h"
#include "app/DataFolders.h"
#include "app/base/NumberText.h"
#include "app/base/Trace.h"
#include "library/SongDatabase.h"
#include "library/SongDatabaseSaver.h"

namespace fs = std::filesystem;

namespace {

constexpr int kMaxJobs = CFileWorker::kMaxLanes;

struct Options {
  bool json = false;
  bool force = false;
  TempoRange range = TempoRange::kAuto;
  int jobs = 1;
  std::vector<std::string> paths;
};

void Usage() {
  std::fprintf(stderr,
               "usage: lumo analyse [--json] [--jobs N] [--force] [--range R] PATH...\n"
               "  Analyses audio files (folders recursively): tempo, beat grid, gain, key.\n"
               "  --json      one JSON object per file, failures included\n"
               "  --jobs N    analyse N files at once (1..64)\n"
               "  --force     analyse songs again that already have a tempo and a stripe\n"
               "  --range R   fold tempi into auto, 60-120, 70-140, 80-160, 90-180 or 100-200\n");
}

bool ParseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--json") {
      options.json = true;
    } else if (arg == "--jobs" || arg == "-j") {
      long long jobs = 0;
      if (i + 1 >= argc || !ParseInt(argv[++i], jobs) || jobs < 1 || jobs > kMaxJobs) return false;
      options.jobs = static_cast<int>(jobs);
    } else if (arg == "--force") {
      options.force = true;
    } else if (arg == "--range") {
      if (i + 1 >= argc || !ParseTempoRange(argv[++i], options.range)) return false;
    } else if (arg.rfind("--range=", 0) == 0) {
      if (!ParseTempoRange(arg.substr(8), options.range)) return false;
    } else if (arg.rfind("--jobs=", 0) == 0) {
      long long jobs = 0;
      if (!ParseInt(arg.substr(7), jobs) || jobs < 1 || jobs > kMaxJobs) return false;
      options.jobs = static_cast<int>(jobs);
    } else if (arg == "--help" || arg == "-h" || (arg.size() > 1 && arg[0] == '-' && arg != "-")) {
      return false;
    } else {
      options.paths.push_back(arg);
    }
  }
  return !options.paths.empty();
}

// Files in command-line order; each folder's files sorted, so runs are repeatable.
// A path that is neither counts in missing.
std::vector<std::string> CollectFiles(const std::vector<std::string>& paths, size_t& missing) {
  std::vector<std::string> files;
  for (const std::string& path : paths) {
    std::error_code error;
    if (fs::is_directory(path, error)) {
      std::vector<std::string> found;
      for (auto it = fs::recursive_directory_iterator(path, fs::directory_options::skip_permission_denied, error);
           !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        if (it->is_regular_file(error)) found.push_back(it->path().string());
      }
      std::sort(found.begin(), found.end());
      files.insert(files.end(), found.begin(), found.end());
    } else if (fs::is_regular_file(path, error)) {
      files.push_back(path);
    } else {
      std::fprintf(stderr, "lumo analyse: %s: no such file or folder\n", path.c_str());
      ++missing;
    }
  }
  return files;
}

// A file that was not analysed: a JSON line with the reason, or the reason on stderr.
std::string NotAnalysedLine(const std::string& path, const char* reason, bool failed, bool json) {
  if (json) return "{\"path\":" + JsonString(path) + (failed ? ",\"error\":" : ",\"skipped\":") + JsonString(reason) + "}";
  return "lumo analyse: " + path + ": " + reason;
}

std::string ResultLine(const std::string& path, const TrackAnalysis& r, bool json) {
  const bool hasGain = r.gain != ZQGainAnalyzer::kNoGain;
  const std::string key = r.key.known() ? KeyText(r.key) : "";
  if (json) {
    return "{\"path\":" + JsonString(path) + ",\"name\":" + JsonString(r.name) + ",\"bpm\":" + FormatFixed(r.bpm, 2) +
           ",\"bpm_confidence\":" + FormatFixed(r.bpmConfidence, 2) +
           ",\"gain_db\":" + (hasGain ? FormatFixed(r.gain, 2) : std::string("null")) +
           ",\"key\":" + JsonString(key) + ",\"keycode\":" +
           JsonString(r.key.known() ? KeyCodeText(KeyCodeOf(r.key)) : "") +
           ",\"pitch_key\":" + std::to_string(r.pitchKey) + ",\"duration_ms\":" + std::to_string(r.durationMs) +
           ",\"beats\":" + std::to_string(r.beats) + ",\"stripe\":" + (r.stripeWritten ? "true" : "false") + "}";
  }
  char line[128];
  std::snprintf(line, sizeof line, "%7s BPM (%s)  %9s  %-4s  ", FormatFixed(r.bpm, 2).c_str(),
                FormatFixed(r.bpmConfidence, 2).c_str(),
                hasGain ? (FormatFixed(r.gain, 2) + " dB").c_str() : "no gain", key.empty() ? "-" : key.c_str());
  return line + path;
}

class Progress {
 public:
  explicit Progress(size_t total) : total_(total), start_(std::chrono::steady_clock::now()), shown_(isatty(2)) {}

  void Draw(size_t done) {
    if (!shown_) return;
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    const double left = done ? elapsed / done * (total_ - done) : 0.0;
    constexpr int kWidth = 30;
    const int filled = total_ ? static_cast<int>(kWidth * done / total_) : kWidth;
    std::string bar(static_cast<size_t>(filled), '=');
    bar.resize(kWidth, ' ');
    std::fprintf(stderr, "\r[%s] %zu/%zu files, %s left ", bar.c_str(), done, total_,
                 done ? Clock(left).c_str() : "--:--");
    std::fflush(stderr);
  }
  void Clear() {
    if (shown_) std::fprintf(stderr, "\r%*s\r", 70, "");
  }

 private:
  static std::string Clock(double seconds) {
    const long s = std::lround(seconds);
    char text[32];
    std::snprintf(text, sizeof text, "%02ld:%02ld", s / 60, s % 60);
    return text;
  }
  size_t total_;
  std::chrono::steady_clock::time_point start_;
  bool shown_;
};

}  // namespace

int RunAnalyseCommand(int argc, char** argv) {
  Options options;
  if (!ParseOptions(argc, argv, options)) {
    Usage();
    return 2;
  }
  DataFolders folders = DataFolders::Compute();
  if (!folders.Create()) {
    std::fprintf(stderr, "lumo analyse: cannot create the data folder %s\n", folders.root.c_str());
    return 1;
  }
  SetFolders(folders);
  SetTraceLogFile(folders.root + "log.txt");
  SetTraceQuiet(true);
  SetStripesFolder(folders.stripes);
  const std::string database = folders.database + "db.knx";
  LoadSongDatabase(database);
  // Results reach db.knx every few seconds, merged with what other programs save meanwhile.
  auto saver = std::make_unique<CSongDatabaseSaver>(database);

  size_t missing = 0;
  const std::vector<std::string> files = CollectFiles(options.paths, missing);
  Progress progress(files.size());
  std::mutex outputLock;
  std::condition_variable allReported;
  size_t done = 0, analysed = 0, skipped = 0, failed = missing;
  progress.Draw(0);
  SetPreferredTempoRange(options.range);

  // The hooks run on the worker's lanes, several at once with --jobs.
  auto report = [&](const std::string& line, bool toStdout) {
    progress.Clear();
    std::fprintf(toStdout ? stdout : stderr, "%s\n", line.c_str());
    std::fflush(toStdout ? stdout : stderr);
    progress.Draw(++done);
    if (done == files.size()) allReported.notify_all();
  };
  FileWorkerConfig config;
  config.lanes = std::min<int>(options.jobs, static_cast<int>(std::max<size_t>(files.size(), 1)));
  config.paced = false;
  config.force = options.force;
  config.priorityClass = 3;  // the user is waiting: normal priority, not the program's idle pass
  CFileWorker worker(
      nullptr,
      [&](const std::string& path, const TrackAnalysis& result) {
        std::lock_guard guard(outputLock);
        ++analysed;
        report(ResultLine(path, result, options.json), true);
      },
      [&](const std::string& path, FileSkip why) {
        std::lock_guard guard(outputLock);
        const bool failure = FileSkipIsFailure(why);
        ++(failure ? failed : skipped);
        report(NotAnalysedLine(path, FileSkipText(why), failure, options.json), options.json);
      },
      config);
  for (const std::string& path : files) worker.Enqueue(path);
  worker.Start();
  {
    std::unique_lock guard(outputLock);
    allReported.wait(guard, [&] { return done == files.size(); });
  }
  worker.Close();
  progress.Clear();

  saver.reset();
  const int saved = SaveSongDatabase(database);
  if (!options.json) {
    std::fprintf(stderr, "lumo analyse: %zu analysed, %zu already analysed, %zu failed\n", analysed, skipped, failed);
  }
  if (!saved) {
    std::fprintf(stderr, "lumo analyse: cannot save %s (library in use or not writable; see log.txt)\n",
                 database.c_str());
    return 1;
  }
  return failed == 0 ? 0 : 1;
}
