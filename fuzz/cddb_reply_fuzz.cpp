// CDDB server replies on arbitrary bytes: finding where a reply ends, the read command built
// from a query reply and the parsing of an entry stay inside the text and never hang.

#include <cstdlib>
#include <string_view>

#include "codecs/Cddb.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  if (CddbCompleteReplyLength(text) > size) std::abort();
  std::string command = CddbReadCommand(text);
  // The command goes to the server as one line: no line end may hide inside it.
  if (!command.empty() && command.find_first_of("\r\n") != command.size() - 1) std::abort();
  CddbDiscInfo info;
  int tracks = static_cast<int>(size % 100);
  if (ParseCddbEntry(text, tracks, &info) && info.trackTitles.size() != static_cast<size_t>(tracks)) std::abort();
  return 0;
}
