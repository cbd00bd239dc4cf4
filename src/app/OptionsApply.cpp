#include "app/OptionsApply.h"

#include "app/Engine.h"
#include "app/base/Trace.h"
#include "audio/devices/OutputLayer.h"
#include "audio/devices/SystemCapture.h"

namespace {

// The settings that only take effect when the device is opened again.
bool OutputChanged(const Settings& a, const Settings& b) {
  return a.audio0 != b.audio0 || a.audio1 != b.audio1 || a.latncy != b.latncy || a.audmod != b.audmod ||
         a.extmix != b.extmix || a.jckprt != b.jckprt;
}

// Spans a DJ expects, narrow for beat matching by ear, wide for effects; the default (index 3)
// is the +/-8 % of a club turntable.
constexpr int kPitchRanges[] = {200, 400, 600, 800, 1000, 1200, 1600, 2500, 5000, 10000};

}  // namespace

const std::vector<std::string>& PitchRangeLabels() {
  static const std::vector<std::string> labels = [] {
    std::vector<std::string> out;
    for (int hundredths : kPitchRanges) out.push_back("+/- " + std::to_string(hundredths / 100) + "%");
    return out;
  }();
  return labels;
}

int PitchRangeHundredths(int ptchrg) {
  constexpr int count = static_cast<int>(sizeof kPitchRanges / sizeof kPitchRanges[0]);
  return kPitchRanges[ptchrg >= 0 && ptchrg < count ? ptchrg : 3];
}

OptionsOutcome ApplyChosenOptions(const Settings& chosen, const OptionsApplyHooks& hooks) {
  OptionsOutcome outcome;
  const Settings before = g_settings;
  Settings next = chosen;
  if (next.skinf1 != before.skinf1) {
    if (hooks.chooseSkin && hooks.chooseSkin(next.skinf1)) {
      outcome.skinChanged = true;
    } else {
      next.skinf1 = before.skinf1;
      outcome.skinRefused = true;
    }
  }
  g_settings = next;
  outcome.audioReopened = OutputChanged(before, next);
  if (outcome.audioReopened) {
    TraceLine("options: the audio output is opened again");
    CloseAudioOutputs(0);
  }
  ApplySettings();
  if (outcome.audioReopened) EngineOpenOutputs();  // the capture device with them
  outcome.liveInputChanged = outcome.audioReopened || before.audinp != next.audinp;
  if (outcome.liveInputChanged && !outcome.audioReopened) ApplyLiveInputDevice();
  outcome.midiChanged = before.midiInputs != next.midiInputs;
  if (outcome.midiChanged && hooks.applyMidiSelection) hooks.applyMidiSelection();
  outcome.saved = EngineSaveSettings(&outcome.message);
  return outcome;
}

bool ApplyLiveInputDevice() {
  const std::string& name = g_settings.audinp;
  if (name.empty() || name == "none") {
    if (SystemCaptureOpen()) {
      CloseSystemCapture();
      TraceLine("live input: capture closed");
    }
    return true;
  }
  if (OpenSystemCapture(name)) {
    TraceLine("live input: capturing from \"%s\"", name.c_str());
    return true;
  }
  TraceLine("live input: can not open \"%s\"; the program goes on without live input", name.c_str());
  PostOutputNotice("The live input device \"" + name +
                   "\" can not be opened.\nThe program goes on without live input; choose another in the options.");
  return false;
}

std::vector<std::string> LiveInputChoices() {
  std::vector<std::string> choices = {"none"};
  for (std::string& name : SystemCaptureDevices()) choices.push_back(std::move(name));
  return choices;
}
