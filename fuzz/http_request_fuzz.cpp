// The HTTP server reads whatever a client sends: the request parser must stay in bounds and
// keep its promises for any bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "app/net/HttpRequest.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto* text = reinterpret_cast<const char*>(data);
  const HttpRequestLine line = ParseHttpRequest(text, size);
  if (line.path.size() > kHttpMaxPath) std::abort();
  if (line.kind == kHttpOther && line.path != "/404") std::abort();
  HttpHeadComplete(text, size);
  return 0;
}
