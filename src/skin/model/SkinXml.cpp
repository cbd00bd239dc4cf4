#include "skin/model/SkinXml.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sys/stat.h>

#include <cstring>

#include "skin/model/SkinAttributeList.h"

namespace {

constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOWARNING | XML_PARSE_NOERROR;
// Skins nest windows, groups and controls a few levels deep; a hostile file may not recurse
// the converter into the stack.
constexpr int kMaxDepth = 64;

void Convert(xmlNode* node, SkinElement& out, int depth) {
  out.tag = reinterpret_cast<const char*>(node->name);
  out.line = node->line;
  for (xmlAttr* attr = node->properties; attr; attr = attr->next) {
    xmlChar* value = xmlNodeListGetString(node->doc, attr->children, 1);
    out.attributes.emplace_back(reinterpret_cast<const char*>(attr->name),
                                value ? reinterpret_cast<const char*>(value) : "");
    xmlFree(value);
  }
  if (depth >= kMaxDepth) return;
  for (xmlNode* child = node->children; child; child = child->next) {
    if (child->type != XML_ELEMENT_NODE) continue;
    out.children.emplace_back();
    Convert(child, out.children.back(), depth + 1);
  }
}

SkinDocument FromDoc(xmlDoc* doc) {
  SkinDocument result;
  if (!doc) return result;
  if (xmlNode* root = xmlDocGetRootElement(doc)) {
    Convert(root, result.root, 0);
    result.parsed = true;
  }
  xmlFreeDoc(doc);
  return result;
}

bool FileExists(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace

const std::string* SkinElement::Attr(const char* name) const {
  for (const auto& [key, value] : attributes) {
    if (key == name) return &value;
  }
  return nullptr;
}

int SkinElement::Int(const char* name) const {
  const std::string* value = Attr(name);
  return value ? AtoiLike(value->c_str()) : -1;
}

bool SkinElement::Bool(const char* name) const {
  const std::string* value = Attr(name);
  return value && ElementBoolText(*value);
}

SkinDocument ParseSkinFile(const std::string& path) {
  return FromDoc(xmlReadFile(path.c_str(), nullptr, kParseOptions));
}

SkinDocument ParseSkinMemory(const char* data, size_t size) {
  if (size > static_cast<size_t>(INT32_MAX)) return {};
  return FromDoc(xmlReadMemory(data, static_cast<int>(size), "skin.xml", nullptr, kParseOptions));
}

SkinHeader ReadSkinHeader(const SkinElement& root) {
  SkinHeader header;
  if (const std::string* name = root.Attr("skinname")) header.hasName = true, header.name = *name;
  header.screenWidth = root.Int("screenwidth");
  header.screenHeight = root.Int("screenheight");
  if (header.screenWidth < 10) header.screenWidth = 800;
  if (header.screenHeight < 10) header.screenHeight = 600;
  header.targetVersion = root.Int("targetversion");
  header.dontUseLabelsOnTimePitch = root.Bool("dontuselabelsontimepitch");
  return header;
}

std::string SkinBitmapPath(const std::string& xmlPath) {
  if (xmlPath.size() < 3) return {};
  std::string path = xmlPath;
  path.replace(path.size() - 3, 3, "bmp");
  if (FileExists(path)) return path;
  path.replace(path.size() - 3, 3, "png");
  return FileExists(path) ? path : std::string();
}
