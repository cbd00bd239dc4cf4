// iTunes library reader: any bytes are scanned and filled, or refused with a log line, without
// a crash or a hang; playlist ids from the file are used as targets.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "app/base/Trace.h"
#include "library/AbstractList.h"
#include "library/ITunesLibrary.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SetTraceQuiet(true);
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::vector<ITunesPlaylist> playlists;
  ScanITunesText(text, playlists);
  CZQAbstractList list;
  ParseITunesText(text, "/nonexistent-lumo-fuzz/", list, 0);
  if (!playlists.empty()) ParseITunesText(text, "/nonexistent-lumo-fuzz/", list, playlists.front().id);
  return 0;
}
