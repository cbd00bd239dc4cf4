#include "skin/model/KeyName.h"

#include <cctype>

namespace {

struct Named {
  int code;
  const char* name;
};

// Codes with a fixed name. "Substract" and the second "NMultiply" are names users already have
// in their shortcut files, so they stay as they are.
const Named kNames[] = {
    {8, "Back"}, {9, "Tab"}, {13, "Enter"}, {27, "Esc"}, {32, "Space"}, {127, "Delete"},
    {300, "Start"}, {301, "LeftButton"}, {302, "RightButton"}, {303, "Cancel"}, {304, "MiddleButton"},
    {305, "Clear"}, {306, "Shift"}, {307, "Alt"}, {308, "Control"}, {309, "Menu"}, {310, "Pause"},
    {311, "Capital"}, {312, "End"}, {313, "Home"}, {314, "Left"}, {315, "Up"}, {316, "Right"},
    {317, "Down"}, {318, "Select"}, {319, "Print"}, {320, "Execute"}, {321, "Snapshot"},
    {322, "Insert"}, {323, "Help"}, {334, "NMultiply"}, {335, "Add"}, {336, "Separator"},
    {337, "Substract"}, {338, "Decimal"}, {339, "Divide"}, {364, "NumLock"}, {365, "Scroll"},
    {366, "PageUp"}, {367, "PageDown"}, {368, "NSpace"}, {369, "NTab"}, {370, "NEnter"},
    {375, "NHome"}, {376, "NLeft"}, {377, "NUp"}, {378, "NRight"}, {379, "NDown"}, {380, "NPageUp"},
    {381, "NPageDown"}, {382, "NEnd"}, {383, "NBegin"}, {384, "NInsert"}, {385, "NDelete"},
    {386, "NEqual"}, {387, "NMultiply"}, {388, "NAdd"}, {390, "NSubstract"}, {391, "NDecimal"},
    {392, "NDivide"}, {393, "WinLeft"}, {394, "WinRight"}, {395, "WinMenu"}, {396, "WinCommand"}};

std::string BareName(int code, int character) {
  if (code > 0 && code < 27 && code != 8 && code != 9 && code != 13) {
    return std::string(1, static_cast<char>(std::toupper(code + 64)));
  }
  for (const Named& named : kNames) {
    if (named.code == code) return named.name;
  }
  if (code >= 193 && code <= 212) return "Special" + std::string(code - 192 < 10 ? "0" : "") + std::to_string(code - 192);
  if (code >= 324 && code <= 333) return "N" + std::to_string(code - 324);
  if (code >= 340 && code <= 363) return "F" + std::to_string(code - 339);
  if (code >= 371 && code <= 374) return "NF" + std::to_string(code - 370);
  int c = code > 0 && code < 256 ? code : character;
  if (c <= 0 || c > 0x10FFFF) return "?";
  // UTF-8 of the character.
  std::string out;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6)), out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12)), out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18)), out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F)), out += static_cast<char>(0x80 | (c & 0x3F));
  }
  return out;
}

}  // namespace

std::string KeyName(int code, int modifiers, int character) {
  std::string text;
  if (modifiers & kModControl) text += "CTRL+";
  if (modifiers & kModAlt) text += "ALT+";
  if (modifiers & kModShift) text += "SHIFT+";
  if (modifiers & kModMeta) text += "CMD+";
  return text + BareName(code, character);
}
