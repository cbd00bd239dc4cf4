// One keystroke in the search box with 100,000 rows in the list, the way the window takes it:
// the character goes into the edit box, the panel narrows the list, and the rows on screen are
// read and formatted as the list control paints them (the pixels themselves are not drawn).
//   build/bench/browser_bench

#include <benchmark/benchmark.h>

#include <string>

#include "app/base/Trace.h"
#include "library/LibraryPanel.h"
#include "skin/model/EditTextModel.h"
#include "BenchRows.h"

namespace {

void BM_SearchKeystrokeThroughTheList(benchmark::State& state) {
  LibraryPanel panel(std::make_unique<CZQBrowser>("/nonexistent/", "/nonexistent/"), nullptr);
  panel.Build();
  std::vector<TZQListElement> rows;
  for (int i = 0; i < state.range(0); ++i) rows.push_back(BenchRowOf(i));
  panel.list().list()->AddRows(std::move(rows));
  panel.list().SetGeometry(18, 18, 18 * 31);  // thirty rows on screen
  EditTextModel box;
  const std::u32string typed = U"number 4711";
  size_t k = 0;
  size_t shown = 0;
  for (auto _ : state) {
    if (k % typed.size() == 0) box.Clear();
    box.Type(typed[k++ % typed.size()]);
    panel.SetSearchText(box.Text());
    TrackListView& view = panel.list();
    TZQListElement row;
    for (int i = view.FirstRow(); i < view.FirstRow() + view.RowsOnScreen() && view.list()->GetRow(i, row); ++i) {
      for (const TrackListColumn& column : view.Columns()) shown += TrackListView::CellText(row, column.column).size();
    }
  }
  benchmark::DoNotOptimize(shown);
  state.counters["visible"] = panel.list().RowCount();
}

// Twice through the typed word, so short and long prefixes weigh alike.
BENCHMARK(BM_SearchKeystrokeThroughTheList)->Arg(100000)->Iterations(22)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  SetTraceQuiet(true);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
