#include "skin/SkinScripting.h"

#include "controllers/ScriptHost.h"
#include "skin/SkinLoader.h"

void ConnectSkinScripts(ScriptHost* host) {
  if (!host) {
    SetSkinScriptEvaluator(nullptr);
    SetSkinScriptCaller(nullptr);
    return;
  }
  host->SetSkinNameLookups([](const char* name) { return FindGroupByName(name); },
                           [](const char* name) { return FindControlByName(name); });
  SetSkinScriptEvaluator([host](const std::string&, const std::string& text) { return host->EvaluateSkinScript(text); });
  SetSkinScriptCaller([host](const std::string& function, int x, int y, int button) {
    host->CallSkinFunction(function, x, y, button);
  });
}
