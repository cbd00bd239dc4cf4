#pragma once
// The rules that decide what OpenAudioOutputs opens, apart from any device, so they can be
// checked on their own. Pure functions; any thread.

#include <string>
#include <vector>

#include "audio/devices/OutputLayer.h"

struct OutputPlan {
  int primary = -1;    // device index, -1: the null back end
  int secondary = -1;  // device index, -1: none
  int mode = 0;        // the output mode to run (and to store back in the settings)
  int channels = 2;    // channels to open the primary with
  bool pro = false;    // the primary is the JACK server
};

// channels: the caller's request, 0 for "as the mode says" (4 in multichannel mode).
// systemCount: system devices in the table; deviceCount: all devices, the pro one included.
OutputPlan PlanAudioOutputs(int channels, int primary, int secondary, int mode, int systemCount,
                            int deviceCount);

// System devices that are used through the pro back end and so are left out of the table.
bool IsExcludedSystemDevice(const std::string& name);

// The options dialog's rule when the user confirms a device: a primary of fewer than 3
// channels cannot run multichannel; a pro primary of 3 or more always does; any mode but
// normal gives up the second card. Returns the mode; `secondary` is updated in place.
int ModeAfterDeviceChange(int mode, int primaryChannels, bool primaryPro, int* secondary);

// The order in which devices are tried when none is chosen or the chosen one fails: the sound
// server's devices when a server runs, JACK, ALSA's "default", the other ALSA devices, and
// the sound server's devices last when no server was seen (it may still start on demand).
std::vector<int> OutputFallbackOrder(const std::vector<OutputDeviceInfo>& table, bool soundServerRunning);
