#pragma once
// The engine's long-lived objects and the engine half of start-up and close. The window
// program's AppInit and AppClose call these steps at their places in the start-up order,
// between its own (skin, controls, controllers); the lumo tool calls them alone.
//
// Every object is a single global instance, null before it is created and after it is deleted;
// users test for null. All of this runs on the main thread.

#include <string>

class CSoundSource;
class CZQMixer;
class CZQMixerChannel;
class CDeckAnalysis;

constexpr int kDeckCount = 4;

struct EngineObjects {
  CSoundSource* decks[kDeckCount] = {};
  CZQMixerChannel* deckChannels[kDeckCount] = {};
  CZQMixerChannel* micChannel = nullptr;
  CZQMixerChannel* masterChannel = nullptr;
  CZQMixer* mixer = nullptr;
};
extern EngineObjects g_engine;

// Start-up, in the order the window program calls them.
// Folders: computes and creates the data root and its sub-folders and opens log.txt there.
// Returns false and fills `message` when the data root cannot be created; the program goes on.
bool EngineInitFolders(std::string* message);
// Creates decks, channels and the mixer, and wires the mixer's slots.
void EngineCreateAudioObjects();
// Enumerates output devices; returns how many exist (0: the caller shows the "no output
// device" message and the engine stays on the null back end).
int EngineEnumerateDevices();
// Opens the outputs chosen in the settings.
void EngineOpenOutputs();
// Starts the application threads (tick poster, deck service, file worker) once they exist.
void EngineStartThreads();

// Close, in order.
void EngineStopThreads();
void EngineCloseOutputs();
void EngineDeleteAudioObjects();

// Gives each deck its analysis port (null: none).
void EngineSetDeckAnalysis(int deck, CDeckAnalysis* analysis);
