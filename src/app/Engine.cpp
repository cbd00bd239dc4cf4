#include "app/Engine.h"

#include <memory>

#include "analysis/DeckStripeAnalysis.h"
#include "analysis/FileWorker.h"
#include "analysis/KeyNotation.h"
#include "analysis/StripeFile.h"
#include "app/CrashReport.h"
#include "app/DataFolders.h"
#include "app/OptionsApply.h"
#include "app/Settings.h"
#include "app/base/Trace.h"
#include "app/net/HttpSimpleServer.h"
#include "audio/FaderLaw.h"
#include "audio/MasterBus.h"
#include "audio/MasterLimiter.h"
#include "audio/Mixer.h"
#include "audio/MixerChannel.h"
#include "audio/devices/OutputLayer.h"
#include "audio/devices/SystemCapture.h"
#include "deck/DeckService.h"
#include "deck/SoundSource.h"
#include "library/KeyNaming.h"
#include "library/SongDatabase.h"
#include "library/SongDatabaseSaver.h"

EngineObjects g_engine;

namespace {

constexpr int kMixerCapacityFrames = 22050;
constexpr int kSliderSteps = 128;
constexpr int kDeckMonitorPosition = 110;
constexpr int kMicPanel = 5;
constexpr int kMasterPanel = 6;

std::string DatabasePath() { return Folders().database + "db.knx"; }
std::string g_settingsPath;  // empty: the settings folder's config.xml

std::unique_ptr<CSongDatabaseSaver> g_databaseSaver;
EngineAnalysisHooks g_analysisHooks;

}  // namespace

bool EngineInitFolders(std::string* message) {
  DataFolders folders = DataFolders::Compute();
  SetFolders(folders);
  bool created = folders.Create();
  SetTraceLogFile(created ? folders.root + "log.txt" : std::string());
  if (created) InstallCrashHandler(folders.root + kCrashReportFile);
  if (!created && message) *message = kCannotCreateDataFolder;
  return created;
}

std::string EngineTakeCrashReport() { return TakePendingCrashReport(Folders().root + kCrashReportFile); }

void EngineLoadLibrary() {
  SetStripesFolder(Folders().stripes);
  SetKeyNaming(KeyIndexName, KeyIndexFromName);
  LoadSongDatabase(DatabasePath());
  // From here on every change set reaches the disk within seconds, not only at close.
  g_databaseSaver = std::make_unique<CSongDatabaseSaver>(DatabasePath());
}

void EngineSaveLibrary() {
  g_databaseSaver.reset();
  SaveSongDatabase(DatabasePath());
}

void EngineCreateAudioObjects() {
  const std::string& root = Folders().root;
  g_engine.limiter = new CMasterLimiter;
  g_mixRouting.limiter.store(g_engine.limiter, std::memory_order_release);
  for (int d = 0; d < kDeckCount; ++d) g_engine.decks[d] = new CSoundSource(d, root);
  for (int d = 0; d < kDeckCount; ++d) {
    g_engine.deckChannels[d] = new CZQMixerChannel(g_engine.decks[d], d + 1, false);
  }
  g_engine.micChannel = new CZQMixerChannel(nullptr, kMicPanel, false);
  g_engine.masterChannel = new CZQMixerChannel(nullptr, kMasterPanel, true);

  // The order of AddSource fixes the slots: decks 0 to 3 first.
  auto* mixer = new CZQMixer(kMixerCapacityFrames);
  for (int d = 0; d < kDeckCount; ++d) mixer->AddSource(g_engine.deckChannels[d]);
  mixer->SetMicChannel(g_engine.micChannel);
  mixer->SetMasterChannel(g_engine.masterChannel);
  for (int d = 0; d < kDeckCount; ++d) {
    mixer->SetCrossfaderSide(d % 2 == 0, d);  // even decks left, odd decks right
    mixer->SetChannelVolumeGain(d, FaderLawGain(kSliderSteps - 1, kSliderSteps));
    mixer->SetChannelMonitorLevel(d, FaderLawGain(kDeckMonitorPosition, kSliderSteps));
  }
  g_engine.mixer = mixer;
  EngineCreatePlayers();
  g_mixRouting.mixer.store(mixer, std::memory_order_release);
}

void EngineSetLimiter(bool on) {
  if (g_engine.limiter) g_engine.limiter->SetOn(on);
}

bool EngineLimiterOn() { return g_engine.limiter && g_engine.limiter->IsOn(); }

int EngineEnumerateDevices() { return EnumerateOutputDevices(); }

std::string SettingsFilePath() {
  return g_settingsPath.empty() ? Folders().settings + "config.xml" : g_settingsPath;
}
void SetSettingsFilePath(const std::string& path) { g_settingsPath = path; }

void EngineReadSettings() {
  ReadConfig(SettingsFilePath());
  ApplySettings();
}

bool EngineSaveSettings(std::string* message) {
  CollectSettings();
  return WriteConfig(SettingsFilePath(), message);
}

void EngineOpenOutputs() {
  OpenAudioOutputs(0, 0);
  ApplyLiveInputDevice();
}

void EngineCreateAnalysis() {
  for (int d = 0; d < kDeckCount; ++d) {
    g_engine.deckAnalysis[d] = new CDeckStripeAnalysis;
    EngineSetDeckAnalysis(d, g_engine.deckAnalysis[d]);
  }
  g_engine.fileWorker = new CFileWorker(
      [](size_t queued, const std::string& path) {
        if (g_analysisHooks.status) g_analysisHooks.status(queued, path);
      },
      [](const std::string&, const TrackAnalysis& result) {
        if (g_analysisHooks.songAnalysed) g_analysisHooks.songAnalysed(result.name);
      });
}

void EngineStartThreads() {
  // The application threads start last, once everything they reach exists. The tick poster
  // and the deck service join the file worker here.
  if (g_engine.fileWorker) g_engine.fileWorker->Start();
  if (!g_engine.deckService) g_engine.deckService = new CDeckService(g_engine.decks, kDeckCount);
  if (g_settings.httpsv > 0 && !g_engine.httpServer) {
    g_engine.httpServer = new CZQHttpSimpleServer(g_settings.httpsv, g_settings.httpad);
    if (!g_engine.httpServer->Start()) {
      delete g_engine.httpServer;
      g_engine.httpServer = nullptr;
    }
  }
}

void EngineStopThreads() {
  delete g_engine.httpServer;  // stops it
  g_engine.httpServer = nullptr;
  delete g_engine.deckService;  // stops its thread first
  g_engine.deckService = nullptr;
  delete g_engine.fileWorker;  // stops its thread first
  g_engine.fileWorker = nullptr;
}

void EngineSetAnalysisHooks(EngineAnalysisHooks hooks) { g_analysisHooks = std::move(hooks); }

void EngineEnqueueForAnalysis(const std::string& path) {
  if (g_engine.fileWorker) g_engine.fileWorker->Enqueue(path);
}

void EngineCloseOutputs() {
  CloseSystemCapture();
  CloseAudioOutputs(1);
}

void EngineDeleteAudioObjects() {
  g_mixRouting.mixer.store(nullptr, std::memory_order_release);
  g_mixRouting.limiter.store(nullptr, std::memory_order_release);
  EngineDeletePlayers();
  delete g_engine.mixer;
  g_engine.mixer = nullptr;
  for (auto*& channel : g_engine.deckChannels) {
    delete channel;
    channel = nullptr;
  }
  delete g_engine.micChannel;
  g_engine.micChannel = nullptr;
  delete g_engine.masterChannel;
  g_engine.masterChannel = nullptr;
  for (auto*& deck : g_engine.decks) {
    delete deck;
    deck = nullptr;
  }
  for (auto*& analysis : g_engine.deckAnalysis) {
    delete analysis;
    analysis = nullptr;
  }
  delete g_engine.limiter;
  g_engine.limiter = nullptr;
}

void EngineSetDeckAnalysis(int deck, CDeckAnalysis* analysis) {
  if (deck >= 0 && deck < kDeckCount && g_engine.decks[deck]) g_engine.decks[deck]->SetAnalysis(analysis);
}
