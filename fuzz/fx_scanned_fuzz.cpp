// fx_scanned.xml may be edited or damaged: loading must survive any bytes, never overfill the
// register, and what it holds must save again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "app/base/Trace.h"
#include "effects/EffectRegister.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SetTraceQuiet(true);
  ClearExternalEffects();
  LoadScannedEffectsText(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.xml");
  if (CountExternalEffects(-1) > kMaxExternalEffects) std::abort();
  ScannedEffectsText();
  return 0;
}
