#include "skin/model/NotifierTable.h"

#include <cstring>

namespace {

const char* const kDeckNames[kNotifierDeckNameCount] = {
    "play",     "cue",     "keyLock",   "pitchIs0",  "loopSize",  "loopIn",    "looping",
    "monitor",  "cuepos1", "cuepos2",   "cuepos3",   "cuepos4",   "cuepos5",   "onbeat",
    "artist",   "title",   "analogIn",  "timecodeIn", "brake",    "reverse",   "fxPan",
    "fxFlanger", "fxPhaser", "fxReverb", "fxEcho",   "fxDelay",   "fxBeatwaw", "killLow",
    "killMid",  "killHigh", "micKillLow", "micKillMid", "micKillHigh"};

const char* const kGlobalNames[kNotifierGlobalNameCount] = {
    "sampler1", "sampler2", "sampler3", "sampler4", "sampler5", "sampler6",
    "sampler7", "sampler8", "onAir",    "talkOver", "autoDj"};

static_assert(kNotifierDeckNameCount * 4 + kNotifierGlobalNameCount == kNotifierSlotCount);

struct Table {
  NotifierSlot slots[kNotifierSlotCount];
  Table() {
    int i = 0;
    for (int deck = 0; deck < 4; ++deck) {
      for (const char* name : kDeckNames) slots[i].name = name, slots[i++].deck = deck;
    }
    for (const char* name : kGlobalNames) slots[i].name = name, slots[i++].deck = -1;
  }
};

Table& TheTable() {
  static Table table;
  return table;
}

}  // namespace

NotifierSlot* NotifierTable() { return TheTable().slots; }

int NotifierIndex(const char* name, int deck) {
  if (!name) return -1;
  const NotifierSlot* slots = NotifierTable();
  for (int i = 0; i < kNotifierSlotCount; ++i) {
    if (slots[i].deck == deck && std::strcmp(slots[i].name, name) == 0) return i;
  }
  return -1;
}

bool SetStateOfNotifier(const char* name, int deck, int intValue, double floatValue, const char* text) {
  int index = NotifierIndex(name, deck);
  if (index < 0) return false;
  NotifierSlot& slot = NotifierTable()[index];
  slot.intValue = intValue;
  slot.floatValue = floatValue;
  slot.text.assign(text ? text : "");
  if (slot.text.size() > kNotifierTextMax) slot.text.resize(kNotifierTextMax);
  return true;
}
