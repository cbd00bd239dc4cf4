// The toolkit-free half of the skin: attribute lists, skin headers, the skin list and the
// default choice by display size, the two-deck names, key names and the scroll arithmetic.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "skin/model/KeyName.h"
#include "skin/model/ScrollModel.h"
#include "skin/model/SkinAttributeList.h"
#include "skin/model/SkinCheck.h"
#include "skin/model/SkinList.h"
#include "skin/model/SkinTemplates.h"
#include "skin/model/SkinXml.h"
#include "skin/model/TwoDeckNames.h"

namespace fs = std::filesystem;

TEST(SkinAttributeList, TheTwoBooleanReadersDifferOnPurpose) {
  SkinAttributeList list;
  list.Add("isswitch", "1");
  list.Add("showlabel", "yes");
  list.Add("transparent", "True");
  list.Add("other", "Y");
  EXPECT_FALSE(list.GetBool("isswitch"));
  EXPECT_TRUE(list.GetBool("showlabel"));
  EXPECT_TRUE(list.GetBool("transparent"));
  EXPECT_EQ(list.GetString("transparent"), "TRUE");  // upper-cased in place
  EXPECT_FALSE(list.GetBool("other"));
  EXPECT_FALSE(list.GetBool("missing"));
  for (const char* yes : {"Y", "ok", "Yes", "TRUE"}) EXPECT_TRUE(ElementBoolText(yes)) << yes;
  for (const char* no : {"1", "on", "", "no"}) EXPECT_FALSE(ElementBoolText(no)) << no;
}

TEST(SkinAttributeList, NumbersSetAndCapacity) {
  SkinAttributeList list;
  list.Add("posx", " 12px");
  list.Add("posx", "99");
  list.Add("ratio", "0.25");
  EXPECT_EQ(list.GetInt("posx"), 12);  // first pair wins, atoi rules
  EXPECT_EQ(list.GetInt("missing"), -1);
  EXPECT_DOUBLE_EQ(list.GetFloat("ratio"), 0.25);
  list.Set("posx", "7");
  EXPECT_EQ(list.GetInt("posx"), 7);
  EXPECT_EQ(list.Count(), 3);
  for (int i = 0; i < 200; ++i) list.Add("a" + std::to_string(i), "x");
  EXPECT_EQ(list.Count(), SkinAttributeList::kMaxPairs);
  SkinRgb colour;
  EXPECT_TRUE(ParseSkinColour("#FF583f", colour));
  EXPECT_EQ(colour, (SkinRgb{0xFF, 0x58, 0x3F}));
  for (const char* bad : {"", "red", "#FF583", "#FF583FF", "FF583F0", "#GG0000"}) {
    EXPECT_FALSE(ParseSkinColour(bad, colour)) << bad;
  }
}

TEST(SkinXml, HeaderDefaultsAndBitmapChoice) {
  const char text[] = "<skin skinname='S' screenwidth='5' screenheight='768'><window name='main'/></skin>";
  SkinDocument doc = ParseSkinMemory(text, sizeof text - 1);
  ASSERT_TRUE(doc.parsed);
  SkinHeader header = ReadSkinHeader(doc.root);
  EXPECT_EQ(header.screenWidth, 800);
  EXPECT_EQ(header.screenHeight, 768);
  EXPECT_EQ(header.targetVersion, -1);
  EXPECT_FALSE(ParseSkinMemory("<skin>", 6).parsed);

  fs::path dir = fs::temp_directory_path() / ("skinxml-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  std::ofstream(dir / "a.xml") << text;
  std::ofstream(dir / "a.png") << "png";
  EXPECT_EQ(SkinBitmapPath((dir / "a.xml").string()), (dir / "a.png").string());
  std::ofstream(dir / "a.bmp") << "bmp";
  EXPECT_EQ(SkinBitmapPath((dir / "a.xml").string()), (dir / "a.bmp").string());
  EXPECT_EQ(SkinBitmapPath((dir / "none.xml").string()), "");
  fs::remove_all(dir);
}

TEST(SkinList, ScanKeepsSkinsWithNameAndBitmap) {
  fs::path dir = fs::temp_directory_path() / ("skinlist-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  auto write = [&](const std::string& base, const std::string& root, const char* bitmap) {
    std::ofstream(dir / (base + ".xml")) << root;
    if (bitmap) std::ofstream(dir / (base + "." + bitmap)) << "x";
  };
  write("b", "<skin skinname='Zorvik Default 4 decks' screenwidth='1280' screenheight='800'/>", "png");
  write("a", "<skin skinname='Other' screenwidth='1024' screenheight='600'/>", "bmp");
  write("c", "<skin screenwidth='1024' screenheight='600'/>", "png");  // no skinname
  write("d", "<notskin skinname='X'/>", "png");
  write("e", "<skin skinname='NoBitmap'/>", nullptr);
  std::vector<SkinListEntry> list;
  ScanSkinFolder(dir.string() + "/", list);
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0].baseName, "a");
  EXPECT_EQ(list[1].label, "Zorvik Default 4 decks (1280x800)");
  EXPECT_EQ(ChooseDefaultSkin(list, {1280, 800}), 1);  // found by skinname, whatever the file name
  EXPECT_EQ(ChooseDefaultSkin(list, {1920, 1080}), 1);
  EXPECT_EQ(ChooseDefaultSkin(list, {1024, 768}), 0);  // no match: the first row
  EXPECT_EQ(ChooseDefaultSkin({}, {1024, 768}), -1);
  EXPECT_FALSE(SkinFitsDisplay(list[1], {1024, 768}));
  EXPECT_TRUE(SkinFitsDisplay(list[1], {1280, 800}));
  fs::remove_all(dir);
}

// The default skin's sizes as shipped, with another skin first in the folder.
std::vector<SkinListEntry> ShippedSizes() {
  std::vector<SkinListEntry> list;
  list.push_back({"", "Other 1920x1080", "Other", "", 1920, 1080});
  for (auto [w, h] : {std::pair{1024, 600}, {1024, 768}, {1280, 1024}, {1280, 800}, {1366, 768}, {1920, 1080}}) {
    list.push_back({"", std::string(kDefaultSkinName) + " " + std::to_string(w) + "x" + std::to_string(h),
                    kDefaultSkinName, "", w, h});
  }
  return list;
}

TEST(SkinList, DefaultSkinIsTheLargestThatFits) {
  const std::vector<SkinListEntry> list = ShippedSizes();
  auto chosen = [&](DisplaySize display) {
    int index = ChooseDefaultSkin(list, display);
    return index < 0 ? DisplaySize{} : DisplaySize{list[index].width, list[index].height};
  };
  struct Case {
    DisplaySize display, skin;
  };
  const Case cases[] = {
      {{1280, 720}, {1024, 600}},    // the reference 1280x800 would not fit the height
      {{1920, 1080}, {1920, 1080}},  // the most common display gets its own size
      {{2560, 1440}, {1920, 1080}},
      {{1440, 900}, {1280, 800}},  // the reference fits; 1366x768 is not bigger both ways
      {{1366, 768}, {1366, 768}},  {{1280, 1024}, {1280, 1024}},
      {{900, 600}, {1024, 600}},   // nothing fits: the reference size, as before
  };
  for (const Case& c : cases) {
    DisplaySize skin = chosen(c.display);
    EXPECT_EQ(skin, c.skin) << c.display.width << "x" << c.display.height << " got " << skin.width << "x"
                            << skin.height;
    if (c.display.width >= 1024 && c.display.height >= 600) {
      EXPECT_LE(skin.height, c.display.height) << c.display.width << "x" << c.display.height;
    }
  }
}

TEST(SkinList, DefaultSizeByDisplay) {
  struct Case {
    DisplaySize display, wanted;
  };
  const Case cases[] = {{{1024, 768}, {1024, 768}},   {{1024, 600}, {1024, 600}},  {{1280, 1024}, {1280, 1024}},
                        {{1366, 768}, {1366, 768}},   {{1360, 768}, {1280, 800}},  {{900, 600}, {1024, 600}},
                        {{1920, 1080}, {1280, 800}},  {{1024, 1024}, {1024, 600}}, {{1152, 864}, {1024, 600}}};
  for (const Case& c : cases) {
    EXPECT_EQ(DefaultSkinSize(c.display), c.wanted) << c.display.width << "x" << c.display.height;
  }
  EXPECT_FALSE(DisplayTooSmall({900, 600}));
  EXPECT_TRUE(DisplayTooSmall({899, 600}));
  EXPECT_TRUE(DisplayTooSmall({1024, 599}));
}

TEST(TwoDeckNames, RowsGiveNameAndDeck) {
  struct Case {
    const char* from;
    const char* to;
    int deck;
  };
  const Case cases[] = {{"decka_play_pause", "deck_play_pause", 0}, {"deckb_jw", "deck_jw", 1},
                        {"deckb_cue8", "deck_cue8", 1},             {"sd_deckb", "sd_deck", 1},
                        {"label_eqmid2_a", "label_eqmid2", 0},      {"label_tarvo_info_b", "label_tarvo_info", 1},
                        {"tarvo_fx_sel_b_3", "tarvo_fx_sel_3", 1},  {"tarvo_info_a", "tarvo_info", 0},
                        {"fx_b_add", "fx_add", 1}};
  for (const Case& c : cases) {
    std::string name;
    int deck = 7;
    EXPECT_TRUE(TranslateTwoDeckName(c.from, name, deck)) << c.from;
    EXPECT_EQ(name, c.to);
    EXPECT_EQ(deck, c.deck);
  }
  for (const char* unchanged : {"crossfader", "deck_play_pause", "deckc_play_pause", "decka_nothing", "label_x_a"}) {
    std::string name;
    int deck = 7;
    EXPECT_FALSE(TranslateTwoDeckName(unchanged, name, deck)) << unchanged;
    EXPECT_EQ(name, unchanged);
    EXPECT_EQ(deck, -1);
  }
}

TEST(ScrollModel, ThumbAndOffsetsStayInTheTrack) {
  ScrollModel model;
  model.SetTrackSize(100);
  model.SetVisibleLines(10);
  model.SetMinimalThumb(8);
  model.SetTotalLines(1000);
  EXPECT_EQ(model.thumbSize, 8);  // 1 pixel by proportion, raised to the minimum
  model.SetPixelOffset(500);
  EXPECT_EQ(model.pixelOffset, 92);
  EXPECT_EQ(model.lineOffset, 990);
  model.SetLineOffset(495);
  EXPECT_EQ(model.pixelOffset, 46);
  model.SetTotalLines(5);
  EXPECT_EQ(model.thumbSize, 100);
  EXPECT_EQ(model.lineOffset, 0);
  model.SetTrackSize(0);
  model.SetVisibleLines(-3);
  EXPECT_EQ(model.trackSize, 2);
  EXPECT_EQ(model.visibleLines, 1);
}

TEST(SkinCheck, FindsWhatTheLoaderWouldGetWrong) {
  fs::path dir = fs::temp_directory_path() / ("skincheck-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  // A 100x100 PNG header is all the check reads of the bitmap.
  const unsigned char png[26] = {0x89, 'P', 'N', 'G', 13, 10, 26, 10, 0, 0, 0, 13, 'I', 'H', 'D', 'R',
                                 0, 0, 0, 100, 0, 0, 0, 100, 8, 2};
  std::ofstream(dir / "s.png", std::ios::binary).write(reinterpret_cast<const char*>(png), sizeof png);
  std::ofstream(dir / "s.xml") << R"(<skin skinname="S" targetversion="2"><window name="main" width="100" height="100">
  <button action="deck_pley" deck="0" posx="0" posy="0" width="10" height="10"/>
  <slider action="crossfader" deck="1" posx="0" posy="20" width="10" height="10"/>
  <button action="deck_cue" posx="0" posy="40" width="10" height="10"/>
  <button action="deck_cue" deck="0" posx="95" posy="0" width="10" height="10"/>
  <button action="deck_play_pause" deck="0" posx="90" posy="5" width="10" height="10"/>
  <textarea action="deck_bpm" deck="0" posx="90" posy="5" width="10" height="10" graphics_mode="1"/>
  <button action="_x" posx="50" posy="50" width="10" height="10" onmousedown="go();"/>
</window></skin>)";
  SkinCheckResult result = CheckSkinFile((dir / "s.xml").string());
  ASSERT_TRUE(result.readable);
  std::vector<int> lines;
  for (const SkinFinding& finding : result.findings) lines.push_back(finding.line);
  // Unknown name, deck on a global control, deck control without a deck, outside the bitmap
  // (once, not once per fallback state), overlap of two buttons; the text display overlaps
  // nothing interactive.
  EXPECT_EQ(lines, (std::vector<int>{2, 3, 4, 5, 6})) << result.findings.size();
  EXPECT_NE(result.script.find("function _x_onmousedown"), std::string::npos);
  int width = 0, height = 0;
  EXPECT_TRUE(ReadImageSize((dir / "s.png").string(), width, height));
  EXPECT_EQ(width, 100);
  EXPECT_FALSE(ReadImageSize((dir / "s.xml").string(), width, height));
  fs::remove_all(dir);
}
