#pragma once
// The list of installed skins and the choice of one by display size. No toolkit: the options
// dialog fills its combo box from the rows.

#include <string>
#include <vector>

struct SkinListEntry {
  std::string xmlPath;
  std::string baseName;  // file name without folder and extension
  std::string skinName;  // the skinname attribute
  std::string label;     // "name (WxH)"
  int width = 0;         // screenwidth and screenheight as written, no defaults
  int height = 0;
};

// Appends every "*.xml" of the folder that has a ".bmp" or ".png" beside it, a `skin` root and a
// `skinname`, in file-name order.
void ScanSkinFolder(const std::string& folder, std::vector<SkinListEntry>& list);

struct DisplaySize {
  int width = 0;
  int height = 0;
  bool operator==(const DisplaySize&) const = default;
};

// The displays the program refuses to start on.
constexpr int kMinDisplayWidth = 900;
constexpr int kMinDisplayHeight = 600;
inline bool DisplayTooSmall(DisplaySize display) {
  return display.width < kMinDisplayWidth || display.height < kMinDisplayHeight;
}

extern const char* const kDefaultSkinName;  // "Zorvik Default 4 decks"

// The reference size of the default skin for a display.
DisplaySize DefaultSkinSize(DisplaySize display);
// Index of the default skin for the display among the rows named kDefaultSkinName (by skinname
// or file name): the reference size when it fits, unless a bigger one fits both ways; else the
// largest that fits; else the reference size, else row 0. -1 for an empty list.
int ChooseDefaultSkin(const std::vector<SkinListEntry>& list, DisplaySize display);
// Index of the row whose label, base name or file name is `name`; -1 when absent. The setting
// holds the file name, as the settings check it against the skin folders.
int FindSkin(const std::vector<SkinListEntry>& list, const std::string& name);
// A skin chosen in the options is refused when it is wider or higher than the display.
bool SkinFitsDisplay(const SkinListEntry& skin, DisplaySize display);
