#include "skin/ControlTable.h"

#include <wx/dialog.h>

#include <cstring>

#include "app/Language.h"
#include "app/control/ControlModels.h"
#include "app/base/Trace.h"
#include "skin/BrowserTree.h"
#include "skin/DropDown.h"
#include "skin/DropZone.h"
#include "skin/EditText.h"
#include "skin/ImageControl.h"
#include "skin/SkinControls.h"
#include "skin/SoundDisplay.h"
#include "skin/TrackList.h"
#include "skin/VuMeter.h"
#include "skin/ZQCustomPanel.h"

ZQCustomControl* ControlTable[kControlTableRows][kControlIdCount] = {};

namespace {

// What a display shows before the engine has written to it, so a fresh window reads as a
// mixer at rest rather than a row of blank boxes.
struct Placeholder {
  const char* name;
  const char* text;
};
const Placeholder kPlaceholders[] = {
    {"deck_elapsed", "00:00.0"},    {"deck_remained", "-00:00.0"}, {"deck_bpm", "---.-"},
    {"deck_pitch_tempo", "0.00%"},  {"deck_pitch_key_label", "--"}, {"deck_gain_val", "0 dB"},
    {"deck_eq_low_val", "0"},        {"deck_eq_mid_val", "0"},       {"deck_eq_high_val", "0"},
    {"time", "00:00"},              {"auto_dj_time", "00:00"},      {"record_time", "00:00:00"},
    {"master_gain_val", "0 dB"},     {"monitor_gain_val", "0 dB"},   {"mic_gain_val", "0 dB"},
    {"cf_curve_val", "50"},         {"pfl_mix_val", "50"}};

}  // namespace

// Types with a class of their own file; the rest come from CreateSkinControl.
ZQCustomControl* MakeControl(int type, wxWindow* parent, int id, int deck) {
  switch (type) {
    case kDropZone: return new CZQDropZone(parent, id, deck);
    case kDropDownList: return new CZQDropDownList(parent, id, deck);
    case kBrowser: return new CZQBrowserTree(parent, id, deck);
    case kList: return new CZQPlaylist(parent, id, deck);
    case kEditArea: return new CZQEditText(parent, id, deck);
    case kImage: return new CZQImageControl(parent, id, deck);
    case kVuMeter: return new CZQVUMeterControl(parent, id, deck);
    case kSoundDisplay: return new CZQSoundDisplayControl(parent, id, deck);
    default: return CreateSkinControl(type, parent, id, deck);
  }
}

ZQCustomControl* ControlAt(int id, int deck) {
  if (id < 1 || id > kLastControlId || deck < -1 || deck >= kDeckRows) return nullptr;
  return ControlTable[deck + 1][id];
}

namespace {
void Attach(ZQCustomControl* control, int id, int deck) {
  if (auto* skinned = dynamic_cast<CZQSkinnedControl*>(control)) skinned->AttachModel(ModelAt(id, deck));
}
}  // namespace

void CreateCatalogueControls(wxWindow* parent) {
  CreateControlModels();
  for (int id = 1; id <= kLastControlId; ++id) {
    int type = ControlTypeOf(id);
    if (ControlIsGlobal(id)) {
      ZQCustomControl* control = MakeControl(type, parent, id, -1);
      if (!control) TraceLine("global control NOT created - id %d", id);
      else control->SetCatalogueId(id), Attach(control, id, -1);
      ControlTable[0][id] = control;
      continue;
    }
    for (int deck = 0; deck < kDeckRows; ++deck) {
      ZQCustomControl* control = MakeControl(type, parent, id, deck);
      if (!control) TraceLine("deck control NOT created - id %d (idx %d)", id, deck);
      else control->SetCatalogueId(id), Attach(control, id, deck);
      ControlTable[deck + 1][id] = control;
    }
  }
}

void ClearControlTable() {
  for (auto& row : ControlTable) {
    for (auto& control : row) control = nullptr;
  }
}

void ApplyLabelTexts() {
  for (int id = 1; id <= kLastControlId; ++id) {
    const char* placeholder = nullptr;
    for (const Placeholder& p : kPlaceholders) {
      if (std::strcmp(p.name, ControlNameOf(id)) == 0) placeholder = p.text;
    }
    const std::string& hint = LangHint(id);
    for (auto& row : ControlTable) {
      auto* control = dynamic_cast<CZQSkinnedControl*>(row[id]);
      if (!control) continue;
      if (!hint.empty()) control->SetToolTip(wxString::FromUTF8(hint));
      if (ControlIsLabel(id)) control->SetText(LangLabel(id));
      else if (placeholder) control->SetText(placeholder);
    }
  }
}

PlacementCount CountPlacedControls() {
  PlacementCount count;
  for (auto& row : ControlTable) {
    for (ZQCustomControl* control : row) {
      if (!control || !control->Placed() || !control->IsShown()) continue;
      if (dynamic_cast<wxDialog*>(wxGetTopLevelParent(control))) continue;  // the skin's dialogs show when asked
      ++count.placed;
      auto* page = dynamic_cast<ZQCustomPanel*>(control->GetParent());
      if (control->IsShownOnScreen()) ++count.onScreen;
      else if (page && !page->IsShown()) ++count.onHiddenPages;
    }
  }
  return count;
}
