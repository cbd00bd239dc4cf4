#pragma once
// The models of every catalogue button, slider and text, laid out like the window's control
// table (row 0 global, rows 1-4 decks 0-3, column the catalogue id). They exist without a
// window, so bindings, scripts and tests reach the same state the skin draws.
//
// Threads: GUI thread only.

#include <functional>
#include <memory>

#include "app/control/ButtonModel.h"
#include "app/control/SliderModel.h"
#include "skin/model/ControlCatalogue.h"

// Makes the models (once; a second call keeps them). Cleared models are made afresh.
void CreateControlModels();
void ClearControlModels();

// Null for a missing model, an id out of range, a deck outside -1..3 or another type.
ControlModel* ModelAt(int id, int deck);
ButtonModel* ButtonModelAt(int id, int deck);
SliderModel* SliderModelAt(int id, int deck);
TextModel* TextModelAt(int id, int deck);
// By catalogue name, for the bindings.
ButtonModel* ButtonModelNamed(const char* name, int deck);
SliderModel* SliderModelNamed(const char* name, int deck);
TextModel* TextModelNamed(const char* name, int deck);

// Where an event for (id, deck) goes. Without a route it goes straight to the model; the
// window installs one that passes it through the skinned control, whose learn mode may drop it.
using ControlEventRoute = std::function<void(int id, int deck, const ControlEvent& event)>;
void SetControlEventRoute(ControlEventRoute route);
void SendControlEvent(int id, int deck, const ControlEvent& event);

// A script's or controller's press: value -1 is a whole click (0x90 127, then 0x80 0); any
// other value one 0x90 event with that value, so 127 presses and 0 releases.
void PressControl(int id, int deck, int value);
// A script's slider value: one 0xB0 event with the value 0..127.
void SetSliderByScript(int id, int deck, int value);
