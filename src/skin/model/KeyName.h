#pragma once
// The text a learn overlay and the shortcut editor show for a bound key: modifier prefixes then
// the key's name. Codes are the toolkit's key codes (wxWidgets' WXK_ numbering).

#include <string>

// Modifier bits of a key binding or a mouse event. Control is stored as 1 | 16.
enum KeyModifier : int { kModControl = 1, kModAlt = 2, kModShift = 4, kModMeta = 8, kModControl2 = 16 };

std::string KeyName(int code, int modifiers, int character);
