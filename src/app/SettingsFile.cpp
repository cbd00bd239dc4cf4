// config.xml: one line per setting, <setting name="..." value="..." type="0|1"/>, under a
// root <settings version="100">. Numbers are plain decimal integers, so the locale never
// enters; text is UTF-8 with the XML escapes.

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstring>

#include "app/Settings.h"
#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "library/XmlNameText.h"

namespace {

constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOWARNING | XML_PARSE_NOERROR;
constexpr int kTextType = 1;

std::string Attribute(xmlNode* node, const char* name) {
  xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
  std::string text = value ? reinterpret_cast<const char*>(value) : "";
  xmlFree(value);
  return text;
}

// Leading blanks, a sign and digits, as atoi reads them; anything after is ignored. A value
// with no digits reads as 0, one beyond int is clamped.
int ReadNumber(const std::string& key, const std::string& text) {
  size_t at = text.find_first_not_of(" \t\r\n");
  if (at == std::string::npos) at = text.size();
  if (at < text.size() && text[at] == '+') ++at;
  long long value = 0;
  auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), value);
  if (error == std::errc::result_out_of_range) {
    value = text[at] == '-' ? LLONG_MIN : LLONG_MAX;
  } else if (error != std::errc()) {
    if (!text.empty()) TraceLine("config.xml: %s has no number in \"%s\", 0 used", key.c_str(), text.c_str());
    return 0;
  }
  return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

int Clamped(const SettingRow& row, int value) {
  const int clamped = std::clamp(value, row.minimum, row.maximum);
  if (clamped != value)
    TraceLine("config.xml: %s of %d is out of range, %d used", row.key, value, clamped);
  return clamped;
}

const SettingRow* FindRow(const std::string& key) {
  for (const SettingRow& row : SettingsTable())
    if (key == row.key) return &row;
  return nullptr;
}

// "midiin00" to "midiin15": the slot number, else -1.
int MidiSlot(const std::string& key) {
  if (key.size() != 8 || key.compare(0, 6, "midiin") != 0) return -1;
  if (!isdigit(static_cast<unsigned char>(key[6])) || !isdigit(static_cast<unsigned char>(key[7]))) return -1;
  const int slot = (key[6] - '0') * 10 + (key[7] - '0');
  return slot < kMaxMidiInputs ? slot : -1;
}

void ReadSetting(xmlNode* node, Settings& into, std::string* midi, bool* sawMidi) {
  const std::string key = Attribute(node, "name");
  const std::string value = Attribute(node, "value");
  const bool text = ReadNumber("type", Attribute(node, "type")) >= kTextType;
  if (const int slot = MidiSlot(key); slot >= 0) {
    midi[slot] = value;
    *sawMidi = true;
    return;
  }
  const SettingRow* row = FindRow(key);
  if (!row || !row->read) return;  // unknown keys are skipped quietly
  if (row->number)
    into.*row->number = Clamped(*row, ReadNumber(key, value));
  else
    into.*row->text = text ? value : std::to_string(ReadNumber(key, value));
}

void AppendLine(std::string& out, const char* key, const std::string& value, int type) {
  out += "<setting name=\"";
  out += key;
  out += "\" value=\"";
  AppendEscapedName(out, value);
  out += "\" type=\"";
  out += std::to_string(type);
  out += "\"/>\n";
}

}  // namespace

bool ParseConfigText(const std::string& text, Settings& into) {
  if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
    TraceLine("XML is empty");
    return false;
  }
  xmlDoc* doc = xmlReadMemory(text.data(), static_cast<int>(std::min<size_t>(text.size(), INT_MAX)),
                              "config.xml", nullptr, kParseOptions);
  if (!doc) {
    TraceLine("XML not parsed successfully");
    return false;
  }
  xmlNode* root = xmlDocGetRootElement(doc);
  if (!root) {
    TraceLine("XML is empty");
    xmlFreeDoc(doc);
    return false;
  }
  if (std::strcmp(reinterpret_cast<const char*>(root->name), "settings") != 0) {
    TraceLine("XML root node is NOT 'settings'");
    xmlFreeDoc(doc);
    return false;
  }
  std::string midi[kMaxMidiInputs];
  bool sawMidi = false;
  for (xmlNode* node = root->children; node; node = node->next)
    if (node->type == XML_ELEMENT_NODE && !std::strcmp(reinterpret_cast<const char*>(node->name), "setting"))
      ReadSetting(node, into, midi, &sawMidi);
  xmlFreeDoc(doc);
  if (sawMidi) {
    into.midiInputs.clear();
    for (const std::string& name : midi)
      if (!name.empty()) into.midiInputs.push_back(name);
  }
  return true;
}

std::string ConfigText(const Settings& settings) {
  std::string out = "<settings version=\"100\">\n";
  for (const SettingRow& row : SettingsTable()) {
    if (row.number)
      AppendLine(out, row.key, std::to_string(settings.*row.number), 0);
    else
      AppendLine(out, row.key, settings.*row.text, kTextType);
  }
  // Numbered in order over the enabled inputs only.
  const size_t count = std::min<size_t>(settings.midiInputs.size(), kMaxMidiInputs);
  for (size_t i = 0; i < count; ++i) {
    char key[16];
    std::snprintf(key, sizeof key, "midiin%02zu", i);
    AppendLine(out, key, settings.midiInputs[i], kTextType);
  }
  out += "</settings>\n";
  return out;
}

void ReadConfig(const std::string& path) {
  std::string text;
  if (!ReadWholeFile(path, text)) return;  // no file yet: the defaults stand
  Settings read = g_settings;
  if (ParseConfigText(text, read)) {
    g_settings = read;
    return;
  }
  // Kept for the user to look at; the next write starts a fresh file.
  const std::string aside = path + ".broken";
  if (std::rename(path.c_str(), aside.c_str()) == 0)
    TraceLine("settings: %s is damaged; kept as %s, defaults used", path.c_str(), aside.c_str());
  else
    TraceLine("settings: %s is damaged; defaults used", path.c_str());
}

bool WriteConfig(const std::string& path, std::string* message) {
  if (WriteFileAtomically(path, ConfigText(g_settings))) return true;
  const std::string text = "can not save settings to " + path;
  TraceLine("%s", text.c_str());
  if (message) *message = text;
  return false;
}
