// Song database: load and save of 100,000 records, and FindSong.
//   build/bench/songdb_bench
// "table_MiB" is the heap the loaded table holds (no table before, 100,000 records after).

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "library/SongDatabase.h"

namespace {

constexpr int kSongs = 100000;

std::string Folder() {
  static const std::string folder = [] {
    auto path = std::filesystem::temp_directory_path() / ("lumo-songdb-bench-" + std::to_string(::getpid()));
    std::filesystem::create_directories(path);
    return path.string();
  }();
  return folder;
}
std::string Path() { return Folder() + "/db.knx"; }

std::string NameOf(int i) { return "Artist " + std::to_string(i % 997) + " - Title number " + std::to_string(i) + ".mp3"; }

// Loads the table from `from` (absent: empty), then stores every record as one change set.
void FillTable(const std::string& from = Folder() + "/absent.knx") {
  LoadSongDatabase(from);
  for (int i = 0; i < kSongs; ++i) {
    TSongRecord r;
    r.name = NameOf(i);
    r.bpm = 90.0f + i % 80;
    r.durationMs = 180000 + i;
    r.hasGain = i % 3 != 0;
    r.gain = -8.5f;
    r.pitchKey = i % 25;
    for (int c = 0; c < 5; ++c) r.cue[c] = i * c;
    StoreSong(r);
  }
}

// Heap bytes in use now.
double HeapMiB() { return static_cast<double>(mallinfo2().uordblks) / (1024.0 * 1024.0); }

// The program's case: the file is the one this process loaded, so the save writes the table.
void BM_Save100k(benchmark::State& state) {
  if (!std::filesystem::exists(Path())) {
    FillTable();
    SaveSongDatabase(Path());
  }
  for (auto _ : state) {
    state.PauseTiming();
    FillTable(Path());
    state.ResumeTiming();
    benchmark::DoNotOptimize(SaveSongDatabase(Path()));
  }
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(Path()));
}

// Another program saved since this one loaded: the save reads the file again and merges.
void BM_MergeSave100k(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    FillTable();
    state.ResumeTiming();
    benchmark::DoNotOptimize(SaveSongDatabase(Path()));
  }
}

void BM_Load100k(benchmark::State& state) {
  if (!std::filesystem::exists(Path())) {
    FillTable();
    SaveSongDatabase(Path());
  }
  DropSongDatabase();
  const double before = HeapMiB();
  for (auto _ : state) benchmark::DoNotOptimize(LoadSongDatabase(Path()));
  state.counters["songs"] = static_cast<double>(SongCount());
  state.counters["table_MiB"] = HeapMiB() - before;
}

void BM_FindSong(benchmark::State& state) {
  if (SongCount() < kSongs) LoadSongDatabase(Path());
  std::vector<std::string> names;
  for (int i = 0; i < 4096; ++i) names.push_back(NameOf((i * 7919) % kSongs));
  TSongRecord out;
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(FindSong(names[i], out));
    i = (i + 1) & 4095;
  }
}

BENCHMARK(BM_Save100k)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_MergeSave100k)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Load100k)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_FindSong);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  DropSongDatabase();
  std::filesystem::remove_all(Folder());
  return 0;
}
