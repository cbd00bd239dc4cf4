#pragma once
// Reading the library's small XML files (.knl lists, lists.knx) with libxml2's streaming reader:
// the root element's attributes, then each child element's attributes, in file order.
// Entities are never expanded, nothing is fetched, and a document type declaration is refused
// before parsing: the writers never make one.

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct XmlAttributes {
  std::vector<std::pair<std::string, std::string>> items;
  // The value of the first attribute of that name; nullptr when absent.
  const std::string* Find(std::string_view name) const;
  std::string Text(std::string_view name, const std::string& fallback = "") const;
  // An integer, fallback when absent or not a number.
  int Int(std::string_view name, int fallback = -1) const;
};

enum class XmlWalkResult { kOk, kNotParsed, kEmpty, kWrongRoot };

// Walks bytes: root must be named root; onRoot gets its attributes, onChild each element one
// level below it. why gets the parser's first error.
XmlWalkResult WalkXmlElements(const std::string& bytes, const char* root,
                              const std::function<void(const XmlAttributes&)>& onRoot,
                              const std::function<void(std::string_view element, const XmlAttributes&)>& onChild,
                              std::string* why = nullptr);

// Appends name="value" and a blank, the value escaped; text that is not clean UTF-8 is also
// written as hex bytes under name_raw, which ReadNameAttribute prefers.
void AppendTextAttribute(std::string& out, const char* name, const std::string& value);
void AppendIntAttribute(std::string& out, const char* name, long long value);
// The text of an attribute written by AppendTextAttribute, bytes restored.
std::string ReadTextAttribute(const XmlAttributes& attributes, const std::string& name);
