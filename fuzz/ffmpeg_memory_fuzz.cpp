// The FFmpeg decoder on arbitrary bytes, fed from memory: open must refuse or succeed, and reads
// in order, backwards, past the end and after a jump must stay inside their buffers and end.

#include <vector>

#include "codecs/DecoderFFMpeg.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CDecoderFFMpeg decoder(0);
  AudioFormat format;
  if (!decoder.openMemory(data, size, &format)) return 0;
  std::vector<short> buffer(2 * 8192);
  const int length = format.frames;
  decoder.read(buffer.data(), 4096, 0);
  decoder.read(buffer.data(), 8192, -1);
  for (int position : {length / 2, length / 3, length - 300, length, length + 1000, 0}) {
    if (position >= 0) decoder.read(buffer.data(), 1500, position);
  }
  decoder.durationSeconds();
  decoder.close();
  return 0;
}
