#include "effects/ChainFile.h"

#include <cmath>
#include <utility>
#include <vector>

#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "effects/BuiltInEffects.h"
#include "effects/Effect.h"
#include "effects/EffectChain.h"
#include "effects/EffectXml.h"

namespace {

ChainEffectFactory g_factory = nullptr;

// One <effect> element as read, before anything is built.
struct ChainEntry {
  bool enabled = false;
  float dryWet = 1.0f;
  bool editorVisible = false;
  int x = -1, y = -1, type = -1, componentId = -1;
  std::string name, filename;
  std::vector<std::pair<int, int>> params;  // id, value
};

const ExternalEffectEntry* FindRegistered(std::string_view name, std::string_view filename) {
  for (int i = 0; i < CountExternalEffects(CEffect::kChainType); ++i) {
    const ExternalEffectEntry* e = GetExternalEffect(i, CEffect::kChainType);
    if (e->name == name && e->filename == filename) return e;
  }
  return nullptr;
}

// A built-in in a chain is known by its built-in name alone.
std::unique_ptr<CEffect> CreateBuiltInChainEffect(void* owner, std::string_view name, int enabled, float dryWet) {
  std::unique_ptr<CEffect> effect = CreateBuiltInByName(name);
  if (!effect) return nullptr;
  effect->owner = owner;
  effect->name = std::string(name);
  if (enabled) effect->Start();
  effect->SetDryWet(dryWet);
  return effect;
}

std::unique_ptr<CEffect> CreateChainEffect(void* owner, int type, int index, std::string_view name,
                                           std::string_view filename, int enabled, float dryWet,
                                           int editorVisible, int x, int y) {
  if (type == CEffect::kBuiltInType) return CreateBuiltInChainEffect(owner, name, enabled, dryWet);
  if (type != CEffect::kChainType || !g_factory) return nullptr;
  const ExternalEffectEntry* entry = index < 0 || !name.empty() ? FindRegistered(name, filename)
                                                                : GetExternalEffect(index, CEffect::kChainType);
  if (!entry) return nullptr;
  std::unique_ptr<CEffect> effect = g_factory(*entry, ExternalEffectIndex(entry));
  if (!effect) return nullptr;
  effect->owner = owner;
  effect->type = CEffect::kChainType;
  effect->name = entry->name;
  effect->filename = entry->filename;
  effect->componentId = -1;  // whatever the file said: hosted plug-ins are found by file
  if (enabled) effect->Start();
  effect->SetEditorPosition(x, y);
  if (!editorVisible) effect->ToggleEditor();
  effect->SetDryWet(dryWet);
  return effect;
}

// Reads every <effect>; false (with the reason) when an element lacks what identifies it.
bool ReadEntries(const xmlNode* root, std::vector<ChainEntry>& entries, std::string& why) {
  int index = 0;
  for (const xmlNode* node = root->children; node; node = node->next) {
    if (!IsElement(node, "effect")) continue;
    ChainEntry e;
    auto name = XmlAttribute(node, "name"), filename = XmlAttribute(node, "filename");
    auto dryWet = XmlIntAttribute(node, "drywetmix"), type = XmlIntAttribute(node, "type"),
         componentId = XmlIntAttribute(node, "componentid"), x = XmlIntAttribute(node, "x"),
         y = XmlIntAttribute(node, "y");
    if (!name || !filename || !dryWet || !type || !componentId || !x || !y) {
      why = "effect " + std::to_string(index) + " lacks its name or file name, or has a number that is not one";
      return false;
    }
    e.name = *name, e.filename = *filename, e.type = *type, e.componentId = *componentId, e.x = *x, e.y = *y;
    e.dryWet = *dryWet < 0 ? 1.0f : static_cast<float>(*dryWet) * 0.001f;
    e.enabled = XmlYesAttribute(node, "enabled");
    e.editorVisible = XmlYesAttribute(node, "editorvisible");
    for (const xmlNode* p = node->children; p; p = p->next) {
      if (!IsElement(p, "param")) continue;
      auto id = XmlIntAttribute(p, "id"), val = XmlIntAttribute(p, "val");
      if (!id || !val || !XmlAttribute(p, "id") || !XmlAttribute(p, "val")) {
        why = "a parameter of effect " + std::to_string(index) + " lacks its id or value";
        return false;
      }
      e.params.emplace_back(*id, *val);
    }
    entries.push_back(std::move(e));
    ++index;
  }
  return true;
}

}  // namespace

void SetChainEffectFactory(ChainEffectFactory factory) { g_factory = factory; }

int AddChainEffect(CEffectChain& chain, void* owner, int type, int index, std::string_view name,
                   std::string_view filename, int componentId, int enabled, float dryWet, int editorVisible,
                   int x, int y, CEffect** out) {
  (void)componentId;
  std::unique_ptr<CEffect> effect =
      CreateChainEffect(owner, type, index, name, filename, enabled, dryWet, editorVisible, x, y);
  CEffect* raw = effect.get();
  if (!effect || !chain.Append(std::move(effect))) return 0;
  if (out) *out = raw;
  return 1;
}

int LoadChain(CEffectChain& chain, void* owner, const std::string& path) {
  std::string text;
  if (!ReadWholeFile(path, text)) return 0;  // no chain saved yet
  return LoadChainText(chain, owner, text, path);
}

int LoadChainText(CEffectChain& chain, void* owner, std::string_view text, const std::string& label) {
  std::string why;
  XmlDocPtr doc = ParseEffectXml(text, &why);
  const xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
  if (doc && !IsElement(root, "effects")) why = "the root is not <effects>";
  std::vector<ChainEntry> entries;
  if (!why.empty() || !ReadEntries(root, entries, why)) {
    TraceLine("effect chain: %s is damaged (%s); the chain is left as it was", label.c_str(), why.c_str());
    return 0;
  }
  std::vector<std::unique_ptr<CEffect>> effects;
  for (const ChainEntry& e : entries) {
    std::unique_ptr<CEffect> effect = CreateChainEffect(owner, e.type, -1, e.name, e.filename, e.enabled,
                                                        e.dryWet, e.editorVisible, e.x, e.y);
    if (!effect) continue;  // no longer registered: dropped with its parameters
    for (auto [id, value] : e.params) effect->SetParam(id, value);
    effects.push_back(std::move(effect));
  }
  chain.ReplaceAll(std::move(effects));
  return 1;
}

std::string ChainText(CEffectChain& chain) {
  std::string out(kEffectXmlHeader);
  out += "<effects version=\"100\">\n";
  for (int i = 0; i < chain.Count(); ++i) {
    CEffect& e = *chain.At(i);
    int x = 0, y = 0;
    e.GetEditorPosition(&x, &y);
    out += "<effect ";
    AppendXmlAttribute(out, "id", i);
    AppendXmlAttribute(out, "enabled", e.IsEnabled() ? "yes" : "no");
    AppendXmlAttribute(out, "drywetmix", std::lround(e.GetDryWet() * 1000.0f));
    AppendXmlAttribute(out, "editorvisible", e.IsEditorVisible() ? "yes" : "no");
    AppendXmlAttribute(out, "x", x);
    AppendXmlAttribute(out, "y", y);
    AppendXmlAttribute(out, "type", e.type);
    AppendXmlAttribute(out, "componentid", e.componentId);
    AppendXmlAttribute(out, "name", e.name);
    AppendXmlAttribute(out, "filename", e.filename);
    out += ">\n";
    for (int id = 0; id < e.GetParamCount(); ++id) {
      std::string label, value, unit;
      e.GetParamInfo(id, &label, &value, &unit);
      out += "<param ";
      AppendXmlAttribute(out, "id", id);
      AppendXmlAttribute(out, "val", e.GetParam(id));
      AppendXmlAttribute(out, "name", label);
      AppendXmlAttribute(out, "value", value);
      AppendXmlAttribute(out, "unit", unit);
      out += "/>\n";
    }
    out += "</effect>\n";
  }
  out += "</effects>\n\n";
  return out;
}

int SaveChain(CEffectChain& chain, const std::string& path) {
  return WriteFileAtomically(path, ChainText(chain)) ? 1 : 0;
}
