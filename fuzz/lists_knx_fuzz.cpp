// lists.knx reader: any bytes load or are refused without a crash, whatever list names, types,
// counts and settings they hold; the .knl files it names do not exist.

#include <cstddef>
#include <cstdint>
#include <string>

#include "app/base/Trace.h"
#include "library/Browser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SetTraceQuiet(true);
  CZQBrowser browser("/nonexistent-lumo-fuzz/", "/nonexistent-lumo-fuzz/");
  browser.LoadListsText(std::string(reinterpret_cast<const char*>(data), size), "fuzz.knx");
  for (int i = 0; i < CZQBrowser::kMaxLists; ++i) {
    if (CZQAbstractList* list = browser.List(i)) {
      for (const auto& column : list->columns) {
        if (column.width < column.minWidth || column.width > column.maxWidth) __builtin_trap();
      }
    }
  }
  return 0;
}
