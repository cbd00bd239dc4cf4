// A drive's table of contents reply on arbitrary bytes: the parser refuses or gives a table that
// holds together, and the disc id and query line of any table it gives are computed safely.

#include <cstdlib>

#include "codecs/CdToc.h"
#include "codecs/Cddb.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CdToc toc;
  std::string why;
  if (!ParseCdToc(data, size, &toc, &why)) {
    if (why.empty() || toc.TrackCount() != 0) std::abort();
    return 0;
  }
  if (!ValidateCdToc(toc, nullptr)) std::abort();
  for (int i = 0; i < toc.TrackCount(); ++i) {
    if (toc.StartSector(i) < 0 || toc.SectorCount(i) <= 0) std::abort();
  }
  CddbQueryLine(toc);
  // What the parser accepted comes back unchanged through the drive's format.
  std::vector<uint8_t> again = SerializeCdToc(toc);
  CdToc second;
  if (!ParseCdToc(again.data(), again.size(), &second, nullptr) || CddbDiscId(second) != CddbDiscId(toc))
    std::abort();
  return 0;
}
