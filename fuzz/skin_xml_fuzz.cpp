// Skin files come from users and the web: the reader, the attribute list and the name
// translation must survive any bytes.
#include <cstddef>
#include <cstdint>
#include <string>

#include "skin/model/ControlCatalogue.h"
#include "skin/model/SkinAttributeList.h"
#include "skin/model/SkinTypes.h"
#include "skin/model/SkinXml.h"
#include "skin/model/TwoDeckNames.h"

namespace {

void Walk(const SkinElement& element, int version) {
  SkinAttributeList list;
  for (const auto& [name, value] : element.attributes) list.Add(name, value);
  ControlTypeFromName(element.tag.c_str());
  WindowIndexFromName(element.tag.c_str());
  std::string action = list.GetString("action");
  std::string translated;
  int deck = list.GetInt("deck");
  if (version < 2) TranslateTwoDeckName(action, translated, deck);
  ControlIdByName(action.c_str());
  list.GetBool("isswitch");
  list.GetFloat("posx");
  SkinRgb colour;
  ParseSkinColour(list.GetString("backcolor"), colour);
  element.Bool("usecolors");
  for (const SkinElement& child : element.children) Walk(child, version);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SkinDocument doc = ParseSkinMemory(reinterpret_cast<const char*>(data), size);
  if (!doc.parsed) return 0;
  SkinHeader header = ReadSkinHeader(doc.root);
  Walk(doc.root, header.targetVersion);
  return 0;
}
