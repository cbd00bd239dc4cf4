// config.xml is the user's to edit: any bytes must parse or be refused, never crash, and
// whatever parses must write out and read back to the same settings.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "app/Settings.h"
#include "app/base/Trace.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool quiet = (SetTraceQuiet(true), true);
  (void)quiet;
  Settings settings;
  if (!ParseConfigText(std::string(reinterpret_cast<const char*>(data), size), settings)) return 0;
  const std::string written = ConfigText(settings);
  Settings again;
  if (!ParseConfigText(written, again) || ConfigText(again) != written) std::abort();
  return 0;
}
