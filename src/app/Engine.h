#pragma once
// The engine's long-lived objects and the engine half of start-up and close. The window
// program's AppInit and AppClose call these steps at their places in the start-up order,
// between its own (skin, controls, controllers); the lumo tool calls them alone.
//
// Every object is a single global instance, null before it is created and after it is deleted;
// users test for null. All of this runs on the main thread.

#include <functional>
#include <string>

class CSoundSource;
class CZQMixer;
class CZQMixerChannel;
class CDeckAnalysis;
class CFileWorker;
class CDeckService;
class CZQHttpSimpleServer;
class CMasterLimiter;
class CZQPreviewPlayer;
class CSamplerPlayer;
class CMixRecorder;
class CDeckBeatClock;
class CLiveInputSource;

constexpr int kDeckCount = 4;

struct EngineObjects {
  CSoundSource* decks[kDeckCount] = {};
  CZQMixerChannel* deckChannels[kDeckCount] = {};
  CZQMixerChannel* micChannel = nullptr;
  CZQMixerChannel* masterChannel = nullptr;
  CZQMixer* mixer = nullptr;
  CDeckAnalysis* deckAnalysis[kDeckCount] = {};
  CFileWorker* fileWorker = nullptr;
  CDeckService* deckService = nullptr;
  CZQHttpSimpleServer* httpServer = nullptr;  // only when the httpsv setting names a port
  CMasterLimiter* limiter = nullptr;          // on the master bus; switched by `limiter`/alimit
  // Players and recorder (EnginePlayers.cpp): the preview in slot 4, samplers in slots 5 to 12,
  // two silent previews on the stopwatch, the recorder on the master bus.
  CZQPreviewPlayer* preview = nullptr;
  CZQPreviewPlayer* silentPreviews[2] = {};
  CSamplerPlayer* samplers[8] = {};
  CDeckBeatClock* samplerSyncDecks[2] = {};
  CMixRecorder* recorder = nullptr;
  // Live input: the microphone (on the microphone channel) and each deck's line input, which
  // the deck's channel plays instead of the deck when switched to it.
  CLiveInputSource* micInput = nullptr;
  CLiveInputSource* deckInputs[kDeckCount] = {};
};
extern EngineObjects g_engine;

// Start-up, in the order the window program calls them.
// Folders: computes and creates the data root and its sub-folders and opens log.txt there.
// Returns false and fills `message` when the data root cannot be created; the program goes on.
// Installs the crash handler there as well.
bool EngineInitFolders(std::string* message);
// The crash report the last run left, once; empty when there is none (see CrashReport.h).
std::string EngineTakeCrashReport();
// Loads the song database (db.knx, or its backup when it is damaged) and sets where stripe
// files live.
void EngineLoadLibrary();
// Creates decks, channels and the mixer, and wires the mixer's slots.
void EngineCreateAudioObjects();
// The master limiter's switch (the `limiter` button and the alimit setting); off when the
// limiter does not exist.
void EngineSetLimiter(bool on);
bool EngineLimiterOn();
// Creates the preview, the samplers and the recorder in their mixer slots and routing (part
// of EngineCreateAudioObjects); deleted by EngineDeleteAudioObjects.
void EngineCreatePlayers();
void EngineDeletePlayers();
// The players' share of the main tick: delivers sampler and preview events, and stops a
// recording whose disk failed. Returns true when it stopped one (the window shows string 52).
bool EnginePlayersTick();
// Enumerates output devices; returns how many exist (0: the caller shows the "no output
// device" message and the engine stays on the null back end).
int EngineEnumerateDevices();
// Reads config.xml (or the file SetSettingsFilePath named) and applies it to the engine
// objects and the device choice. Call after the devices are enumerated.
void EngineReadSettings();
// Takes back what the engine changed and writes config.xml; false with the message to show
// when it could not (the old file is untouched). Call before the outputs close.
bool EngineSaveSettings(std::string* message);
// The settings file: "<settings folder>config.xml" unless set (lumo --config FILE).
std::string SettingsFilePath();
void SetSettingsFilePath(const std::string& path);
// Opens the outputs chosen in the settings, then the live-input device (ApplyLiveInputDevice).
void EngineOpenOutputs();
// Gives every deck its analysis port and creates the background file worker (not started).
void EngineCreateAnalysis();
// Starts the application threads (tick poster, deck service, file worker) once they exist.
void EngineStartThreads();

// Close, in order. Stopping the threads deletes the file worker; the decks' analysis ports go
// with the decks, after their loader threads have stopped.
void EngineStopThreads();
void EngineCloseOutputs();
void EngineDeleteAudioObjects();
// Stops the debounced saver and merges the last changes into db.knx (the old file kept as
// db.knx.bak).
void EngineSaveLibrary();

// Where background analysis reports to (the browser): the status line text (queue length and
// path, or 0 and "" when the queue ran empty) and each analysed song's bare file name, whose
// list rows then show the new tempo, length and key. Called on the file worker's thread; set
// before EngineCreateAnalysis.
struct EngineAnalysisHooks {
  std::function<void(size_t queued, const std::string& path)> status;
  std::function<void(const std::string& bareName)> songAnalysed;
};
void EngineSetAnalysisHooks(EngineAnalysisHooks hooks);
// Queues a song for background analysis (the browser's "analyze" action).
void EngineEnqueueForAnalysis(const std::string& path);

// Gives each deck its analysis port (null: none).
void EngineSetDeckAnalysis(int deck, CDeckAnalysis* analysis);
