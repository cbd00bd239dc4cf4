// .knl list reader: any bytes parse or fail cleanly, and whatever rows come out are written and
// read back to the same texts.

#include <cstddef>
#include <cstdint>
#include <string>

#include "app/base/Trace.h"
#include "library/AbstractList.h"
#include "library/ListFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SetTraceQuiet(true);
  CZQAbstractList list;
  if (!ParseListFileText(std::string(reinterpret_cast<const char*>(data), size), list, "fuzz.knl")) return 0;
  CZQAbstractList again;
  if (!ParseListFileText(ListFileText(list, true), again, "again.knl")) __builtin_trap();
  const auto first = list.AllRows(), second = again.AllRows();
  if (first.size() != second.size()) __builtin_trap();
  for (size_t i = 0; i < first.size(); ++i) {
    for (int c = 1; c < kColumnCount; ++c) {
      if (first[i].column[c] != second[i].column[c]) __builtin_trap();
    }
    if (first[i].auxString != second[i].auxString || first[i].highlight != second[i].highlight) __builtin_trap();
  }
  return 0;
}
