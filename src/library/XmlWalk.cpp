#include "library/XmlWalk.h"

#include <libxml/xmlreader.h>

#include <climits>

#include "app/base/NumberText.h"
#include "library/XmlNameText.h"

namespace {

constexpr int kReaderOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

std::string_view View(const xmlChar* text) {
  return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

void OnError(void* context, const char* message, xmlParserSeverities severity, xmlTextReaderLocatorPtr) {
  auto* why = static_cast<std::string*>(context);
  if (severity >= XML_PARSER_SEVERITY_ERROR && why->empty() && message) {
    *why = message;
    while (!why->empty() && why->back() == '\n') why->pop_back();
  }
}

XmlAttributes ReadAttributes(xmlTextReaderPtr reader) {
  XmlAttributes attributes;
  while (xmlTextReaderMoveToNextAttribute(reader) == 1) {
    attributes.items.emplace_back(std::string(View(xmlTextReaderConstLocalName(reader))),
                                  std::string(View(xmlTextReaderConstValue(reader))));
  }
  xmlTextReaderMoveToElement(reader);
  return attributes;
}

}  // namespace

const std::string* XmlAttributes::Find(std::string_view name) const {
  for (const auto& [key, value] : items) {
    if (key == name) return &value;
  }
  return nullptr;
}

std::string XmlAttributes::Text(std::string_view name, const std::string& fallback) const {
  const std::string* value = Find(name);
  return value ? *value : fallback;
}

int XmlAttributes::Int(std::string_view name, int fallback) const {
  const std::string* value = Find(name);
  long long number = 0;
  if (!value || !ParseInt(*value, number) || number < INT_MIN || number > INT_MAX) return fallback;
  return static_cast<int>(number);
}

XmlWalkResult WalkXmlElements(const std::string& bytes, const char* root,
                              const std::function<void(const XmlAttributes&)>& onRoot,
                              const std::function<void(std::string_view, const XmlAttributes&)>& onChild,
                              std::string* why) {
  std::string error;
  if (bytes.find("<!DOCTYPE") != std::string::npos || bytes.find("<!ENTITY") != std::string::npos) {
    if (why) *why = "a document type declaration is not allowed";
    return XmlWalkResult::kNotParsed;
  }
  if (bytes.size() > static_cast<size_t>(INT_MAX)) return XmlWalkResult::kNotParsed;
  if (bytes.find('<') == std::string::npos) return XmlWalkResult::kEmpty;
  xmlTextReaderPtr reader =
      xmlReaderForMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr, kReaderOptions);
  if (!reader) return XmlWalkResult::kNotParsed;
  xmlTextReaderSetErrorHandler(reader, OnError, &error);
  bool sawRoot = false;
  int ret;
  XmlWalkResult result = XmlWalkResult::kOk;
  while ((ret = xmlTextReaderRead(reader)) == 1) {
    if (xmlTextReaderNodeType(reader) != XML_READER_TYPE_ELEMENT) continue;
    const int depth = xmlTextReaderDepth(reader);
    const std::string_view element = View(xmlTextReaderConstLocalName(reader));
    if (depth == 0) {
      if (element != root) {
        result = XmlWalkResult::kWrongRoot;
        break;
      }
      sawRoot = true;
      if (onRoot) onRoot(ReadAttributes(reader));
    } else if (depth == 1 && onChild) {
      onChild(element, ReadAttributes(reader));
    }
  }
  xmlFreeTextReader(reader);
  if (why) *why = error;
  if (result != XmlWalkResult::kOk) return result;
  if (ret != 0) return XmlWalkResult::kNotParsed;
  return sawRoot ? XmlWalkResult::kOk : XmlWalkResult::kEmpty;
}

void AppendTextAttribute(std::string& out, const char* name, const std::string& value) {
  out += name;
  out += "=\"";
  AppendEscapedName(out, value);
  out += "\" ";
  if (!IsXmlSafeText(value)) {
    out += name;
    out += "_raw=\"";
    out += EncodeHexName(value);
    out += "\" ";
  }
}

void AppendIntAttribute(std::string& out, const char* name, long long value) {
  out += name;
  out += "=\"";
  out += std::to_string(value);
  out += "\" ";
}

std::string ReadTextAttribute(const XmlAttributes& attributes, const std::string& name) {
  if (const std::string* raw = attributes.Find(name + "_raw")) {
    std::string bytes;
    if (DecodeHexName(*raw, bytes)) return bytes;
  }
  return attributes.Text(name);
}
