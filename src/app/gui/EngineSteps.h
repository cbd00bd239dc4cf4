#pragma once
// The engine's half of start-up and close, as the window program calls it. One file decides
// whether the engine lifecycle is linked in, so the window can be built and tested while the
// engine steps are still on their way.
//
// Threads: main thread only.

#include <string>

// Computes and creates the folders; false (with the message) when the data root is missing.
bool StepInitFolders(std::string* message);
void StepCreateAudioObjects();
// Number of output devices; -1 when the engine cannot tell yet.
int StepEnumerateDevices();
void StepOpenOutputs();
void StepStartThreads();
void StepStopThreads();
void StepCloseOutputs();
void StepDeleteAudioObjects();
