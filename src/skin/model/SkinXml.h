#pragma once
// A skin file as a plain tree of elements with their attributes in file order. libxml2 does
// the parsing; the tree keeps no libxml2 types so the loader and skinlint can walk it freely.
// The network and external entities are never touched.

#include <string>
#include <utility>
#include <vector>

struct SkinElement {
  std::string tag;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::vector<SkinElement> children;  // element children only
  int line = 0;

  // Null when absent.
  const std::string* Attr(const char* name) const;
  // Element integer: atoi of the attribute, -1 when missing.
  int Int(const char* name) const;
  // Element boolean: "OK", "YES", "Y", "TRUE" after upper-casing; false when missing.
  bool Bool(const char* name) const;
};

struct SkinDocument {
  bool parsed = false;  // false: unreadable or not well formed; root is empty
  SkinElement root;
};

SkinDocument ParseSkinFile(const std::string& path);
SkinDocument ParseSkinMemory(const char* data, size_t size);

// The values the program takes from the root element of a skin.
struct SkinHeader {
  bool hasName = false;
  std::string name;          // skinname
  int screenWidth = 800;     // a value below 10 gives 800
  int screenHeight = 600;    // a value below 10 gives 600
  int targetVersion = -1;    // below 2 turns on the two-deck name translation
  bool dontUseLabelsOnTimePitch = false;
};
SkinHeader ReadSkinHeader(const SkinElement& root);

// The skin's bitmap: the path with its last three characters changed to "bmp", else "png";
// empty when neither exists.
std::string SkinBitmapPath(const std::string& xmlPath);
