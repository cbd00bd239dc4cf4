#pragma once
// Four engine decks for the benchmarks: engine objects created in manual thread mode under a
// temporary data root, each deck playing its own 60-second test track, looping the song so it
// plays for as long as the benchmark runs.

#include <cstdlib>
#include <string>

#include "app/Engine.h"
#include "audio/Threads.h"
#include "deck/SoundSource.h"
#include "support/TestFiles.h"

class BenchDecks {
 public:
  BenchDecks() {
    SetThreadsManual(true);
    setenv("ZORVIK_LUMO_HOME", root_.path().c_str(), 1);
    EngineInitFolders(nullptr);
    EngineCreateAudioObjects();
    for (int d = 0; d < kDeckCount; ++d) {
      std::string path = root_.File("deck" + std::to_string(d) + ".wav");
      WriteStereo16(path, MakeTestSignal(60 * 44100, d + 1));
      CSoundSource* deck = g_engine.decks[d];
      deck->load(path, 1, nullptr, 1);
      while (deck->loadPending.load()) deck->loaderPass();
      deck->loopSong = 1;
    }
  }
  ~BenchDecks() {
    EngineDeleteAudioObjects();
    SetThreadsManual(false);
  }
  BenchDecks(const BenchDecks&) = delete;
  BenchDecks& operator=(const BenchDecks&) = delete;

  CSoundSource& deck(int d) { return *g_engine.decks[d]; }

 private:
  TempFolder root_;
};
