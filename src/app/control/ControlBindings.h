#pragma once
// What each catalogue control does to the engine. A button row names the command its press
// and its release run; a slider row names its range, its start value, the command its moves
// run and the display that shows the value. Controls with no engine part yet sit in one table
// with the reason, so nothing is left unbound silently.
//
// Threads: GUI thread only.

#include <string>
#include <vector>

#include "app/control/EngineCommands.h"

constexpr EngineCommand kNoCommand = EngineCommand::kCount;
constexpr int kValueOfControl = -9999;  // the command gets the control's value

enum class TextForm : int { kNone, kPitch, kKeyShift, kTenthsDb, kPercent, kPerMillePercent, kCutoff, kPlain };

struct ButtonBinding {
  const char* control;
  EngineCommand press = kNoCommand;
  EngineCommand release = kNoCommand;
  int arg = 0;
  int pressValue = kValueOfControl;    // fixed values where the engine wants on/off, not the lamp
  int releaseValue = kValueOfControl;
  bool isSwitch = false;
  const char* notify = nullptr;        // notifier name told the new state
  bool alsoRightButton = false;
};

struct SliderBinding {
  const char* control;
  EngineCommand command;
  int min, max, start;
  int arg = 0;
  bool onlyWhenFinal = false;  // a seek runs on release, not on every pixel of the drag
  const char* text = nullptr;  // the value display beside it
  TextForm form = TextForm::kNone;
};

struct UnboundControl {
  const char* control;
  const char* reason;
};

// The tables (defined in ControlBindingTable.cpp).
const std::vector<ButtonBinding>& ButtonBindings();
const std::vector<SliderBinding>& SliderBindings();
const std::vector<UnboundControl>& UnboundControls();
// Controls the window itself works (close, pages); bound by the window program.
const std::vector<UnboundControl>& WindowControlNames();

// Hangs the engine calls on the models (CreateControlModels first), sets slider ranges and
// start values, and installs the action runner that scripts and tests call through.
void BindControlsToEngine();

// The pitch faders' span from the "Pitch/Tempo Range" setting; called at binding and whenever
// the options change it.
void ApplyPitchRange();
// ss_preview: the library list's cursor song in the headphones from its start; a second press
// stops it.
void TogglePreview();

// One line per catalogue id: "id name: engine call", "... window: what", "... display",
// "... label" or "... unbound (reason)".
std::vector<std::string> BindingReport();
// Ids of button and slider controls (per catalogue id, not per deck) that reach nothing.
int UnboundControlCount();

// Writes a bound slider's value display (and the curve's label) from the slider's value.
void ShowSliderDisplay(const char* control, int deck);

// Puts the engine's current state into the controls, at start-up after the engine objects
// exist: channel volumes, EQ, filter, curve and effect levels read back; the crossfader, which
// the engine leaves unset, is centred in both. Draws; calls no binding.
void ShowEngineStateInControls();
