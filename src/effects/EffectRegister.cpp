#include "effects/EffectRegister.h"

#include <vector>

#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "effects/EffectXml.h"

namespace {

struct Register {
  ExternalEffectEntry entries[kMaxExternalEffects];
  int count = 0;
};

Register& TheRegister() {
  static Register reg;
  return reg;
}

}  // namespace

int CountExternalEffects(int type) {
  const Register& reg = TheRegister();
  if (type == -1) return reg.count;
  int n = 0;
  for (int i = 0; i < reg.count; ++i) n += reg.entries[i].type == type;
  return n;
}

const ExternalEffectEntry* GetExternalEffect(int index, int type) {
  const Register& reg = TheRegister();
  if (index < 0) return nullptr;
  if (type == -1) return index < reg.count ? &reg.entries[index] : nullptr;
  for (int i = 0; i < reg.count; ++i) {
    if (reg.entries[i].type == type && index-- == 0) return &reg.entries[i];
  }
  return nullptr;
}

int ExternalEffectIndex(const ExternalEffectEntry* entry) {
  const Register& reg = TheRegister();
  if (entry < reg.entries || entry >= reg.entries + reg.count) return -1;
  return static_cast<int>(entry - reg.entries);
}

int AddExternalEffect(int type, int subType, int componentId, std::string_view filename, std::string_view name) {
  Register& reg = TheRegister();
  if (reg.count >= kMaxExternalEffects) return 0;
  reg.entries[reg.count++] = {type, subType, componentId, std::string(filename), std::string(name)};
  return 1;
}

void ClearExternalEffects() { TheRegister().count = 0; }

int LoadScannedEffects(const std::string& path) {
  std::string text;
  if (!ReadWholeFile(path, text)) {
    TraceLine("fx_scanned: cannot read %s", path.c_str());
    return 0;
  }
  return LoadScannedEffectsText(text, path);
}

int LoadScannedEffectsText(std::string_view text, const std::string& label) {
  std::string why;
  XmlDocPtr doc = ParseEffectXml(text, &why);
  if (!doc) {
    TraceLine("fx_scanned: %s is damaged (%s); no effects registered from it", label.c_str(), why.c_str());
    return 0;
  }
  const xmlNode* root = xmlDocGetRootElement(doc.get());
  if (!IsElement(root, "exteffects")) {
    TraceLine("fx_scanned: %s has no <exteffects> root; no effects registered from it", label.c_str());
    return 0;
  }
  // Every entry is checked before any is added, so a damaged file changes nothing.
  std::vector<ExternalEffectEntry> found;
  int line = 0;
  for (const xmlNode* node = root->children; node; node = node->next) {
    if (!IsElement(node, "exteffect")) continue;
    ++line;
    auto type = XmlIntAttribute(node, "type"), subType = XmlIntAttribute(node, "subType"),
         componentId = XmlIntAttribute(node, "componentId");
    auto name = XmlAttribute(node, "name"), filename = XmlAttribute(node, "filename");
    if (!type || !subType || !componentId || !name || !filename) {
      TraceLine("fx_scanned: %s, entry %d lacks a name, a file name or a whole number; no effects "
                "registered from it", label.c_str(), line);
      return 0;
    }
    found.push_back({*type, *subType, *componentId, *filename, *name});
  }
  for (const ExternalEffectEntry& e : found) {
    if (!AddExternalEffect(e.type, e.subType, e.componentId, e.filename, e.name)) {
      TraceLine("fx_scanned: the register is full at %d effects; the rest of %s is left out",
                kMaxExternalEffects, label.c_str());
      return 0;
    }
  }
  return 1;
}

std::string ScannedEffectsText() {
  std::string out(kEffectXmlHeader);
  out += "<exteffects version=\"100\">\n";
  for (int i = 0; i < CountExternalEffects(-1); ++i) {
    const ExternalEffectEntry& e = *GetExternalEffect(i, -1);
    out += "<exteffect ";
    AppendXmlAttribute(out, "type", e.type);
    AppendXmlAttribute(out, "subType", e.subType);
    AppendXmlAttribute(out, "componentId", e.componentId);
    AppendXmlAttribute(out, "name", e.name);
    AppendXmlAttribute(out, "filename", e.filename);
    out += "/>\n";
  }
  out += "</exteffects>\n";
  return out;
}

int SaveScannedEffects(const std::string& path) { return WriteFileAtomically(path, ScannedEffectsText()) ? 1 : 0; }
