#include "app/gui/EngineSteps.h"

#include "app/DataFolders.h"
#include "app/base/Trace.h"

// The engine lifecycle (decks, mixer, outputs, threads) is linked in once it exists on the main
// line; until then only the folders are set up and the window runs without an engine.
#define LUMO_ENGINE_LIFECYCLE 0

#if LUMO_ENGINE_LIFECYCLE
#include "app/Engine.h"
#endif

bool StepInitFolders(std::string* message) {
#if LUMO_ENGINE_LIFECYCLE
  return EngineInitFolders(message);
#else
  DataFolders folders = DataFolders::Compute();
  SetFolders(folders);
  bool ok = folders.Create();
  SetTraceLogFile(ok ? folders.root + "log.txt" : std::string());
  if (!ok && message) *message = kCannotCreateDataFolder;
  return ok;
#endif
}

#if LUMO_ENGINE_LIFECYCLE
void StepCreateAudioObjects() { EngineCreateAudioObjects(); }
int StepEnumerateDevices() { return EngineEnumerateDevices(); }
void StepOpenOutputs() { EngineOpenOutputs(); }
void StepStartThreads() { EngineStartThreads(); }
void StepStopThreads() { EngineStopThreads(); }
void StepCloseOutputs() { EngineCloseOutputs(); }
void StepDeleteAudioObjects() { EngineDeleteAudioObjects(); }
#else
void StepCreateAudioObjects() {}
int StepEnumerateDevices() { return -1; }
void StepOpenOutputs() {}
void StepStartThreads() {}
void StepStopThreads() {}
void StepCloseOutputs() {}
void StepDeleteAudioObjects() {}
#endif
