// Every built-in effect, taken as a family: what any of them must survive (random, silent,
// full-scale square and impulse input, at every block size, wet and half wet), how each gets
// over a NaN or infinite block, that none leaves denormals running in its state, and that each
// comes back from a .knf chain file sounding exactly as it was saved.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "EffectSignals.h"
#include "effects/BuiltInEffects.h"
#include "effects/ChainFile.h"
#include "effects/Effect.h"
#include "effects/EffectChain.h"

namespace {

std::vector<std::string> AllNames() {
  std::vector<std::string> names;
  for (int i = 0; !BuiltInEffectNameAt(i).empty(); ++i) names.emplace_back(BuiltInEffectNameAt(i));
  return names;
}

// A fresh effect, switched fully on, its knobs turned somewhere unusual.
std::unique_ptr<CEffect> Make(const std::string& name, float wet = 1.0f) {
  std::unique_ptr<CEffect> effect = CreateBuiltInByName(name);
  if (!effect) return nullptr;
  effect->SetParam(1, 900);
  effect->SetParam(2, 800);
  effect->SetDryWet(wet);
  return effect;
}

std::vector<std::vector<float>> Inputs() {
  const int frames = 3 * 4410;
  std::mt19937 random(7);
  std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
  std::vector<float> randomIn(2 * frames), square(2 * frames);
  for (auto& s : randomIn) s = noise(random);
  for (int i = 0; i < 2 * frames; ++i) square[i] = (i / 2 / 50) % 2 ? 1.0f : -1.0f;
  return {randomIn, Stereo(frames, 0, 0), square, Impulse(frames, 17)};
}

TEST(BuiltInEffects, FiniteInputGivesFiniteOutputAtEveryBlockSize) {
  FixedTempo tempo(128);
  for (const std::string& name : AllNames()) {
    for (float wet : {1.0f, 0.5f}) {
      for (int blockFrames : {1, 37, 360, 4410}) {
        std::unique_ptr<CEffect> effect = Make(name, wet);
        effect->tempoSource = &tempo;
        for (std::vector<float> signal : Inputs()) {
          const int frames = static_cast<int>(signal.size() / 2);
          for (int at = 0; at < frames; at += blockFrames) {
            effect->Process(signal.data() + 2 * at, std::min(blockFrames, frames - at), 128.0f);
          }
          for (size_t i = 0; i < signal.size(); ++i) {
            ASSERT_TRUE(std::isfinite(signal[i])) << name << " wet " << wet << " block " << blockFrames << " sample " << i;
          }
        }
      }
    }
  }
}

TEST(BuiltInEffects, ANanOrInfiniteBlockIsGoneOneBlockAfterAReset) {
  for (const std::string& name : AllNames()) {
    for (float bad : {NAN, INFINITY, -INFINITY}) {
      std::unique_ptr<CEffect> effect = Make(name);
      std::vector<float> poison = Stereo(4410, bad, bad);
      effect->Process(poison.data(), 4410, 120.0f);
      effect->Reset();
      std::vector<float> music = Inputs()[0];
      effect->Process(music.data(), 4410, 120.0f);
      effect->Process(music.data() + 2 * 4410, 4410, 120.0f);  // the line's far end comes round
      for (size_t i = 0; i < 2 * 2 * 4410; ++i) {
        ASSERT_TRUE(std::isfinite(music[i])) << name << " after " << bad << ", sample " << i;
      }
    }
  }
}

TEST(BuiltInEffects, NoDenormalsAfterAHitDiesAwayInTrueSilence) {
  for (const std::string& name : AllNames()) {
    std::unique_ptr<CEffect> effect = Make(name);
    std::vector<float> hit = Impulse(4410, 0);
    effect->Process(hit.data(), 4410, 120.0f);
    std::vector<float> silence = Stereo(4410, 0, 0);
    for (int b = 0; b < 300; ++b) {  // thirty seconds: longer than any tail
      silence.assign(silence.size(), 0.0f);
      effect->Process(silence.data(), 4410, 120.0f);
    }
    for (size_t i = 0; i < silence.size(); ++i) {
      ASSERT_NE(std::fpclassify(silence[i]), FP_SUBNORMAL) << name << " sample " << i;
    }
  }
}

TEST(BuiltInEffects, EachComesBackFromAChainFileSoundingAsItWasSaved) {
  CEffectChain saved;
  const std::vector<std::string> names = AllNames();
  for (size_t i = 0; i < names.size(); ++i) {
    CEffect* effect = nullptr;
    ASSERT_EQ(AddChainEffect(saved, nullptr, CEffect::kBuiltInType, -1, names[i], "", -1, 1, 0.6f, 0, 0, 0, &effect), 1)
        << names[i];
    effect->SetParam(1, 100 + 50 * static_cast<int>(i));
    effect->SetParam(2, 900 - 40 * static_cast<int>(i));
  }
  EXPECT_EQ(AddChainEffect(saved, nullptr, CEffect::kBuiltInType, -1, "fxNothing", "", -1, 1, 1, 0, 0, 0, nullptr), 0);
  const std::string text = ChainText(saved);

  CEffectChain restored;
  ASSERT_EQ(LoadChainText(restored, nullptr, text, "test"), 1);
  ASSERT_EQ(restored.Count(), saved.Count());
  EXPECT_EQ(ChainText(restored), text);
  for (int i = 0; i < saved.Count(); ++i) {
    CEffect& a = *saved.At(i);
    CEffect& b = *restored.At(i);
    std::vector<float> one = Inputs()[0], two = one;
    for (int at = 0; at < 3 * 4410; at += 441) {
      a.Process(one.data() + 2 * at, 441, 126.0f);
      b.Process(two.data() + 2 * at, 441, 126.0f);
    }
    EXPECT_EQ(one, two) << a.name;
  }
}

}  // namespace
