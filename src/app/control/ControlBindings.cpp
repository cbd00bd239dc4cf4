#include "app/control/ControlBindings.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "app/Engine.h"
#include "app/Language.h"
#include "app/OptionsApply.h"
#include "app/Settings.h"
#include "app/control/ControlModels.h"
#include "app/control/DisplayFormats.h"
#include "app/control/GuiTick.h"
#include "audio/PreviewPlayer.h"
#include "effects/CutoffFilter.h"
#include "library/LibraryCommands.h"
#include "library/LibraryPanel.h"
#include "skin/model/NotifierTable.h"

namespace {

constexpr int kCurveLabelLow = 153, kCurveLabelMid = 154, kCurveLabelHigh = 155;

template <typename Fn>
void ForEachDeckOf(const char* control, Fn fn) {
  int id = ControlIdByName(control);
  if (id <= 0) return;
  if (ControlIsGlobal(id)) fn(id, -1);
  else for (int deck = 0; deck < kDeckRows; ++deck) fn(id, deck);
}

void Run(EngineCommand command, int deck, int value, int arg) {
  if (command != kNoCommand) CurrentEngineSink().Run(command, deck, value, arg);
}

std::string TextOf(TextForm form, const SliderBinding& row, int value) {
  switch (form) {
    case TextForm::kPitch: return FormatPitch(-value, true);
    case TextForm::kKeyShift: return FormatKeyShift(value, "-", true);
    case TextForm::kTenthsDb: return FormatTenthsDb(value, value <= row.min);
    case TextForm::kPercent: return FormatPercent(value);
    case TextForm::kPerMillePercent: return FormatPercent(value / 10);
    case TextForm::kCutoff: {
      if (value == 0) return "OFF";
      int lowPass = 1;
      return FormatHz(CutoffKnobHz(value, &lowPass));
    }
    case TextForm::kPlain: return std::to_string(value);
    case TextForm::kNone: break;
  }
  return {};
}

void ShowSliderText(const SliderBinding& row, int deck, int value) {
  if (!row.text) return;
  if (TextModel* text = TextModelNamed(row.text, deck)) text->SetText(TextOf(row.form, row, value));
  if (std::strcmp(row.control, "cf_curve") == 0) {
    int number = value < 30 ? kCurveLabelLow : value > 70 ? kCurveLabelHigh : kCurveLabelMid;
    if (TextModel* label = TextModelNamed("label_cf_curve", -1)) label->SetText(LangString(number));
  }
}

void BindButton(const ButtonBinding& row) {
  ForEachDeckOf(row.control, [&row](int id, int deck) {
    ButtonModel* button = ButtonModelAt(id, deck);
    if (!button) return;
    button->SetIsSwitch(row.isSwitch);
    auto press = [row](int selected, int, int d) {
      Run(row.press, d, row.pressValue == kValueOfControl ? selected : row.pressValue, row.arg);
      if (row.notify) SetStateOfNotifier(row.notify, d, selected, selected, std::to_string(selected).c_str());
      // An effect switched on starts fully wet, switched off dry; its knob and text follow.
      if (row.press == EngineCommand::kEffectOn) {
        if (SliderModel* dryWet = SliderModelNamed((std::string(row.control) + "_drywet").c_str(), d))
          dryWet->SetValue(selected ? dryWet->Max() : dryWet->Min(), true);
      }
    };
    button->onPress = press;
    button->onRelease = [row](int selected, int, int d) {
      Run(row.release, d, row.releaseValue == kValueOfControl ? selected : row.releaseValue, row.arg);
    };
    if (row.alsoRightButton) {
      // The right button works the switch as the left one does.
      button->onPressAlt = [press, button](int, int logical, int d) {
        button->SetSelected(!button->Selected());
        press(button->Selected(), logical, d);
      };
    }
  });
}

void BindSlider(const SliderBinding& row) {
  ForEachDeckOf(row.control, [&row](int id, int deck) {
    SliderModel* slider = SliderModelAt(id, deck);
    if (!slider) return;
    slider->SetRange(row.min, row.max);
    slider->ShowValue(row.start);
    ShowSliderText(row, deck, row.start);
    auto apply = [row](int value, int, int d) {
      Run(row.command, d, value, row.arg);
      ShowSliderText(row, d, value);
    };
    slider->onPress = row.onlyWhenFinal ? ControlCallback() : ControlCallback(apply);
    slider->onRelease = row.onlyWhenFinal ? ControlCallback(apply) : ControlCallback();
  });
}

// Buttons whose light shows what the engine does rather than the last click.
const char* const kEngineLamps[] = {"deck_play_pause", "deck_cue", "deck_loop_in_end", "deck_loop_out",
                                    "deck_cuepos_1",   "deck_cuepos_2", "deck_cuepos_3",  "deck_cuepos_4",
                                    "deck_cuepos_5",   "deck_cuepos_6", "deck_cuepos_7",  "deck_cuepos_8",
                                    "deck_cuepos_9",   "deck_cuepos_10"};

}  // namespace

void BindControlsToEngine() {
  for (const char* name : kEngineLamps) {
    ForEachDeckOf(name, [](int id, int deck) {
      if (ButtonModel* button = ButtonModelAt(id, deck)) button->SetEngineLamp(true);
    });
  }
  for (const ButtonBinding& row : ButtonBindings()) BindButton(row);
  for (const SliderBinding& row : SliderBindings()) BindSlider(row);
  ApplyPitchRange();
  // The library's buttons work on the list on screen; those that ask for a name or a file are
  // the window's (BindWindowControls).
  ForEachDeckOf("ss_preview", [](int id, int deck) {
    if (ButtonModel* button = ButtonModelAt(id, deck)) button->onRelease = [](int, int, int) { TogglePreview(); };
  });
  for (const char* name : LibraryCommandNames()) {
    ForEachDeckOf(name, [name](int id, int deck) {
      if (ButtonModel* button = ButtonModelAt(id, deck)) {
        button->onRelease = [name](int, int, int) {
          if (LibraryPanel* panel = CurrentLibraryPanel()) RunLibraryCommand(*panel, name);
        };
      }
    });
  }
  ForEachDeckOf("deck_reset_pitch", [](int id, int deck) {
    if (ButtonModel* button = ButtonModelAt(id, deck))
      button->onPress = [](int, int, int d) { RequestSlowPitchReset(d); };
  });
  // A long title scrolls in the deck's name display.
  for (int deck = 0; deck < kDeckRows; ++deck) {
    if (TextModel* name = TextModelNamed("deck_songname", deck)) name->Scroller().Enable(true);
  }
}

namespace {

template <typename Row>
const Row* FindRow(const std::vector<Row>& table, const char* name);

}  // namespace

void TogglePreview() {
  CZQPreviewPlayer* preview = g_engine.preview;
  LibraryPanel* panel = CurrentLibraryPanel();
  TZQListElement row;
  if (!preview) return;
  if (preview->IsRunning()) {
    preview->Play(0);
  } else if (panel && panel->list().CursorRow(row) && preview->OpenFileName(row.column[kColPath])) {
    preview->Play(1);
  }
}

void ApplyPitchRange() {
  const SliderBinding* row = FindRow(SliderBindings(), "deck_pitch");
  const int span = PitchRangeHundredths(g_settings.ptchrg);
  ForEachDeckOf("deck_pitch", [row, span](int id, int deck) {
    SliderModel* slider = SliderModelAt(id, deck);
    if (!slider) return;
    const int before = slider->Value();
    slider->SetRange(-span, span);
    // A narrowed range pulls a fader beyond it in, and the deck follows the fader.
    if (slider->Value() != before) Run(row->command, deck, slider->Value(), row->arg);
    ShowSliderText(*row, deck, slider->Value());
  });
}

namespace {

template <typename Row>
const Row* FindRow(const std::vector<Row>& table, const char* name) {
  for (const Row& row : table) {
    if (std::strcmp(row.control, name) == 0) return &row;
  }
  return nullptr;
}

std::string DescribeButton(const ButtonBinding& row) {
  std::string text;
  if (row.press != kNoCommand) text += std::string("press ") + EngineCommandText(row.press);
  if (row.release != kNoCommand) text += (text.empty() ? "release " : ", release ") + std::string(EngineCommandText(row.release));
  if (row.arg != 0) text += " [" + std::to_string(row.arg) + "]";
  return text;
}

}  // namespace

void ShowSliderDisplay(const char* control, int deck) {
  const SliderBinding* row = FindRow(SliderBindings(), control);
  SliderModel* slider = SliderModelNamed(control, deck);
  if (row && slider) ShowSliderText(*row, deck, slider->Value());
}

std::vector<std::string> BindingReport() {
  std::vector<std::string> lines;
  for (int id = 1; id <= kLastControlId; ++id) {
    const char* name = ControlNameOf(id);
    char head[96];
    std::snprintf(head, sizeof head, "%3d %s: ", id, name);
    std::string line = head;
    int type = ControlTypeOf(id);
    if (const ButtonBinding* b = FindRow(ButtonBindings(), name)) {
      line += DescribeButton(*b);
    } else if (const SliderBinding* s = FindRow(SliderBindings(), name)) {
      line += EngineCommandText(s->command);
      line += " range " + std::to_string(s->min) + ".." + std::to_string(s->max);
    } else if (std::strcmp(name, "ss_preview") == 0) {
      line += "press: the list's cursor song in the headphones, or stops it (preview player)";
    } else if (std::strcmp(name, "deck_reset_pitch") == 0) {
      line += "press: deck_pitch glides to 0 (deck.setPitch, 10 a cycle)";
    } else if (std::find_if(LibraryCommandNames().begin(), LibraryCommandNames().end(),
                            [name](const char* c) { return std::strcmp(c, name) == 0; }) != LibraryCommandNames().end()) {
      line += "library: works on the list on screen";
    } else if (const UnboundControl* w = FindRow(WindowControlNames(), name)) {
      line += std::string("window: ") + w->reason;
    } else if (ControlIsLabel(id)) {
      line += "label (language text)";
    } else if (type == kTextArea) {
      line += "display (written by the tick or its control)";
    } else if (const UnboundControl* u = FindRow(UnboundControls(), name)) {
      line += std::string("unbound (") + u->reason + ")";
    } else {
      line += "unbound (drawn and bound by its own control type)";
    }
    lines.push_back(line);
  }
  return lines;
}

int UnboundControlCount() {
  int count = 0;
  for (const std::string& line : BindingReport()) {
    if (line.find(": unbound (") != std::string::npos) ++count;
  }
  return count;
}
