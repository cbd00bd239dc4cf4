#include "skin/model/SkinCheck.h"

#include <cstdint>
#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>

#include "skin/model/ControlCatalogue.h"
#include "skin/model/SkinAttributeList.h"
#include "skin/model/SkinTypes.h"
#include "skin/model/SkinXml.h"
#include "skin/model/TwoDeckNames.h"

namespace {

struct Rect {
  int x, y, w, h;
  bool Intersects(const Rect& o) const { return x < o.x + o.w && o.x < x + w && y < o.y + o.h && o.y < y + h; }
};

// A control a user can press or drag, where two on top of each other steal each other's clicks.
bool Interactive(int type) {
  switch (type) {
    case kButton: case kSlider: case kDropDownList: case kBrowser: case kList: case kEditArea:
    case kSoundDisplay: case kPlayLive: case kWheel: case kFlow:
      return true;
    default:
      return false;
  }
}

struct Placed {
  Rect rect;
  std::string name;
  int deck;
  int line;
};

class Checker {
 public:
  Checker(SkinCheckResult& result, int bitmapWidth, int bitmapHeight, int version)
      : result_(result), bitmapWidth_(bitmapWidth), bitmapHeight_(bitmapHeight), version_(version) {}

  void Window(const SkinElement& window) {
    if (window.Int("width") > 0 && window.Int("height") > 0 && !window.Bool("usecolors")) {
      InBitmap(window.line, "window background", std::max(0, window.Int("upx")), std::max(0, window.Int("upy")),
               window.Int("width"), window.Int("height"));
    }
    // Each window is a surface of its own: the dialogs' buttons never cover the main window's.
    const std::string* name = window.Attr("name");
    Elements(window.children, "window " + (name ? *name : std::string()));
  }

 private:
  void Report(int line, const std::string& message) { result_.findings.push_back({line, message}); }

  void InBitmap(int line, const std::string& what, int x, int y, int w, int h) {
    if (bitmapWidth_ <= 0) return;
    if (x < 0 || y < 0 || x + w > bitmapWidth_ || y + h > bitmapHeight_) {
      char text[200];
      std::snprintf(text, sizeof text, "%s: rectangle %d,%d %dx%d is outside the %dx%d bitmap", what.c_str(), x, y,
                    w, h, bitmapWidth_, bitmapHeight_);
      Report(line, text);
    }
  }

  void Elements(const std::vector<SkinElement>& elements, const std::string& container, int panels = 0) {
    for (const SkinElement& element : elements) Element(element, container, panels);
  }

  void Element(const SkinElement& element, const std::string& container, int panels) {
    SkinAttributeList list;
    for (const auto& [name, value] : element.attributes) list.Add(name, value);
    std::string action = list.GetString("action");
    int deck = list.GetInt("deck");
    if (version_ < 2) {
      std::string translated;
      int translatedDeck;
      if (TranslateTwoDeckName(action, translated, translatedDeck)) action = translated, deck = translatedDeck;
    }
    int type = ControlTypeFromName(element.tag.c_str());
    std::string where = container;
    if (panels > 0) where += "/panel" + std::to_string(std::max(0, list.GetInt("panel")) < panels ? std::max(0, list.GetInt("panel")) : -1);
    int id = ControlIdByName(action.c_str());
    std::string label = action.empty() ? "<" + element.tag + ">" : action;
    if (id == 0) {
      if (action == "big_tab" || (!action.empty() && action[0] == '_' && type == kGroup)) {
        Group(element, list, action);
        return;
      }
      if (action.empty() || action[0] != '_') {
        Report(element.line, "unknown action '" + action + "': the element is passed over");
        return;
      }
      if (type == kNone) {
        Report(element.line, label + ": tag <" + element.tag + "> is no control type");
        return;
      }
    } else {
      if (ControlIsGlobal(id) && deck != -1) {
        Report(element.line, label + ": deck " + std::to_string(deck) + " on a global control places nothing");
        return;
      }
      if (!ControlIsGlobal(id) && (deck < 0 || deck > 3)) {
        Report(element.line, label + ": a deck control needs a deck from 0 to 3");
        return;
      }
      if (type != ControlTypeOf(id) && ControlTypeOf(id) != kVideo) {
        Report(element.line, label + ": written as <" + element.tag + ">, the control is a " +
                                 ControlTypeName(ControlTypeOf(id)));
      }
      type = ControlTypeOf(id);
    }
    Rectangles(element, list, type, label);
    if (!Interactive(type)) return;
    Rect rect{list.GetInt("posx"), list.GetInt("posy"), list.GetInt("width"), list.GetInt("height")};
    if (list.Has("size")) rect.w = rect.h = list.GetInt("size");
    for (const Placed& other : placed_[where]) {
      if (other.rect.Intersects(rect) && !(other.name == label && other.deck == deck)) {
        Report(element.line, label + " overlaps " + other.name + " (line " + std::to_string(other.line) + ")");
      }
    }
    placed_[where].push_back({rect, label, deck, element.line});
    Scripts(element, list, action);
  }

  void Rectangles(const SkinElement& element, SkinAttributeList& list, int type, const std::string& label) {
    if (list.GetInt("graphics_mode") == 1 || type == kVideo || type == kWebBrowser) return;
    int w = list.Has("size") ? list.GetInt("size") : list.GetInt("width");
    int h = list.Has("size") ? list.GetInt("size") : list.GetInt("height");
    std::vector<std::pair<int, int>> seen;  // a state falling back to another is reported once
    auto corner = [&](const char* x, const char* y, int fx, int fy, const char* what) {
      int cx = list.GetInt(x), cy = list.GetInt(y);
      cx = cx == -1 ? fx : cx;
      cy = cy == -1 ? fy : cy;
      if (std::find(seen.begin(), seen.end(), std::pair(cx, cy)) == seen.end()) {
        seen.emplace_back(cx, cy);
        InBitmap(element.line, label + " " + what, cx, cy, w, h);
      }
      return std::pair<int, int>(cx, cy);
    };
    auto up = corner("upx", "upy", list.GetInt("posx"), list.GetInt("posy"), "up");
    if (type != kButton) return;
    auto over = corner("overx", "overy", up.first, up.second, "over");
    corner("downx", "downy", over.first, over.second, "down");
    auto sel = corner("selx", "sely", list.GetInt("posx"), list.GetInt("posy"), "selected");
    auto oversel = corner("overselx", "oversely", sel.first, sel.second, "over selected");
    corner("downselx", "downsely", oversel.first, oversel.second, "down selected");
  }

  void Group(const SkinElement& element, SkinAttributeList& list, const std::string& name) {
    int panels = std::min(10, std::max(0, list.GetInt("panels")));
    for (int i = 0; i < panels; ++i) {
      int x = list.GetInt("up" + std::to_string(i) + "x"), y = list.GetInt("up" + std::to_string(i) + "y");
      if (x == -1) x = list.GetInt("posx");
      if (y == -1) y = list.GetInt("posy");
      if (!list.GetBool("transparent")) {
        InBitmap(element.line, name + " panel " + std::to_string(i), x, y, list.GetInt("width"), list.GetInt("height"));
      }
    }
    Elements(element.children, name, panels);
  }

  void Scripts(const SkinElement&, SkinAttributeList& list, const std::string& name) {
    if (name.empty() || name[0] != '_') return;
    for (const char* event : {"onmousedown", "onmouseup"}) {
      std::string body = list.GetString(event);
      if (body.empty()) continue;
      result_.script += "\nfunction " + name + "_" + event + "(clientX,clientY,button,value)\n{\n  " + body + "\n}\n";
    }
  }

  SkinCheckResult& result_;
  int bitmapWidth_, bitmapHeight_, version_;
  std::map<std::string, std::vector<Placed>> placed_;
};

uint32_t BigEndian32(const unsigned char* p) { return uint32_t(p[0]) << 24 | p[1] << 16 | p[2] << 8 | p[3]; }
int32_t LittleEndian32(const unsigned char* p) {
  return static_cast<int32_t>(uint32_t(p[0]) | p[1] << 8 | p[2] << 16 | uint32_t(p[3]) << 24);
}

}  // namespace

bool ReadImageSize(const std::string& path, int& width, int& height) {
  unsigned char header[26] = {};
  std::ifstream in(path, std::ios::binary);
  if (!in.read(reinterpret_cast<char*>(header), sizeof header)) return false;
  if (header[0] == 0x89 && header[1] == 'P' && header[2] == 'N' && header[3] == 'G') {
    width = static_cast<int>(BigEndian32(header + 16));
    height = static_cast<int>(BigEndian32(header + 20));
    return true;
  }
  if (header[0] == 'B' && header[1] == 'M') {
    width = LittleEndian32(header + 18);
    height = std::abs(LittleEndian32(header + 22));  // negative: stored top-down
    return true;
  }
  return false;
}

SkinCheckResult CheckSkinFile(const std::string& xmlPath) {
  SkinCheckResult result;
  SkinDocument doc = ParseSkinFile(xmlPath);
  if (!doc.parsed) {
    result.findings.push_back({0, "not well-formed XML: the loader keeps the old skin"});
    return result;
  }
  if (doc.root.tag != "skin") {
    result.findings.push_back({doc.root.line, "the root is <" + doc.root.tag + ">, not <skin>"});
    return result;
  }
  std::string bitmap = SkinBitmapPath(xmlPath);
  int width = 0, height = 0;
  if (bitmap.empty()) {
    result.findings.push_back({doc.root.line, "no .bmp or .png beside the file: the loader refuses it"});
    return result;
  }
  if (!ReadImageSize(bitmap, width, height)) result.findings.push_back({0, bitmap + " is not a PNG or BMP"});
  result.readable = true;
  if (!doc.root.Attr("skinname")) result.findings.push_back({doc.root.line, "no skinname: the skin is not listed"});
  SkinHeader header = ReadSkinHeader(doc.root);
  Checker checker(result, width, height, header.targetVersion);
  for (const SkinElement& element : doc.root.children) {
    if (element.tag == "window") checker.Window(element);
  }
  return result;
}
