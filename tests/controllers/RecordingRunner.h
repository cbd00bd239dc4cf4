#pragma once
// An ActionRunner that records what scripts asked for and plays a deck's "play" flag back.

#include <string>
#include <vector>

#include "skin/model/ActionDispatch.h"
#include "skin/model/ActionTable.h"

class RecordingRunner : public ActionRunner {
 public:
  struct Call {
    std::string name;
    int value, aux, deck;
  };
  RecordingRunner() { SetActionRunner(this); }
  ~RecordingRunner() override { SetActionRunner(nullptr); }

  void RunAction(int row, int value, int aux, int deck) override {
    calls.push_back({kActionTable[row].name, value, aux, deck});
    if (calls.back().name == "deckPlayPause") playing[deck] = !playing[deck];
  }
  ControlValue GetValue(const char* name, int deck) override {
    const std::string n = name;
    if (n == "play" && deck >= 0 && deck < 4) return ControlValue::Int(playing[deck] ? 1 : 0);
    if (n == "title") return ControlValue::Text(deck == 1 ? "" : "Song");
    if (n == "bpm") return ControlValue::Float(128.5);
    return {};
  }
  std::vector<Call> calls;
  bool playing[4] = {};
};
