#include "skin/model/ActionDispatch.h"

#include <cstring>

#include "app/base/Trace.h"
#include "skin/model/ActionTable.h"

namespace {
ActionRunner* g_runner = nullptr;
}

void SetActionRunner(ActionRunner* runner) { g_runner = runner; }
ActionRunner* CurrentActionRunner() { return g_runner; }

bool CallAction(const char* name, const int* args, int argCount) {
  // The count in the message is of the arguments after the name.
  const int scriptArgs = name ? argCount : 0;
  if (name) {
    for (int row = 0; row < kActionCount; ++row) {
      const ScriptAction& action = kActionTable[row];
      if (std::strcmp(action.name, name) != 0 || argCount < action.minArgs) continue;
      auto arg = [&](int i) { return i < argCount ? args[i] : action.defaultValue; };
      if (action.isGlobal) {
        if (g_runner) g_runner->RunAction(row, arg(0), arg(1), -1);
      } else {
        int deck = arg(0);
        if (deck < 0 || deck > 3) deck = 0;
        if (g_runner) g_runner->RunAction(row, arg(1), arg(2), deck);
      }
      return true;
    }
  }
  TraceLine("js function '%s' (%d params) unknown or bad params", name ? name : "", scriptArgs);
  return false;
}

ControlValue GetControlValue(const char* name, int deck) {
  if (!g_runner || !name) return {};
  return g_runner->GetValue(name, deck);
}
