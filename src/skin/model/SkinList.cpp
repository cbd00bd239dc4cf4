#include "skin/model/SkinList.h"

#include <algorithm>
#include <filesystem>

#include "skin/model/SkinXml.h"

const char* const kDefaultSkinName = "Zorvik Default 4 decks";

void ScanSkinFolder(const std::string& folder, std::vector<SkinListEntry>& list) {
  namespace fs = std::filesystem;
  std::string dir = folder;
  while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
  std::error_code error;
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(dir, error)) {
    if (entry.path().extension() == ".xml") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) {
    if (SkinBitmapPath(file.string()).empty()) continue;
    SkinDocument doc = ParseSkinFile(file.string());
    if (!doc.parsed || doc.root.tag != "skin") continue;
    const std::string* name = doc.root.Attr("skinname");
    if (!name) continue;
    SkinListEntry row;
    row.xmlPath = file.string();
    row.baseName = file.stem().string();
    row.skinName = *name;
    row.width = doc.root.Int("screenwidth");
    row.height = doc.root.Int("screenheight");
    row.label = *name + " (" + std::to_string(row.width) + "x" + std::to_string(row.height) + ")";
    list.push_back(std::move(row));
  }
}

DisplaySize DefaultSkinSize(DisplaySize display) {
  DisplaySize wanted{1024, 600};
  if (display.width == 1024) {
    if (display.height == 768) wanted = {1024, 768};
  } else if (display.width >= 1280) {
    wanted = display.height == 1024 ? DisplaySize{1280, 1024} : DisplaySize{1280, 800};
    if (display.width == 1366 && display.height == 768) wanted = {1366, 768};
  }
  return wanted;
}

int ChooseDefaultSkin(const std::vector<SkinListEntry>& list, DisplaySize display) {
  DisplaySize wanted = DefaultSkinSize(display);
  for (size_t i = 0; i < list.size(); ++i) {
    const SkinListEntry& row = list[i];
    bool named = row.skinName == kDefaultSkinName || row.baseName == kDefaultSkinName;
    if (named && row.width == wanted.width && row.height == wanted.height) return static_cast<int>(i);
  }
  return list.empty() ? -1 : 0;
}

int FindSkin(const std::vector<SkinListEntry>& list, const std::string& name) {
  for (size_t i = 0; i < list.size(); ++i) {
    if (list[i].label == name || list[i].baseName == name) return static_cast<int>(i);
  }
  return -1;
}

bool SkinFitsDisplay(const SkinListEntry& skin, DisplaySize display) {
  return skin.width <= display.width && skin.height <= display.height;
}
