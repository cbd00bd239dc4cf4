#pragma once
// Ties the skin to the script host: the script text the loader collects is evaluated as
// "skin.js" at each skin load, a private button's press and release call
// `<name>_onmousedown` / `<name>_onmouseup`, and getGroupId / getControlId look names up in
// the skin's private tables.
//
// Threads: GUI thread. Call before the first skin load; null disconnects.

class ScriptHost;

void ConnectSkinScripts(ScriptHost* host);
