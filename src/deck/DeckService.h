#pragma once
// The deck service thread: every 25 ms, above normal priority, it repeats each deck's scratch
// chase so a record under a resting hand comes to rest there, and ends jog scratches whose
// wheel has gone idle. It touches only the decks' atomics, never track memory.
//
// Manual thread mode (offline renders, tests) creates no thread: StepManualThreads runs it.

#include <memory>

class CSoundSource;
class CPeriodicThread;

class CDeckService {
 public:
  static constexpr int kPeriodMs = 25;
  static constexpr int kJogIdleLimit = 7;

  // The decks must outlive the service.
  CDeckService(CSoundSource* const* decks, int count);
  ~CDeckService();  // stops the thread
  CDeckService(const CDeckService&) = delete;
  CDeckService& operator=(const CDeckService&) = delete;

  void Step();

 private:
  static constexpr int kMaxDecks = 4;
  CSoundSource* decks_[kMaxDecks] = {};
  int count_ = 0;
  std::unique_ptr<CPeriodicThread> thread_;
};
