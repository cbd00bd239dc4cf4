#pragma once
// The engine's audio objects (decks, mixer, players, recorder) in a temporary data root, for a
// test that drives them the way the program does; deleted again, with the thread mode restored,
// when it goes out of scope. Link zl_engine.

#include "app/Engine.h"
#include "audio/Threads.h"
#include "support/TestFiles.h"

class ScopedEngine {
 public:
  // manualThreads: the engine's worker threads run only when the offline back end steps them.
  explicit ScopedEngine(bool manualThreads) : manual_(manualThreads) {
    SetThreadsManual(manual_);
    ok_ = EngineInitFolders(nullptr);
    EngineCreateAudioObjects();
  }
  ~ScopedEngine() {
    EngineDeleteAudioObjects();
    if (manual_) SetThreadsManual(false);
  }
  ScopedEngine(const ScopedEngine&) = delete;
  ScopedEngine& operator=(const ScopedEngine&) = delete;

  bool ok() const { return ok_; }
  const ScopedDataRoot& root() const { return root_; }

 private:
  ScopedDataRoot root_;
  bool manual_;
  bool ok_ = false;
};
