// shortcuts_kb.xml and shortcuts_midi.xml: written line by line in a fixed form (the version
// attribute is written and never read), read back attribute by attribute.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdlib>
#include <cstring>

#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "controllers/ShortcutTables.h"
#include "skin/model/ControlCatalogue.h"

class ShortcutFiles {
 public:
  using Element = void (*)(ShortcutTables&, xmlNode*, int id, int deck);
  static bool Load(ShortcutTables& tables, const std::string& text, const char* tag, Element element);
  static void ReadKeys(ShortcutTables& tables, xmlNode* node, int id, int deck);
  static void ReadMidi(ShortcutTables& tables, xmlNode* node, int id, int deck);
};

namespace {

constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

// An absent or non-numeric attribute reads as -1.
int IntAttribute(xmlNode* node, const char* name) {
  xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
  if (!value) return -1;
  char* end = nullptr;
  const long number = std::strtol(reinterpret_cast<const char*>(value), &end, 10);
  const bool ok = end != reinterpret_cast<const char*>(value);
  xmlFree(value);
  return ok && number >= -100000 && number <= 100000 ? static_cast<int>(number) : -1;
}

std::string TextAttribute(xmlNode* node, const char* name) {
  xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
  std::string text = value ? reinterpret_cast<const char*>(value) : "";
  xmlFree(value);
  return text;
}

bool Named(xmlNode* node, const char* name) {
  return node->type == XML_ELEMENT_NODE && !std::strcmp(reinterpret_cast<const char*>(node->name), name);
}

// Calls `line` for each control that takes the kind of binding, in id order and deck order.
template <typename Line>
void WalkControls(const ShortcutTables& tables, bool keys, Line line) {
  for (int id = 1; id <= kLastControlId; ++id) {
    const bool global = ControlIsGlobal(id);
    for (int deck = global ? -1 : 0; deck < (global ? 0 : kDeckRows); ++deck) {
      const ControlBindings* b = tables.Bindings(id, deck);
      if (!b || (keys ? b->keySlotCount == 0 : !b->midiAllowed)) continue;
      line(id, deck, *b);
    }
  }
}

std::string Opening(const char* tag, int id, int deck, int keys) {
  std::string line = std::string("<") + tag + " action=\"" + ControlNameOf(id) + "\"";
  if (deck >= 0) line += " deck=\"" + std::to_string(deck) + "\"";
  return line + " keys=\"" + std::to_string(keys) + "\">\n";
}

}  // namespace

bool ShortcutFiles::Load(ShortcutTables& tables, const std::string& text, const char* tag, Element element) {
  xmlDoc* doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, kParseOptions);
  if (!doc) {
    TraceLine("XML not parsed successfully");
    return false;
  }
  xmlNode* root = xmlDocGetRootElement(doc);
  bool ok = false;
  if (!root) {
    TraceLine("XML is empty");
  } else if (!Named(root, "settings")) {
    TraceLine("XML root node is NOT 'settings'");
  } else {
    ok = true;
    for (xmlNode* node = root->children; node; node = node->next) {
      if (!Named(node, tag)) continue;
      const int deck = IntAttribute(node, "deck");
      const int id = ControlIdByName(TextAttribute(node, "action").c_str());
      if (deck < -1 || deck >= kDeckRows) continue;
      element(tables, node, id, deck);
    }
  }
  xmlFreeDoc(doc);
  return ok;
}

void ShortcutFiles::ReadKeys(ShortcutTables& tables, xmlNode* node, int id, int deck) {
  ControlBindings* b = tables.Exists(id, deck) ? tables.MutableBindings(id, deck) : nullptr;
  int slot = 0;
  for (xmlNode* child = node->children; child; child = child->next) {
    if (!Named(child, "key")) continue;
    const int code = IntAttribute(child, "code"), flags = IntAttribute(child, "shift");
    const int character = IntAttribute(child, "ch");
    if (b && slot < b->keySlotCount) b->keys[slot++] = {code, flags, character};
    if (code <= 0 || code >= kKeyCodeCount || flags < 0 || flags >= kKeyFlagCount) continue;
    // An unknown action still takes the key, for id 0: nothing.
    tables.keys_[code * kKeyFlagCount + flags] = {static_cast<int16_t>(b ? id : 0), static_cast<int8_t>(deck)};
  }
}

void ShortcutFiles::ReadMidi(ShortcutTables& tables, xmlNode* node, int id, int deck) {
  ControlBindings* b = tables.Exists(id, deck) ? tables.MutableBindings(id, deck) : nullptr;
  if (!b || !b->midiAllowed) return;
  for (xmlNode* child = node->children; child; child = child->next) {
    if (!Named(child, "midi")) continue;
    const MidiBinding binding{IntAttribute(child, "channel"), IntAttribute(child, "iskey"),
                              IntAttribute(child, "keyorcc"), IntAttribute(child, "togglemode")};
    // Unbound rows say keyorcc -1: there is no row to write.
    if (binding.keyOrCc < 0 || binding.keyOrCc > 255 || binding.channel < 0 || binding.channel > 15) continue;
    b->midi = binding;
    b->midi.toggleMode = binding.toggleMode == 1 ? 1 : 0;
    auto& table = binding.isKey == 1 ? tables.notes_ : tables.controllers_;
    table[binding.keyOrCc * 16 + binding.channel] = {id, deck, b->midi.toggleMode, 0};
  }
}

bool ShortcutTables::LoadKeyShortcutsText(const std::string& text) {
  return ShortcutFiles::Load(*this, text, "shortcut_kb", &ShortcutFiles::ReadKeys);
}

bool ShortcutTables::LoadMidiShortcutsText(const std::string& text) {
  return ShortcutFiles::Load(*this, text, "shortcut_midi", &ShortcutFiles::ReadMidi);
}

bool ShortcutTables::LoadKeyShortcuts(const std::string& path) {
  std::string text;
  if (!ReadWholeFile(path, text)) {
    TraceLine("XML not parsed successfully");
    return false;
  }
  return LoadKeyShortcutsText(text);
}

bool ShortcutTables::LoadMidiShortcuts(const std::string& path) {
  std::string text;
  if (!ReadWholeFile(path, text)) {
    TraceLine("XML not parsed successfully");
    return false;
  }
  return LoadMidiShortcutsText(text);
}

std::string ShortcutTables::KeyShortcutsText() const {
  std::string text = "<settings version=\"101\">\n";
  WalkControls(*this, true, [&](int id, int deck, const ControlBindings& b) {
    if (!Exists(id, deck)) return;
    text += Opening("shortcut_kb", id, deck, b.keySlotCount);
    for (int slot = 0; slot < b.keySlotCount; ++slot) {
      const KeySlot& k = b.keys[slot];
      text += "\t<key code=\"" + std::to_string(k.code) + "\" shift=\"" + std::to_string(k.flags) + "\" ch=\"" +
              std::to_string(k.character) + "\"/>\n";
    }
    text += "</shortcut_kb>\n";
  });
  return text + "</settings>\n";
}

std::string ShortcutTables::MidiShortcutsText() const {
  std::string text = "<settings version=\"101\">\n";
  WalkControls(*this, false, [&](int id, int deck, const ControlBindings& b) {
    if (!Exists(id, deck)) return;
    text += Opening("shortcut_midi", id, deck, 1);
    const MidiBinding& m = b.midi;
    text += "\t<midi channel=\"" + std::to_string(m.channel) + "\" iskey=\"" + std::to_string(m.isKey) +
            "\" keyorcc=\"" + std::to_string(m.keyOrCc) + "\" togglemode=\"" + std::to_string(m.toggleMode) +
            "\"/>\n";
    text += "</shortcut_midi>\n";
  });
  return text + "</settings>\n";
}

bool ShortcutTables::SaveKeyShortcuts(const std::string& path) const {
  return WriteFileAtomically(path, KeyShortcutsText());
}

bool ShortcutTables::SaveMidiShortcuts(const std::string& path) const {
  return WriteFileAtomically(path, MidiShortcutsText());
}
