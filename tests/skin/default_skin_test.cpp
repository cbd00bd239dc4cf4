// The shipped default skin as a DJ meets it: every size places each deck's controls, the
// pitch fader is long enough to match tempos by ear, and the looks the controls draw from
// (film strips, lit meters) lie inside the skin's picture.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "skin/model/SkinXml.h"

namespace {

namespace fs = std::filesystem;

struct Placed {
  int deck;
  const SkinElement* element;
};

void Collect(const SkinElement& element, std::multimap<std::string, Placed>& out) {
  if (const std::string* action = element.Attr("action")) out.insert({*action, {element.Int("deck"), &element}});
  for (const SkinElement& child : element.children) Collect(child, out);
}

// Width and height of a PNG from its header.
std::pair<int, int> PngSize(const fs::path& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  unsigned char header[24] = {};
  if (!file) return {0, 0};
  size_t got = std::fread(header, 1, sizeof header, file);
  std::fclose(file);
  if (got != sizeof header) return {0, 0};
  auto be32 = [&](int at) { return (header[at] << 24) | (header[at + 1] << 16) | (header[at + 2] << 8) | header[at + 3]; };
  return {be32(16), be32(20)};
}

TEST(DefaultSkin, EverySizePlacesTheDeckControlsAndTheirLooks) {
  const char* kDeckControls[] = {"sd_deck",          "dz_deck",          "deck_pos",        "deck_pitch",
                                 "deck_pitch_key",   "deck_pitch_key_label", "deck_edit_bpm", "deck_setcue",
                                 "deck_back_to_top", "deck_loop_reloop", "deck_loop_less",  "deck_loop_more",
                                 "deck_gain_val",    "deck_eq_low_val",  "deck_eq_mid_val", "deck_eq_high_val",
                                 "vm_deck"};
  int sizes = 0;
  for (const auto& entry : fs::directory_iterator(fs::path(LUMO_SOURCE_DIR) / "data" / "skins")) {
    if (entry.path().extension() != ".xml") continue;
    ++sizes;
    SCOPED_TRACE(entry.path().filename().string());
    SkinDocument doc = ParseSkinFile(entry.path().string());
    ASSERT_TRUE(doc.parsed);
    const int width = doc.root.Int("screenwidth"), height = doc.root.Int("screenheight");
    std::multimap<std::string, Placed> placed;
    Collect(doc.root, placed);
    for (const char* name : kDeckControls) {
      std::set<int> decks;
      for (auto [it, end] = placed.equal_range(name); it != end; ++it) decks.insert(it->second.deck);
      EXPECT_EQ(decks, (std::set<int>{0, 1, 2, 3})) << name;
    }
    // Long enough to hear a tenth of a percent: 150 pixels at 1280x800, in proportion elsewhere.
    const int wanted = 150 * std::min(width * 800, height * 1280) / (1280 * 800);
    for (auto [it, end] = placed.equal_range("deck_pitch"); it != end; ++it) {
      EXPECT_GE(it->second.element->Int("height"), wanted) << "deck " << it->second.deck;
    }
    // Film strips and lit meters are rectangles of the picture, below the window.
    auto [pngWidth, pngHeight] = PngSize(fs::path(entry.path()).replace_extension(".png"));
    int strips = 0, meters = 0;
    for (const auto& [name, where] : placed) {
      const SkinElement& e = *where.element;
      if (e.Int("positions") > 1) {
        ++strips;
        EXPECT_GE(e.Int("overy"), height) << name;
        EXPECT_LE(e.Int("positions") * e.Int("width"), pngWidth) << name;  // one row, no wrap
        EXPECT_LE(e.Int("overy") + e.Int("height"), pngHeight) << name;
      }
      if (e.tag == "vumeter") {
        ++meters;
        EXPECT_TRUE(e.Bool("indicator")) << name;
        const bool horizontal = e.Int("width") > e.Int("height");
        EXPECT_LE(24 * e.Int("activestepsize"), horizontal ? e.Int("width") : e.Int("height")) << name;
        EXPECT_GE(e.Int("activeupy"), height) << name;
        EXPECT_LE(e.Int("activeupx") + e.Int("width"), pngWidth) << name;
        EXPECT_LE(e.Int("activeupy") + e.Int("height"), pngHeight) << name;
      }
    }
    EXPECT_GT(strips, 40);  // every knob of the mixer and the decks
    EXPECT_EQ(meters, 4 * 1 + 4);  // a meter per deck, master left and right, microphone, CPU
    // The question and message boxes are the skin's own windows, their text and buttons inside
    // them (the linter checks the pictures and overlaps).
    int dialogs = 0;
    for (const SkinElement& window : doc.root.children) {
      const std::string* name = window.Attr("name");
      if (window.tag != "window" || !name || *name == "main") continue;
      ++dialogs;
      std::set<std::string> parts;
      for (const SkinElement& e : window.children) {
        parts.insert(*e.Attr("action"));
        EXPECT_TRUE(e.Int("posx") >= 0 && e.Int("posx") + e.Int("width") <= window.Int("width") &&
                    e.Int("posy") >= 0 && e.Int("posy") + e.Int("height") <= window.Int("height"))
            << *name << " " << *e.Attr("action");
      }
      EXPECT_TRUE(parts.count("special_dialog_ok") && parts.count("special_dialog_message")) << *name;
    }
    EXPECT_EQ(dialogs, 2) << "confirm_dialog and message_dialog";
  }
  EXPECT_EQ(sizes, 6);
}

}  // namespace
