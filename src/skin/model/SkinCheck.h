#pragma once
// Checks a skin file the way the loader reads it, without a window: names the loader would
// pass over, deck attributes that place nothing, rectangles the bitmap does not have,
// interactive controls on top of each other. skinlint prints the findings; the script text
// the loader would collect is returned for a compile check by the script engine.

#include <string>
#include <vector>

struct SkinFinding {
  int line = 0;
  std::string message;
};

struct SkinCheckResult {
  bool readable = false;  // false: not a skin the loader would take (message in findings)
  std::vector<SkinFinding> findings;
  std::string script;  // the "skin.js" the loader would build
};

SkinCheckResult CheckSkinFile(const std::string& xmlPath);

// Width and height of a PNG or BMP from its header; false when it is neither.
bool ReadImageSize(const std::string& path, int& width, int& height);
