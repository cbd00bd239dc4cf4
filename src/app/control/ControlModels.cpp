#include "app/control/ControlModels.h"

#include <cstring>

namespace {

std::unique_ptr<ControlModel> g_models[kControlTableRows][kControlIdCount];
ControlEventRoute g_route;

std::unique_ptr<ControlModel> MakeModel(int id, int deck) {
  switch (ControlTypeOf(id)) {
    case kButton: return std::make_unique<ButtonModel>(id, deck);
    case kSlider: return std::make_unique<SliderModel>(id, deck);
    case kTextArea: return std::make_unique<TextModel>(id, deck);
    default: return nullptr;
  }
}

ControlEvent MessageEvent(int status, int value, int deck) {
  ControlEvent event;
  event.kind = kEventMessage;
  event.status = status;
  event.value = value;
  event.deck = deck;
  event.source = -1;
  return event;
}

}  // namespace

void CreateControlModels() {
  for (int id = 1; id <= kLastControlId; ++id) {
    bool global = ControlIsGlobal(id);
    for (int deck = global ? -1 : 0; deck < (global ? 0 : kDeckRows); ++deck) {
      auto& slot = g_models[deck + 1][id];
      if (!slot) slot = MakeModel(id, deck);
    }
  }
}

void ClearControlModels() {
  for (auto& row : g_models) {
    for (auto& model : row) model.reset();
  }
}

ControlModel* ModelAt(int id, int deck) {
  if (id < 1 || id > kLastControlId || deck < -1 || deck >= kDeckRows) return nullptr;
  return g_models[deck + 1][id].get();
}

ButtonModel* ButtonModelAt(int id, int deck) { return dynamic_cast<ButtonModel*>(ModelAt(id, deck)); }
SliderModel* SliderModelAt(int id, int deck) { return dynamic_cast<SliderModel*>(ModelAt(id, deck)); }
TextModel* TextModelAt(int id, int deck) { return dynamic_cast<TextModel*>(ModelAt(id, deck)); }
ButtonModel* ButtonModelNamed(const char* name, int deck) { return ButtonModelAt(ControlIdByName(name), deck); }
SliderModel* SliderModelNamed(const char* name, int deck) { return SliderModelAt(ControlIdByName(name), deck); }
TextModel* TextModelNamed(const char* name, int deck) { return TextModelAt(ControlIdByName(name), deck); }

void SetControlEventRoute(ControlEventRoute route) { g_route = std::move(route); }

void SendControlEvent(int id, int deck, const ControlEvent& event) {
  if (g_route) {
    g_route(id, deck, event);
    return;
  }
  if (ControlModel* model = ModelAt(id, deck)) model->HandleEvent(event);
}

void PressControl(int id, int deck, int value) {
  if (value == -1) {
    SendControlEvent(id, deck, MessageEvent(0x90, 127, deck));
    SendControlEvent(id, deck, MessageEvent(0x80, 0, deck));
    return;
  }
  SendControlEvent(id, deck, MessageEvent(0x90, value, deck));
}

void SetSliderByScript(int id, int deck, int value) {
  SendControlEvent(id, deck, MessageEvent(0xB0, value, deck));
}
