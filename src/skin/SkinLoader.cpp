#include "skin/SkinLoader.h"

#include <wx/combobox.h>
#include <wx/display.h>
#include <wx/msgdlg.h>

#include <algorithm>

#include "app/base/Trace.h"
#include "skin/ControlTable.h"
#include "skin/SkinControls.h"
#include "skin/SkinDraw.h"
#include "skin/SkinSurface.h"
#include "skin/ZQCustomGroup.h"
#include "skin/ZQCustomPanel.h"
#include "skin/ZQMainWindow.h"
#include "skin/model/SkinTypes.h"
#include "skin/model/SkinXml.h"
#include "skin/model/TwoDeckNames.h"
#include "skin/SkinnedDialogs.h"

namespace {

struct LoaderState {
  ZQCustomControl* privateControls[kMaxPrivateControls] = {};
  ZQCustomGroup* privateGroups[kMaxPrivateGroups] = {};
  SkinAttributeList templates[kTemplateCount];
  bool templateGiven[kTemplateCount] = {};
  std::function<void(int, const SkinAttributeList&)> templateListener;
  VideoPreviewPlacement preview;
  std::string script;
  std::function<bool(const std::string&, const std::string&)> evaluator;
  std::function<void(const std::string&, int, int, int)> caller;
  ZQBaseWindow* dialogs[kWindowMax] = {};
  std::vector<SkinListEntry> skins;
  std::string currentPath;
};

LoaderState& State() {
  static LoaderState state;
  return state;
}

// What one pass over a list of elements needs to know.
struct LoadContext {
  ZQMainWindow* main;
  wxWindow* window;       // the window element's window; null for an unknown window name
  ZQCustomGroup* group;   // the enclosing group, if any
  int version;
};

void LoadElements(const std::vector<SkinElement>& elements, const LoadContext& context);

void SetTemplate(int kind, const SkinAttributeList& list) {
  State().templates[kind] = list;
  if (State().templateListener) State().templateListener(kind, list);
}

// Appends the control's event scripts and records which events it has.
void CollectScripts(ZQCustomControl* control, int slot, int type, SkinAttributeList& list) {
  LoaderState& state = State();
  const char* events[2] = {"onmousedown", "onmouseup"};
  for (int i = 0; i < 2; ++i) {
    std::string body = list.GetString(events[i]);
    if (body.empty()) continue;
    std::string function = "\nfunction " + control->Name() + "_" + events[i] +
                           "(clientX,clientY,button,value)\n{\n  " + body + "\n}\n";
    if (state.script.size() + function.size() >= kSkinScriptCapacity) {
      TraceLine("skin: scripts longer than %zu bytes, %s left out", kSkinScriptCapacity, control->Name().c_str());
      continue;
    }
    state.script += function;
    control->SetScriptEventBits(control->ScriptEventBits() | (1 << i));
    control->SetLogicalId(slot);
  }
  if (type != kButton || control->ScriptEventBits() == 0) return;
  // The callbacks look the control up again when they fire: the slot may be empty by then.
  auto call = [](const char* event) {
    return [event](int, int logicalId, int) {
      if (logicalId < 0 || logicalId >= kMaxPrivateControls) return;
      ZQCustomControl* target = State().privateControls[logicalId];
      if (!target || !State().caller) return;
      State().caller(target->Name() + "_" + event, -1, -1, -1);
    };
  };
  control->onPress = call("onmousedown");
  control->onRelease = call("onmouseup");
}

// A private element: a group (returned so the caller loads its children) or a control.
ZQCustomGroup* LoadPrivate(int type, const std::string& name, SkinAttributeList& list, wxWindow* parent) {
  LoaderState& state = State();
  if (type == kNone || !parent) return nullptr;
  if (type == kGroup) {
    int slot = FindGroupByName(name);
    if (slot < 0) {
      auto* free = std::find(std::begin(state.privateGroups), std::end(state.privateGroups), nullptr);
      if (free == std::end(state.privateGroups)) return nullptr;
      *free = new ZQCustomGroup(parent);
      (*free)->SetName(name);
      slot = static_cast<int>(free - std::begin(state.privateGroups));
    }
    state.privateGroups[slot]->ApplyAttributes(list);
    return state.privateGroups[slot];
  }
  int slot = FindControlByName(name);
  if (slot < 0) {
    auto* free = std::find(std::begin(state.privateControls), std::end(state.privateControls), nullptr);
    if (free == std::end(state.privateControls)) return nullptr;
    slot = static_cast<int>(free - std::begin(state.privateControls));
    ZQCustomControl* control = MakeControl(type, parent, slot, -1);
    if (!control) return nullptr;
    control->SetName(name);
    state.privateControls[slot] = control;
  }
  ZQCustomControl* control = state.privateControls[slot];
  control->LoadAttributes(list);
  control->Show();
  CollectScripts(control, slot, type, list);
  return nullptr;
}

void PlaceCatalogueControl(int id, int deck, wxWindow* parent, SkinAttributeList& list) {
  ZQCustomControl* control = ControlAt(id, deck);
  if (!control) return;
  if (parent && control->GetParent() != parent && control->ReparentAllowed()) control->Reparent(parent);
  control->LoadAttributes(list);
  if (parent) control->Show();
}

void LoadElement(const SkinElement& element, const LoadContext& context) {
  SkinAttributeList list;
  for (const auto& [name, value] : element.attributes) list.Add(name, value);
  int type = ControlTypeFromName(element.tag.c_str());
  int panel = std::max(0, list.GetInt("panel"));
  wxWindow* parent = context.window;
  if (context.group) {
    if (ZQCustomPanel* page = context.group->PanelAt(panel)) parent = page;
  }
  int deck = list.GetInt("deck");
  std::string action = list.GetString("action");
  if (context.version < 2) {
    std::string translated;
    int translatedDeck = -1;
    if (TranslateTwoDeckName(action, translated, translatedDeck)) action = translated, deck = translatedDeck;
  }
  int id = ControlIdByName(action.c_str());
  if (id >= 1) {
    PlaceCatalogueControl(id, deck, parent, list);
    if (int kind = TemplateKindOfAction(action.c_str()); kind >= 0) {
      State().templateGiven[kind] = true;
      SetTemplate(kind, list);
    } else if (action == "video_preview") {
      State().preview = {true, list.GetInt("posx"), list.GetInt("posy"), list.GetInt("width"), list.GetInt("height")};
    }
    return;
  }
  if (action == "big_tab" && context.main) {
    ZQCustomGroup& group = context.main->MainGroup();
    group.ApplyAttributes(list);
    LoadElements(element.children, {context.main, context.main, &group, context.version});
    return;
  }
  if (action.empty() || action[0] != '_') return;  // unknown names are passed over in silence
  if (ZQCustomGroup* group = LoadPrivate(type, action, list, parent)) {
    LoadElements(element.children, {context.main, group->Window(), group, context.version});
  }
}

void LoadElements(const std::vector<SkinElement>& elements, const LoadContext& context) {
  for (const SkinElement& element : elements) LoadElement(element, context);
}

// Step 5 and 6: every catalogue control hidden and back on the main window, private objects gone.
void ResetControls(ZQMainWindow* main) {
  for (auto& row : ControlTable) {
    for (ZQCustomControl* control : row) {
      if (!control) continue;
      control->Hide();
      if (control->GetParent() != main && control->ReparentAllowed()) control->Reparent(main);
      control->SetScriptEventBits(0);
      control->SetPlaced(false);
    }
  }
  ReleaseSkinObjects();
  main->MainGroup().Clear();
}

void ApplyWindow(const SkinElement& element, ZQBaseWindow* window) {
  window->SetSkinGeometry(element.Int("width"), element.Int("height"), element.Int("upx"), element.Int("upy"),
                          element.Int("posx"), element.Int("posy"), element.Bool("usecolors"),
                          ParseColour(element.Attr("backcolor") ? *element.Attr("backcolor") : ""),
                          ParseColour(element.Attr("bordercolor") ? *element.Attr("bordercolor") : ""));
}

wxSize DisplaySizeOf(wxWindow* window) {
  int index = wxDisplay::GetFromWindow(window);
  return wxDisplay(index == wxNOT_FOUND ? 0u : static_cast<unsigned>(index)).GetGeometry().GetSize();
}

}  // namespace

bool LoadSkin(const std::string& path, ZQMainWindow* main) {
  LoaderState& state = State();
  SkinDocument doc = ParseSkinFile(path);
  if (!doc.parsed || doc.root.tag != "skin" || !main) return false;
  std::fill(std::begin(state.templateGiven), std::end(state.templateGiven), false);
  SkinHeader header = ReadSkinHeader(doc.root);
  std::string bitmap = SkinBitmapPath(path);
  if (bitmap.empty()) {
    TraceLine("skin: no bitmap beside %s", path.c_str());
    return false;
  }

  if (main->InFullScreen()) main->ToggleFullScreen();
  main->Hide();
  state.preview = {};
  ResetControls(main);
  state.script.clear();
  GlobalSkinSurface().Load(bitmap);  // a failed load leaves the surface empty and goes on

  main->Freeze();
  for (const SkinElement& element : doc.root.children) {
    if (element.tag != "window") continue;
    const std::string* name = element.Attr("name");
    int index = name ? WindowIndexFromName(name->c_str()) : -1;
    ZQBaseWindow* window = index == kWindowMain ? main : index > 0 ? state.dialogs[index] : nullptr;
    if (window) ApplyWindow(element, window);
    LoadElements(element.children, {main, dynamic_cast<wxWindow*>(window), nullptr, header.targetVersion});
  }
  main->SetClientSize(header.screenWidth, header.screenHeight);
  main->Thaw();

  for (int kind = 0; kind < kTemplateCount; ++kind) {
    if (!state.templateGiven[kind]) SetTemplate(kind, DefaultTemplate(kind));
    if (ZQCustomControl* control = ControlAt(ControlIdByName(TemplateActionName(kind)), -1)) control->Hide();
  }
  main->Show();
  if (DisplaySizeOf(main) == wxSize(header.screenWidth, header.screenHeight)) main->EnterFullScreen();

  if (!state.script.empty() && state.evaluator && !state.evaluator("skin.js", state.script)) {
    TraceLine("error - skin script was not evaluated ok = '%s'", path.c_str());
  }
  state.currentPath = path;
  main->Refresh();
  return true;
}

const std::string& CurrentSkinPath() { return State().currentPath; }

int FindControlByName(const std::string& name) {
  for (int slot = 0; slot < kMaxPrivateControls; ++slot) {
    if (State().privateControls[slot] && State().privateControls[slot]->Name() == name) return slot;
  }
  return -1;
}

int FindGroupByName(const std::string& name) {
  for (int slot = 0; slot < kMaxPrivateGroups; ++slot) {
    if (State().privateGroups[slot] && State().privateGroups[slot]->Name() == name) return slot;
  }
  return -1;
}

ZQCustomControl* PrivateControl(int slot) {
  return slot >= 0 && slot < kMaxPrivateControls ? State().privateControls[slot] : nullptr;
}

ZQCustomGroup* PrivateGroup(int slot) {
  return slot >= 0 && slot < kMaxPrivateGroups ? State().privateGroups[slot] : nullptr;
}

const SkinAttributeList& CurrentTemplate(int kind) {
  static const SkinAttributeList empty;
  return kind >= 0 && kind < kTemplateCount ? State().templates[kind] : empty;
}

void SetTemplateListener(std::function<void(int, const SkinAttributeList&)> listener) {
  State().templateListener = std::move(listener);
}

const VideoPreviewPlacement& SkinVideoPreview() { return State().preview; }
const std::string& SkinScriptText() { return State().script; }

void SetSkinScriptEvaluator(std::function<bool(const std::string&, const std::string&)> evaluator) {
  State().evaluator = std::move(evaluator);
}

void SetSkinScriptCaller(std::function<void(const std::string&, int, int, int)> caller) {
  State().caller = std::move(caller);
}

void SetSkinDialogWindow(int windowIndex, ZQBaseWindow* window) {
  if (windowIndex > kWindowMain && windowIndex < kWindowMax) State().dialogs[windowIndex] = window;
}

ZQBaseWindow* SkinDialogWindow(int windowIndex) {
  return windowIndex > kWindowMain && windowIndex < kWindowMax ? State().dialogs[windowIndex] : nullptr;
}

std::vector<SkinListEntry>& SkinTable() { return State().skins; }

void ListSkins(const std::string& folder, wxComboBox* comboBox, const std::string& selectedName) {
  size_t first = State().skins.size();
  ScanSkinFolder(folder, State().skins);
  if (!comboBox) return;
  for (size_t i = first; i < State().skins.size(); ++i) {
    int item = comboBox->Append(wxString::FromUTF8(State().skins[i].label));
    if (State().skins[i].label == selectedName) comboBox->SetSelection(item);
  }
}

bool LoadChosenSkin(const SkinListEntry& skin, ZQMainWindow* main) {
  wxSize display = DisplaySizeOf(main);
  if (!SkinFitsDisplay(skin, {display.x, display.y})) {
    ShowSkinnedMessage(main, "The skin is bigger than your current screen resolution and it was not loaded!");
    return false;
  }
  return LoadSkin(skin.xmlPath, main);
}

void ReleaseSkinObjects() {
  LoaderState& state = State();
  for (auto& control : state.privateControls) {
    if (control) control->Destroy();
    control = nullptr;
  }
  for (int slot = kMaxPrivateGroups - 1; slot >= 0; --slot) {
    delete state.privateGroups[slot];
    state.privateGroups[slot] = nullptr;
  }
}
