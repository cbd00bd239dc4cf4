// Settings into the engine and back: ApplySettings after reading, CollectSettings before
// writing. Only subsystems that exist are touched; the window applies its own settings
// (tooltips, browser history, buttons) from g_settings when it builds its controls.

#include <climits>
#include <sys/stat.h>

#include "analysis/TempoRange.h"
#include "app/DataFolders.h"
#include "app/Engine.h"
#include "app/Settings.h"
#include "app/base/Trace.h"
#include "audio/Mixer.h"
#include "audio/OutputOptions.h"
#include "audio/devices/OutputLayer.h"
#include "codecs/CdParanoia.h"
#include "codecs/CddbClient.h"
#include "deck/SoundSource.h"

namespace {

bool Exists(const std::string& path) {
  struct stat info {};
  return !path.empty() && stat(path.c_str(), &info) == 0;
}

// A skin is named by its file; it may sit in the user's skins folder or among those shipped.
bool SkinExists(const std::string& skin) {
  if (skin.empty() || Exists(skin)) return true;
  return Exists(Folders().skins + skin) || Exists(Folders().programData + "skins/" + skin);
}

// A saved device name as an index of the table. Empty: the machine's default. A name that is
// not here (unplugged, renamed) is reported and replaced by the default too.
int PrimaryDeviceIndex(const std::string& name) {
  if (!name.empty()) {
    const int index = OutputDeviceIndexByName(name);
    if (index >= 0) return index;
  }
  const int fallback = DefaultOutputDevice();
  if (!name.empty()) {
    const OutputDeviceInfo* device = OutputDevice(fallback);
    TraceLine("settings: output device \"%s\" is not here; using %s", name.c_str(),
              device ? device->name.c_str() : "no device");
  }
  return fallback;
}

int SecondaryDeviceIndex(const std::string& name) {
  if (name.empty()) return -1;
  const int index = OutputDeviceIndexByName(name);
  if (index < 0) TraceLine("settings: monitor device \"%s\" is not here; none used", name.c_str());
  return index;
}

}  // namespace

int TrackMemoryLimitForChoice(int maxram) {
  switch (maxram) {
    case 1: return 310080;  // "Auto": the amount fixed at start-up
    case 2: return 103360;  // 5 minutes
    case 3: return 206720;  // 10 minutes
    case 4: return 310080;  // 15 minutes
    case 5: return INT_MAX;  // no limit: every track is held whole (a limit of 0 streams all)
    default: return -1;
  }
}

void ApplySettings() {
  Settings& s = g_settings;
  if (!SkinExists(s.skinf1)) {
    TraceLine("settings: skin %s is missing; the default skin is used", s.skinf1.c_str());
    s.skinf1.clear();
  }
  if (const int limit = TrackMemoryLimitForChoice(s.maxram); limit >= 0) g_trackMemoryLimitKB = limit;

  OutputSelection& selection = g_outputSelection;
  selection.primary = PrimaryDeviceIndex(s.audio0);
  selection.secondary = SecondaryDeviceIndex(s.audio1);
  selection.latencyFrames = s.latncy;
  selection.proPorts = s.jckprt;
  g_outputOptions.mode = s.audmod;
  g_outputOptions.externalMixer = s.extmix;
  g_outputOptions.reverseMasterMonitor = s.revmmo;
  g_outputOptions.muteOutput = s.naudio;
  g_outputOptions.smoothGainInExternal = s.dsblcf ? 0 : 1;

  const int keyLocks[kDeckCount] = {s.keylk0, s.keylk1, s.keylk2, s.keylk3};
  for (int d = 0; d < kDeckCount; ++d) {
    CSoundSource* deck = g_engine.decks[d];
    if (!deck) continue;
    deck->autoCueDisabled = s.disacu;
    deck->setHq(s.hqtime != 0);
    deck->setKeyLock(keyLocks[d] != 0);
  }
  if (g_engine.mixer) g_engine.mixer->SetCrossfaderCurve(s.cfcurv);
  g_cddbServer = s.cddbsv;
  g_cdParanoiaMode = s.cdparn;
  EngineSetLimiter(s.alimit != 0);

  TempoRange range = TempoRange::kAuto;
  if (!ParseTempoRange(s.bpmrng, range)) {
    TraceLine("settings: bpmrng \"%s\" is not a tempo range; auto is used", s.bpmrng.c_str());
    s.bpmrng = "auto";
  }
  SetPreferredTempoRange(range);
}

void CollectSettings() {
  Settings& s = g_settings;
  // The open rules may have changed the mode or dropped the secondary; an empty table (the
  // device list was never built) leaves the saved names alone.
  if (OutputDeviceCount(true) > 0) {
    const OutputDeviceInfo* primary = OutputDevice(g_outputSelection.primary);
    const OutputDeviceInfo* secondary = OutputDevice(g_outputSelection.secondary);
    // A saved device that is not plugged in now stays saved, so it is used when it is back.
    if (primary && (s.audio0.empty() || OutputDeviceIndexByName(s.audio0) >= 0)) s.audio0 = primary->name;
    s.audio1 = secondary ? secondary->name : std::string();
  }
  s.audmod = g_outputOptions.mode.load();
  int* keyLocks[kDeckCount] = {&s.keylk0, &s.keylk1, &s.keylk2, &s.keylk3};
  for (int d = 0; d < kDeckCount; ++d) {
    if (g_engine.decks[d]) *keyLocks[d] = g_engine.decks[d]->keyLockOn.load(std::memory_order_relaxed) ? 1 : 0;
  }
  if (g_engine.mixer) s.cfcurv = g_engine.mixer->CrossfaderCurve();
  if (g_engine.limiter) s.alimit = EngineLimiterOn() ? 1 : 0;
}
