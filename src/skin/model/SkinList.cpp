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
  // The reference size for the display, when the default skin comes in it and it fits; a
  // bigger default skin that fits both ways beats it (a 1920x1080 display gets the 1920x1080
  // skin). When the reference size does not fit (1280x720 would get an 800-high window), the
  // largest default skin that fits. When none fits, the reference size or the first row.
  DisplaySize wanted = DefaultSkinSize(display);
  auto isDefault = [](const SkinListEntry& row) {
    return row.skinName == kDefaultSkinName || row.baseName == kDefaultSkinName;
  };
  auto area = [](const SkinListEntry& row) { return static_cast<long>(row.width) * row.height; };
  int reference = -1;
  for (size_t i = 0; i < list.size() && reference < 0; ++i) {
    if (isDefault(list[i]) && list[i].width == wanted.width && list[i].height == wanted.height) {
      reference = static_cast<int>(i);
    }
  }
  int best = reference >= 0 && SkinFitsDisplay(list[reference], display) ? reference : -1;
  const bool referenceFits = best >= 0;
  for (size_t i = 0; i < list.size(); ++i) {
    const SkinListEntry& row = list[i];
    if (!isDefault(row) || !SkinFitsDisplay(row, display)) continue;
    if (best < 0) {
      best = static_cast<int>(i);
      continue;
    }
    const SkinListEntry& held = list[best];
    const bool bigger = referenceFits ? row.width >= held.width && row.height >= held.height && area(row) > area(held)
                                      : area(row) > area(held);
    if (bigger) best = static_cast<int>(i);
  }
  if (best >= 0) return best;
  if (reference >= 0) return reference;
  return list.empty() ? -1 : 0;
}

int FindSkin(const std::vector<SkinListEntry>& list, const std::string& name) {
  for (size_t i = 0; i < list.size(); ++i) {
    if (list[i].label == name || list[i].baseName == name || list[i].baseName + ".xml" == name)
      return static_cast<int>(i);
  }
  return -1;
}

bool SkinFitsDisplay(const SkinListEntry& skin, DisplaySize display) {
  return skin.width <= display.width && skin.height <= display.height;
}
