#include "effects/EffectXml.h"

#include <libxml/parser.h>

#include <algorithm>
#include <cctype>

#include "app/base/NumberText.h"
#include "library/XmlNameText.h"

XmlDocPtr ParseEffectXml(std::string_view text, std::string* why) {
  constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  if (text.size() > 64u << 20) {
    if (why) *why = "larger than 64 MB";
    return nullptr;
  }
  XmlDocPtr doc(xmlReadMemory(text.data(), static_cast<int>(text.size()), "effects.xml", nullptr, kOptions));
  if (!doc && why) {
    const xmlError* error = xmlGetLastError();
    *why = error && error->message ? error->message : "not well-formed XML";
    while (!why->empty() && std::isspace(static_cast<unsigned char>(why->back()))) why->pop_back();
    if (error) *why += " at line " + std::to_string(error->line);
  }
  return doc;
}

bool IsElement(const xmlNode* node, const char* name) {
  return node && node->type == XML_ELEMENT_NODE && xmlStrcmp(node->name, BAD_CAST name) == 0;
}

std::optional<std::string> XmlAttribute(const xmlNode* node, const char* name) {
  xmlChar* value = xmlGetProp(node, BAD_CAST name);
  if (!value) return std::nullopt;
  std::string text(reinterpret_cast<const char*>(value));
  xmlFree(value);
  return text;
}

std::optional<int> XmlIntAttribute(const xmlNode* node, const char* name) {
  std::optional<std::string> text = XmlAttribute(node, name);
  if (!text) return -1;
  long long value = 0;
  if (!ParseInt(*text, value) || value < -2147483647LL || value > 2147483647LL) return std::nullopt;
  return static_cast<int>(value);
}

bool XmlYesAttribute(const xmlNode* node, const char* name) {
  std::string text = XmlAttribute(node, name).value_or("");
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
  return text == "OK" || text == "YES" || text == "Y" || text == "TRUE";
}

void AppendXmlAttribute(std::string& out, const char* name, std::string_view value) {
  out += name;
  out += "=\"";
  AppendEscapedName(out, value);
  out += "\" ";
}

void AppendXmlAttribute(std::string& out, const char* name, long long value) {
  out += name;
  out += "=\"";
  out += std::to_string(value);
  out += "\" ";
}
