#include "audio/devices/OutputPlan.h"

#include <algorithm>

namespace {
constexpr int kDefaultMultichannelCount = 4;
}

OutputPlan PlanAudioOutputs(int channels, int primary, int secondary, int mode, int systemCount,
                            int deviceCount) {
  OutputPlan plan;
  plan.mode = mode;
  int multichannel = kDefaultMultichannelCount;
  if (channels != 0) {
    plan.mode = 2;
    secondary = -1;
    multichannel = channels;
  }
  if (primary < 0 || primary >= deviceCount) {  // nothing to open: the null back end runs
    plan.channels = plan.mode == 2 ? multichannel : 2;
    return plan;
  }
  plan.primary = primary;
  if (secondary == primary) secondary = -1;
  if (primary >= systemCount) {
    // The pro device takes every channel itself: multichannel, no second card.
    plan.pro = true;
    plan.mode = 2;
    plan.channels = multichannel;
    return plan;
  }
  if (secondary >= systemCount || secondary < 0) {
    secondary = -1;
  } else {
    plan.mode = 0;  // a second card carries the monitor; the first plays the master alone
  }
  plan.secondary = secondary;
  plan.channels = plan.mode == 2 ? multichannel : 2;
  return plan;
}

bool IsExcludedSystemDevice(const std::string& name) {
  for (const char* unit : {"BCD-2000", "BCD2000", "BCD-3000", "BCD3000"})
    if (name.find(unit) != std::string::npos) return true;
  return false;
}

int ModeAfterDeviceChange(int mode, int primaryChannels, bool primaryPro, int* secondary) {
  if (primaryChannels < 3 && mode == 2) mode = 0;
  if (primaryChannels >= 3 && primaryPro) mode = 2;
  if (mode > 0) *secondary = -1;
  return mode;
}

std::vector<int> OutputFallbackOrder(const std::vector<OutputDeviceInfo>& table, bool soundServerRunning) {
  std::vector<int> order;
  auto take = [&](auto wanted) {
    for (size_t i = 0; i < table.size(); ++i)
      if (wanted(table[i]) && std::find(order.begin(), order.end(), static_cast<int>(i)) == order.end())
        order.push_back(static_cast<int>(i));
  };
  if (soundServerRunning) take([](const OutputDeviceInfo& d) { return d.soundServer; });
  take([](const OutputDeviceInfo& d) { return d.pro; });
  take([](const OutputDeviceInfo& d) { return d.name == "ALSA: default"; });
  take([](const OutputDeviceInfo& d) { return !d.soundServer && !d.pro; });
  take([](const OutputDeviceInfo&) { return true; });
  return order;
}
