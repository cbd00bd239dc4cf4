#pragma once
// What the options dialog's OK does with the settings it collected, without any toolkit: the
// new values go to the settings, a new skin is tried on the display first, a change of output
// device, mode or latency reopens the audio, a new live-input device is opened (or the capture
// closed), a change of MIDI inputs reselects them, and the file is written. The dialog keeps no
// state of its own; Cancel simply never calls this.
//
// Threads: main thread.

#include <functional>
#include <string>
#include <vector>

#include "app/Settings.h"

struct OptionsApplyHooks {
  // Tries the skin of this name on the display and loads it; false (after telling the user)
  // keeps the skin that is on screen and its setting.
  std::function<bool(const std::string& skinName)> chooseSkin;
  // Opens the MIDI inputs now named in g_settings.midiInputs.
  std::function<void()> applyMidiSelection;
};

struct OptionsOutcome {
  bool skinChanged = false;   // the chosen skin was loaded
  bool skinRefused = false;   // the chosen skin did not fit; the old one stays
  bool audioReopened = false;
  bool liveInputChanged = false;  // the capture device was opened again or closed
  bool midiChanged = false;
  bool saved = false;         // config.xml was written
  std::string message;        // why it was not, for the user
};

OptionsOutcome ApplyChosenOptions(const Settings& chosen, const OptionsApplyHooks& hooks);

// Opens the live-input capture device g_settings.audinp names, or closes the capture for "none"
// (or empty). A device that will not open is logged and left as a notice for the user
// (TakeOutputNotice); the program goes on without live input. False only then. Runs with every
// opening of the outputs (EngineOpenOutputs) and when the dialog changes the choice.
bool ApplyLiveInputDevice();
// The dialog's list: "none", then the capture devices of every audio API.
std::vector<std::string> LiveInputChoices();

// The choices of the dialog's combo boxes that the settings store as an index. The pitch range
// is the fader's span either side of zero, in hundredths of a percent.
const std::vector<std::string>& PitchRangeLabels();
int PitchRangeHundredths(int ptchrg);
