// The AIFF reader on arbitrary bytes: open must refuse or succeed, never hang, and reads at
// any position must stay inside their buffers.

#include <vector>

#include "FuzzFile.h"
#include "codecs/DecoderAIF.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = WriteFuzzFile(data, size, ".aiff");
  CDecoderAIF decoder(0);
  AudioFormat format;
  if (!decoder.open(path, &format, 0)) return 0;
  std::vector<unsigned char> buffer(static_cast<size_t>(decoder.bytesPerFrame) * 1024);
  decoder.read(buffer.data(), 1024, 0);
  decoder.read(buffer.data(), 1024, -1);
  if (format.frames > 0) decoder.read(buffer.data(), 1024, format.frames - 1);
  decoder.durationSeconds();
  return 0;
}
