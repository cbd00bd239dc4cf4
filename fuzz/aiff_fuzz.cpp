// The AIFF reader on arbitrary bytes: open must refuse or succeed, never hang, and reads at any
// position must stay inside their buffers.

#include "FuzzFile.h"
#include "codecs/DecoderAIF.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return FuzzFileReader<CDecoderAIF>(data, size, ".aiff");
}
