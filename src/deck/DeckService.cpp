#include "deck/DeckService.h"

#include <algorithm>

#include "audio/Threads.h"
#include "deck/SoundSource.h"

namespace {
constexpr int kAboveNormal = 4;
}

CDeckService::CDeckService(CSoundSource* const* decks, int count) : count_(std::clamp(count, 0, kMaxDecks)) {
  std::copy(decks, decks + count_, decks_);
  thread_ = std::make_unique<CPeriodicThread>([](void* self) { static_cast<CDeckService*>(self)->Step(); }, this,
                                              kAboveNormal, kPeriodMs, "deck service");
}

CDeckService::~CDeckService() { thread_->Stop(); }

void CDeckService::Step() {
  for (int d = 0; d < count_; ++d) {
    if (decks_[d]) decks_[d]->scratchTick(kJogIdleLimit);
  }
}
