#include "effects/EffectChain.h"

#include <algorithm>

#include "effects/Effect.h"

CEffectChain::CEffectChain() : live_(new Snapshot) {}

CEffectChain::~CEffectChain() {
  retired_.clear();
  delete live_.load();
}

CEffect* CEffectChain::At(int index) const {
  return index >= 0 && index < Count() ? owned_[static_cast<size_t>(index)].get() : nullptr;
}

bool CEffectChain::Append(std::unique_ptr<CEffect> effect) {
  if (!effect || Count() >= kMaxEffects) return false;
  owned_.push_back(std::move(effect));
  Publish({});
  return true;
}

bool CEffectChain::Remove(CEffect* effect) {
  auto it = std::find_if(owned_.begin(), owned_.end(), [&](const auto& e) { return e.get() == effect; });
  if (it == owned_.end()) return false;
  std::vector<std::unique_ptr<CEffect>> removed;
  removed.push_back(std::move(*it));
  owned_.erase(it);
  Publish(std::move(removed));
  return true;
}

void CEffectChain::ReplaceAll(std::vector<std::unique_ptr<CEffect>> effects) {
  if (effects.size() > kMaxEffects) effects.resize(kMaxEffects);
  std::vector<std::unique_ptr<CEffect>> removed = std::move(owned_);
  owned_.clear();
  for (auto& e : effects) {
    if (e) owned_.push_back(std::move(e));
  }
  Publish(std::move(removed));
}

void CEffectChain::Publish(std::vector<std::unique_ptr<CEffect>> removed) {
  for (const auto& e : owned_) {
    CTempoSource* none = nullptr;
    e->tempoSource.compare_exchange_strong(none, tempoSource_);
  }
  auto next = std::make_unique<Snapshot>();
  for (const auto& e : owned_) next->effects[next->count++] = e.get();
  // Sequentially consistent with the audio thread's hazard handshake (see Process).
  Snapshot* old = live_.exchange(next.release());
  retired_.push_back(Retired{std::unique_ptr<Snapshot>(old), std::move(removed)});
  CollectRetired();
}

int CEffectChain::CollectRetired() {
  // The audio thread holds at most one snapshot. If that is a retired one, it may also still
  // run effects removed since, so everything retired waits; otherwise nothing retired can be
  // reached again and all of it goes.
  Snapshot* held = hazard_.load();
  bool reachable = std::any_of(retired_.begin(), retired_.end(),
                               [&](const Retired& r) { return r.snapshot.get() == held; });
  if (!reachable) retired_.clear();
  return static_cast<int>(retired_.size());
}

void CEffectChain::Process(float* block, int frames, float bpm) noexcept {
  // Announce the snapshot, then check it is still the live one: if so, the main thread's
  // exchange came after the announcement and its next look at the hazard sees it.
  Snapshot* snapshot = live_.load();
  for (;;) {
    hazard_.store(snapshot);
    Snapshot* again = live_.load();
    if (again == snapshot) break;
    snapshot = again;
  }
  for (int i = 0; i < snapshot->count; ++i) snapshot->effects[i]->Process(block, frames, bpm);
  hazard_.store(nullptr, std::memory_order_release);
}
