// The codec chain on arbitrary bytes: whatever decoder takes the file, the conversion to
// 44100 Hz 16-bit stereo must stay inside its buffers for reads of any size and position.

#include <algorithm>
#include <vector>

#include "FuzzFile.h"
#include "codecs/CodecChain.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = WriteFuzzFile(data, size, ".wav");
  CCodecChain chain(0);
  AudioFormat format = EngineFormat();
  if (!chain.open(path, &format, 0, 88200)) return 0;
  std::vector<short> pcm(2 * 88200);
  std::vector<float> floats(2 * 88200);
  int length = std::max(format.frames, 1);
  chain.read16(pcm.data(), 88200, 0);  // the largest read the chain was sized for
  for (int position : {length / 2, length - 1, length + 100}) {
    chain.read16(pcm.data(), 256, position);
    chain.readFloat(floats.data(), 4410, position);
  }
  chain.close();
  return 0;
}
