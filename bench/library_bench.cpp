// The library's interactive paths: a search per keystroke over 10,000 and 100,000 rows, loading a
// saved 10,000-row list, and reading one file's tags.
//   build/bench/library_bench
// Tag reading needs ffmpeg on the PATH to make its file; it is skipped without.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "app/base/Trace.h"
#include "library/AbstractList.h"
#include "library/TagReader.h"
#include "BenchRows.h"

namespace {

std::string Folder() {
  static const std::string folder = [] {
    auto path = std::filesystem::temp_directory_path() / ("lumo-library-bench-" + std::to_string(::getpid()));
    std::filesystem::create_directories(path);
    return path.string() + "/";
  }();
  return folder;
}

// One search per keystroke of "extended mi", the list rebuilt from all rows each time.
void BM_SearchKeystroke(benchmark::State& state) {
  CZQAbstractList list;
  for (int i = 0; i < state.range(0); ++i) list.AddRow(BenchRowOf(i));
  const std::string typed = "number 4711";
  size_t k = 0;
  for (auto _ : state) {
    list.SetSearch(typed.substr(0, k % typed.size() + 1));
    ++k;
  }
  state.counters["visible"] = list.GetVisibleCount();
}

void BM_KnlLoad10k(benchmark::State& state) {
  const std::string path = Folder() + "big.knl";
  {
    CZQAbstractList list;
    for (int i = 0; i < 10000; ++i) list.AddRow(BenchRowOf(i));
    list.SaveToFile(path, true);
  }
  CZQAbstractList list;
  for (auto _ : state) benchmark::DoNotOptimize(list.LoadFromFile(path, true));
  state.counters["rows"] = list.GetTotalCount();
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
}

void BM_TagReadPerFile(benchmark::State& state) {
  const std::string path = Folder() + "Artist - Title.mp3";
  const std::string make = "ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=duration=30 -metadata artist=A "
                           "-metadata title=T -metadata genre=Techno -metadata TKEY=Am '" + path + "'";
  if (std::system(make.c_str()) != 0) {
    state.SkipWithError("ffmpeg cannot make the test file");
    return;
  }
  ZQTagReader reader;
  std::string title;
  for (auto _ : state) {
    reader.Open(path, 1);
    reader.GetColumn(kColTitle, title);
    reader.Close();
  }
  benchmark::DoNotOptimize(title);
}

BENCHMARK(BM_SearchKeystroke)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_KnlLoad10k)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_TagReadPerFile)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  SetTraceQuiet(true);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::filesystem::remove_all(Folder());
  return 0;
}
