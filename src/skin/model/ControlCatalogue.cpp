#include "skin/model/ControlCatalogue.h"

#include <cstring>

namespace {
bool IsControl(int id) { return id >= 1 && id <= kLastControlId; }
}  // namespace

int ControlIdByName(const char* name) {
  if (!name || !*name) return 0;
  for (int id = 1; id <= kLastControlId; ++id) {
    if (std::strcmp(kControlCatalogue[id].name, name) == 0) return id;
  }
  return 0;
}

int ControlTypeOf(int id) { return IsControl(id) ? kControlCatalogue[id].type : kNone; }
bool ControlIsLabel(int id) { return IsControl(id) && kControlCatalogue[id].isLabel; }
bool ControlIsGlobal(int id) { return IsControl(id) && kControlCatalogue[id].isGlobal; }
const char* ControlNameOf(int id) { return IsControl(id) ? kControlCatalogue[id].name : ""; }
