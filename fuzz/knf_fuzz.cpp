// .knf chain files are user files: loading must survive any bytes and leave the chain usable.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "app/base/Trace.h"
#include "effects/ChainFile.h"
#include "effects/Effect.h"
#include "effects/EffectChain.h"
#include "effects/EffectRegister.h"

namespace {

class Plugin : public CEffect {
 public:
  void ProcessCore(float* block, int frames, float) noexcept override {
    for (int i = 0; i < 2 * frames; ++i) block[i] *= 0.5f;
  }
  int GetParamCount() override { return 1; }
  void SetParam(int, int value) override { last = value; }
  int last = 0;
};

std::unique_ptr<CEffect> Make(const ExternalEffectEntry&, int) { return std::make_unique<Plugin>(); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static bool ready = [] {
    SetTraceQuiet(true);
    SetChainEffectFactory(Make);
    AddExternalEffect(110, 0, -1, "delay.so", "Delay");
    return true;
  }();
  (void)ready;
  CEffectChain chain;
  LoadChainText(chain, nullptr, std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.knf");
  float block[8] = {1, 1, 1, 1, 1, 1, 1, 1};
  chain.Process(block, 4, 120.0f);
  ChainText(chain);
  return 0;
}
