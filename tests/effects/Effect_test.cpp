// The dry/wet stage every effect goes through, and the user chain's hand-over.

#include "effects/Effect.h"

#include <gtest/gtest.h>

#include <vector>

#include "TestEffects.h"
#include "effects/EffectChain.h"

namespace {

std::vector<float> ProcessConstant(CEffect& effect, float value, int frames) {
  std::vector<float> block(2 * static_cast<size_t>(frames), value);
  effect.Process(block.data(), frames, 120.0f);
  return block;
}

TEST(EffectDryWet, ThresholdsAreComparedInFloat) {
  DoublingEffect effect;
  effect.SetDryWet(0.976f);
  // Direct path: the core alone (2x, plus the remembered half of the previous sample).
  std::vector<float> direct = ProcessConstant(effect, 1.0f, 4);
  EXPECT_FLOAT_EQ(direct[0], 2.0f);
  EXPECT_FLOAT_EQ(direct[7], 2.5f);

  effect.Reset();
  effect.SetDryWet(0.975f);
  std::vector<float> mixed = ProcessConstant(effect, 1.0f, 4);
  EXPECT_FLOAT_EQ(mixed[0], 2.0f * 0.975f + 1.0f * (1.0f - 0.975f)) << "0.975f itself takes the mix path";
  EXPECT_FLOAT_EQ(mixed[7], 2.5f * 0.975f + 0.025f);

  effect.SetDryWet(0.5f);
  std::vector<float> odd = ProcessConstant(effect, 1.0f, 4410);  // the largest block, through the copy
  EXPECT_FLOAT_EQ(odd[2 * 4410 - 1], 0.5f * 2.5f + 0.5f);
}

TEST(EffectDryWet, ADriedOutEffectStopsResetsAndRestartsEmpty) {
  DoublingEffect effect;
  effect.SetDryWet(1.0f);
  ProcessConstant(effect, 1.0f, 8);
  EXPECT_FLOAT_EQ(effect.memory, 0.5f);

  effect.SetDryWet(0.02f);
  std::vector<float> dry = ProcessConstant(effect, 0.25f, 8);
  EXPECT_FALSE(effect.IsEnabled());
  EXPECT_FLOAT_EQ(dry[0], 0.25f) << "below 0.025 the block passes untouched";
  EXPECT_FLOAT_EQ(effect.memory, 0.0f) << "and the delay lines are empty";
  int resets = effect.resets.load();
  ProcessConstant(effect, 0.25f, 8);
  EXPECT_EQ(effect.resets.load(), resets) << "an effect already stopped is left alone";

  effect.memory = 7.0f;  // what a stale state would leak into the next fade-in
  effect.SetDryWet(0.026f);
  std::vector<float> back = ProcessConstant(effect, 1.0f, 1);
  EXPECT_TRUE(effect.IsEnabled());
  EXPECT_FLOAT_EQ(back[0], 2.0f * 0.026f + 0.974f) << "restarted from a clean state";
}

TEST(EffectChain, RunsInOrderAndRetiresOldOrdersOnceTheAudioSideHasLetGo) {
  CEffectChain chain;
  auto first = std::make_unique<DoublingEffect>();
  CEffect* firstPtr = first.get();
  EXPECT_TRUE(chain.Append(std::move(first)));
  EXPECT_TRUE(chain.Append(std::make_unique<DoublingEffect>()));
  std::vector<float> block(2, 1.0f);
  chain.Process(block.data(), 1, 0.0f);
  EXPECT_FLOAT_EQ(block[0], 4.0f);
  EXPECT_TRUE(chain.Remove(firstPtr));
  EXPECT_FALSE(chain.Remove(firstPtr));
  EXPECT_EQ(chain.Count(), 1);
  EXPECT_EQ(chain.CollectRetired(), 0) << "no audio thread holds an old order";
  for (int i = 0; i < CEffectChain::kMaxEffects; ++i) chain.Append(std::make_unique<DoublingEffect>());
  EXPECT_EQ(chain.Count(), CEffectChain::kMaxEffects) << "full at 32";
  chain.Clear();
  block.assign(2, 1.0f);
  chain.Process(block.data(), 1, 0.0f);
  EXPECT_FLOAT_EQ(block[0], 1.0f);
}

}  // namespace
