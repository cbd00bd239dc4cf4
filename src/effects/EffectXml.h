#pragma once
// What the effect files (.knf chains, fx_scanned.xml) share: the header line, parsing a whole
// file into a DOM without network or entity expansion, and attribute readers in the C locale.

#include <libxml/tree.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

inline constexpr std::string_view kEffectXmlHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\n";

struct XmlDocFree {
  void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using XmlDocPtr = std::unique_ptr<xmlDoc, XmlDocFree>;

// Null (with the reason in `why`) when the text is not well-formed XML.
XmlDocPtr ParseEffectXml(std::string_view text, std::string* why);
bool IsElement(const xmlNode* node, const char* name);
std::optional<std::string> XmlAttribute(const xmlNode* node, const char* name);
// An absent integer reads as -1; text that is not an integer gives nullopt.
std::optional<int> XmlIntAttribute(const xmlNode* node, const char* name);
// True for "OK", "YES", "Y" or "TRUE" after upper-casing; false otherwise, absent included.
bool XmlYesAttribute(const xmlNode* node, const char* name);
// Appends ` name="value"` pieces as the effect files write them: each attribute followed by a blank.
void AppendXmlAttribute(std::string& out, const char* name, std::string_view value);
void AppendXmlAttribute(std::string& out, const char* name, long long value);
