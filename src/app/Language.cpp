#include "app/Language.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "app/base/Trace.h"

namespace {

constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOWARNING | XML_PARSE_NOERROR;

LanguageTables g_language;

std::string Attribute(xmlNode* node, const char* name) {
  xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
  std::string text = value ? reinterpret_cast<const char*>(value) : "";
  xmlFree(value);
  return text;
}

bool HasAttribute(xmlNode* node, const char* name) {
  return xmlHasProp(node, reinterpret_cast<const xmlChar*>(name)) != nullptr;
}

// "\n" written as two characters becomes CR LF in place, so the length is unchanged; a
// trailing lone backslash stays.
void ExpandNewlines(std::string& text) {
  for (size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] == '\\' && text[i + 1] == 'n') text[i] = '\r', text[i + 1] = '\n';
  }
}

// Checks the root; logs why a document is refused.
xmlNode* CheckedRoot(xmlDoc* doc) {
  if (!doc) {
    TraceLine("lang: xml is bad formed");
    return nullptr;
  }
  xmlNode* root = xmlDocGetRootElement(doc);
  if (!root) {
    TraceLine("lang: xml root element does not exist");
    return nullptr;
  }
  if (std::strcmp(reinterpret_cast<const char*>(root->name), "languagestrings") != 0) {
    TraceLine("lang: xml root element is not languagestrings");
    return nullptr;
  }
  std::string version = Attribute(root, "targetversion");
  if (std::atoi(version.c_str()) != kLanguageVersion) {
    TraceLine("lang: xml targetversion is not correct - _KN_VERSION_=%d, "
              "_KN_OLDEST_COMPATIBLE_VERSION__LANGUAGE_=%d", kLanguageVersion, kLanguageVersion);
    return nullptr;
  }
  return root;
}

void Store(std::vector<std::string>& table, int number, std::string text) {
  if (number <= 0 || number > kLanguageMaxKey) return;
  if (table.size() <= static_cast<size_t>(number)) table.resize(number + 1);
  ExpandNewlines(text);
  table[number] = std::move(text);
}

bool LoadDoc(xmlDoc* doc, const LanguageKeyLookup& lookup, LanguageTables& tables) {
  xmlNode* root = CheckedRoot(doc);
  if (!root) {
    xmlFreeDoc(doc);
    return false;
  }
  LanguageTables loaded;
  if (HasAttribute(root, "language")) loaded.language = Attribute(root, "language");
  loaded.locale = Attribute(root, "locale");
  for (xmlNode* node = root->children; node; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    const char* tag = reinterpret_cast<const char*>(node->name);
    std::vector<std::string>* table = std::strcmp(tag, "string") == 0  ? &loaded.strings
                                      : std::strcmp(tag, "label") == 0 ? &loaded.labels
                                      : std::strcmp(tag, "hint") == 0  ? &loaded.hints
                                                                       : nullptr;
    if (!table) continue;
    int number = lookup ? lookup(Attribute(node, "action")) : 0;
    Store(*table, number, Attribute(node, "value"));
  }
  xmlFreeDoc(doc);
  tables = std::move(loaded);
  return true;
}

const std::string& Entry(const std::vector<std::string>& table, int number) {
  static const std::string empty;
  return number >= 0 && static_cast<size_t>(number) < table.size() ? table[number] : empty;
}

bool FileExists(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

}  // namespace

bool TestLanguageFile(const std::string& path) {
  xmlDoc* doc = xmlReadFile(path.c_str(), nullptr, kParseOptions);
  bool ok = CheckedRoot(doc) != nullptr;
  xmlFreeDoc(doc);
  return ok;
}

bool LoadLanguageFile(const std::string& path, const LanguageKeyLookup& lookup, LanguageTables& tables) {
  return LoadDoc(xmlReadFile(path.c_str(), nullptr, kParseOptions), lookup, tables);
}

bool LoadLanguageMemory(const char* data, size_t size, const LanguageKeyLookup& lookup, LanguageTables& tables) {
  if (size > static_cast<size_t>(INT32_MAX)) return false;
  return LoadDoc(xmlReadMemory(data, static_cast<int>(size), "language.xml", nullptr, kParseOptions), lookup,
                 tables);
}

int NumericLanguageKey(const std::string& key) {
  if (key.empty() || key.size() > 9) return 0;
  if (!std::all_of(key.begin(), key.end(), [](char c) { return c >= '0' && c <= '9'; })) return 0;
  return std::atoi(key.c_str());
}

void SetLanguage(LanguageTables tables) { g_language = std::move(tables); }
const std::string& LangString(int number) { return Entry(g_language.strings, number); }
const std::string& LangLabel(int number) { return Entry(g_language.labels, number); }
const std::string& LangHint(int number) { return Entry(g_language.hints, number); }

std::vector<LanguageFileInfo> ListLanguageFiles(const std::string& folder) {
  std::vector<LanguageFileInfo> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (entry.path().extension() != ".xml") continue;
    xmlDoc* doc = xmlReadFile(entry.path().c_str(), nullptr, kParseOptions);
    xmlNode* root = doc ? xmlDocGetRootElement(doc) : nullptr;
    if (root && std::strcmp(reinterpret_cast<const char*>(root->name), "languagestrings") == 0) {
      std::string name = HasAttribute(root, "language") ? Attribute(root, "language") : "english";
      files.push_back({entry.path().string(), name});
    }
    xmlFreeDoc(doc);
  }
  std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
  return files;
}

std::string FindLanguageFile(const std::string& settingsFolder, const std::string& languagesFolder) {
  std::string own = settingsFolder + "language.xml";
  if (FileExists(own) && TestLanguageFile(own)) return own;
  std::string shipped = languagesFolder + "language.xml";
  return FileExists(shipped) ? shipped : std::string();
}
