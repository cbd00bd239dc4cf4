// The loader on a real (virtual-display) window: what a skin file places, what it leaves, and
// that a failed load keeps the old skin. Runs under Xvfb with the framework tests; see
// CMakeLists.txt.
#include <gtest/gtest.h>
#include <wx/image.h>
#include <wx/wx.h>

#include <filesystem>
#include <fstream>

#include "skin/ControlTable.h"
#include "skin/SkinControls.h"
#include "skin/SkinLoader.h"
#include "skin/SkinnedDialogs.h"
#include "skin/ZQCustomGroup.h"
#include "skin/ZQCustomPanel.h"
#include "skin/ZQMainWindow.h"

namespace fs = std::filesystem;

namespace {

ZQMainWindow* g_main = nullptr;

}  // namespace

// The frame the framework tests put their controls on.
wxFrame* g_frame = nullptr;

namespace {

ZQCustomControl* Control(const char* name, int deck = -1) { return ControlAt(ControlIdByName(name), deck); }

class SkinLoaderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("skinloader-" + std::to_string(::getpid()));
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  // Writes base.xml and a plain bitmap of the given kind ("png", "bmp" or "" for none).
  std::string Write(const std::string& base, const std::string& body, const std::string& bitmap = "png",
                    const std::string& root = "skin skinname='T' screenwidth='640' screenheight='400' targetversion='2'") {
    std::string path = (dir_ / (base + ".xml")).string();
    std::ofstream(path) << "<" << root << "><window name='main' width='640' height='400'>" << body
                        << "</window></" << root.substr(0, root.find(' ')) << ">";
    if (!bitmap.empty()) {
      wxImage image(700, 500);
      image.SetRGB(wxRect(0, 0, 700, 500), 40, 40, 40);
      image.SaveFile(wxString::FromUTF8((dir_ / (base + "." + bitmap)).string()),
                     bitmap == "png" ? wxBITMAP_TYPE_PNG : wxBITMAP_TYPE_BMP);
    }
    return path;
  }

  fs::path dir_;
};

}  // namespace

TEST_F(SkinLoaderTest, PlacesNamedControlsOnTheirDeck) {
  ASSERT_TRUE(LoadSkin(Write("a", "<button action='deck_play_pause' deck='2' posx='10' posy='20' width='30' height='15'"
                                  " isswitch='1'/><slider action='crossfader' posx='5' posy='6' width='100' height='20'/>"
                                  "<button action='no_such_thing' posx='1' posy='1' width='5' height='5'/>"),
                       g_main));
  auto* play = dynamic_cast<CZQButton*>(Control("deck_play_pause", 2));
  ASSERT_NE(play, nullptr);
  EXPECT_TRUE(play->IsShown());
  EXPECT_TRUE(play->Placed());
  EXPECT_EQ(play->GetRect(), wxRect(10, 20, 30, 15));
  EXPECT_FALSE(play->IsSwitch());  // "1" is no boolean for a control
  EXPECT_FALSE(Control("deck_play_pause", 0)->IsShown());
  EXPECT_TRUE(Control("crossfader")->IsShown());
  EXPECT_FALSE(Control("button_template")->IsShown());
  EXPECT_EQ(CurrentTemplate(kButtonTemplate), DefaultTemplate(kButtonTemplate));
}

TEST_F(SkinLoaderTest, TheFrameKeepsTheSkinsSize) {
  ASSERT_TRUE(LoadSkin(Write("size", "<button action='deck_cue' deck='0' posx='1' posy='1' width='9' height='9'/>"), g_main));
  // Skins are drawn for one size: no resize border, and the window manager is told so.
  EXPECT_FALSE(g_main->HasFlag(wxRESIZE_BORDER));
  EXPECT_FALSE(g_main->HasFlag(wxMAXIMIZE_BOX));
  EXPECT_EQ(g_main->GetClientSize(), wxSize(640, 400));
  EXPECT_EQ(g_main->GetMaxSize(), g_main->GetSize());
  EXPECT_EQ(g_main->GetMinSize(), g_main->GetSize());
}

TEST_F(SkinLoaderTest, ReloadingTheSkinKeepsALitSwitchLit) {
  std::string skin = Write("lit", "<button action='deck_kill_low' deck='1' posx='1' posy='1' width='20' height='9' "
                                  "isswitch='yes'/>");
  ASSERT_TRUE(LoadSkin(skin, g_main));
  auto* kill = dynamic_cast<CZQButton*>(Control("deck_kill_low", 1));
  ASSERT_NE(kill, nullptr);
  ControlEvent press;
  press.kind = kEventBoundKey;
  kill->SendEvent(press);
  ASSERT_TRUE(kill->Selected());
  ASSERT_TRUE(LoadSkin(skin, g_main));
  EXPECT_TRUE(kill->Selected()) << "the band is still killed in the engine";
}

TEST_F(SkinLoaderTest, OldSkinsTranslateTwoDeckNamesAndKeepOtherDecks) {
  ASSERT_TRUE(LoadSkin(Write("old", "<button action='deckb_play_pause' posx='1' posy='1' width='9' height='9'/>"
                                    "<button action='deck_cue' deck='3' posx='1' posy='12' width='9' height='9'/>",
                             "png", "skin skinname='Old' screenwidth='640' screenheight='400'"),
                       g_main));
  EXPECT_TRUE(Control("deck_play_pause", 1)->IsShown());
  EXPECT_TRUE(Control("deck_cue", 3)->IsShown());  // matches no row: keeps its deck
}

TEST_F(SkinLoaderTest, GroupsClampPanelsAndPlaceByPanel) {
  ASSERT_TRUE(LoadSkin(Write("g", "<group action='_tabs' posx='0' posy='100' width='300' height='200' panels='15'>"
                                  "<button action='deck_sync' deck='0' panel='-3' posx='1' posy='2' width='9' height='9'/>"
                                  "<button action='deck_sync' deck='1' panel='12' posx='1' posy='2' width='9' height='9'/>"
                                  "</group>"),
                       g_main));
  ZQCustomGroup* group = PrivateGroup(FindGroupByName("_tabs"));
  ASSERT_NE(group, nullptr);
  EXPECT_EQ(group->PanelCount(), 10);
  EXPECT_EQ(Control("deck_sync", 0)->GetParent(), group->PanelAt(0));
  EXPECT_EQ(Control("deck_sync", 1)->GetParent(), g_main);  // no panel 12: the window
}

TEST_F(SkinLoaderTest, PngOnlyBmpPreferredSizeDefaults) {
  std::string png = Write("p", "<button action='learn' posx='1' posy='1' width='9' height='9'/>", "png",
                          "skin skinname='P' screenwidth='5' screenheight='300'");
  ASSERT_TRUE(LoadSkin(png, g_main));
  EXPECT_EQ(g_main->GetClientSize(), wxSize(800, 300));
  EXPECT_TRUE(Control("learn")->IsShown());
  std::string bmp = Write("p", "<button action='about' posx='1' posy='1' width='9' height='9'/>", "bmp");
  ASSERT_TRUE(LoadSkin(bmp, g_main));
  EXPECT_TRUE(Control("about")->IsShown());
}

TEST_F(SkinLoaderTest, TemplatesComeBackToTheDefaults) {
  ASSERT_TRUE(LoadSkin(Write("t1", "<button action='button_template' posx='0' posy='0' width='50' height='12' "
                                   "backcolor='#010203'/>"),
                       g_main));
  EXPECT_EQ(CurrentTemplate(kButtonTemplate).GetString("backcolor"), "#010203");
  EXPECT_FALSE(Control("button_template")->IsShown());
  ASSERT_TRUE(LoadSkin(Write("t2", ""), g_main));
  EXPECT_EQ(CurrentTemplate(kButtonTemplate), DefaultTemplate(kButtonTemplate));
}

TEST_F(SkinLoaderTest, PrivateControlsAndTheirScripts) {
  ASSERT_TRUE(LoadSkin(Write("s", "<button action='_go' posx='1' posy='1' width='9' height='9' onmousedown='a();'/>"
                                  "<button action='_go' posx='3' posy='3' width='9' height='9' onmousedown='b();'/>"
                                  "<nonsense action='_junk' posx='1' posy='1' width='9' height='9'/>"
                                  "<slider action='_quiet' posx='1' posy='1' width='9' height='9' onmouseup='c();'/>"),
                       g_main));
  int slot = FindControlByName("_go");
  ASSERT_GE(slot, 0);
  EXPECT_EQ(PrivateControl(slot)->GetRect(), wxRect(3, 3, 9, 9));  // the second element re-applies
  EXPECT_EQ(FindControlByName("_junk"), -1);
  const std::string& script = SkinScriptText();
  EXPECT_NE(script.find("function _go_onmousedown(clientX,clientY,button,value)\n{\n  a();\n}"), std::string::npos);
  EXPECT_GT(script.rfind("b();"), script.find("a();"));  // the later definition wins in the script
  EXPECT_NE(script.find("function _quiet_onmouseup"), std::string::npos);

  std::vector<std::string> called;
  SetSkinScriptCaller([&](const std::string& function, int, int, int) { called.push_back(function); });
  ControlEvent press;
  press.kind = kEventMouseDown;
  press.button = 1;
  PrivateControl(slot)->SendEvent(press);
  SetSkinScriptCaller(nullptr);
  ASSERT_EQ(called.size(), 1u);
  EXPECT_EQ(called[0], "_go_onmousedown");
  if (PrivateControl(slot)->HasCapture()) PrivateControl(slot)->ReleaseMouse();
}

TEST_F(SkinLoaderTest, LoadingTwiceGivesTheSameWindowAndBrokenFilesKeepIt) {
  std::string path = Write("twice", "<button action='deck_load' deck='1' posx='4' posy='5' width='20' height='10'/>"
                                    "<group action='_g' posx='0' posy='50' width='100' height='80' panels='2'>"
                                    "<button action='_b' panel='1' posx='1' posy='1' width='9' height='9'/></group>");
  auto snapshot = [] {
    std::vector<std::pair<bool, wxRect>> state;
    for (auto& row : ControlTable) {
      for (ZQCustomControl* control : row) {
        if (control) state.emplace_back(control->IsShown(), control->GetRect());
      }
    }
    return state;
  };
  ASSERT_TRUE(LoadSkin(path, g_main));
  auto first = snapshot();
  int privateSlot = FindControlByName("_b");
  ASSERT_TRUE(LoadSkin(path, g_main));
  EXPECT_EQ(snapshot(), first);
  EXPECT_EQ(FindControlByName("_b"), privateSlot);

  EXPECT_FALSE(LoadSkin(Write("bad", "<button action='deck_load' deck='1'", ""), g_main));  // not well formed
  EXPECT_FALSE(LoadSkin(Write("root", "", "png", "notskin skinname='x'"), g_main));
  EXPECT_FALSE(LoadSkin(Write("nobitmap", "<button action='close' posx='1' posy='1' width='5' height='5'/>", ""),
                        g_main));
  EXPECT_FALSE(LoadSkin((dir_ / "missing.xml").string(), g_main));
  EXPECT_EQ(CurrentSkinPath(), path);
  EXPECT_EQ(snapshot(), first);
}

TEST_F(SkinLoaderTest, ButtonPressesAndLearnMode) {
  ASSERT_TRUE(LoadSkin(Write("b", "<button action='deck_monitor' deck='0' posx='1' posy='1' width='20' height='9' "
                                  "isswitch='yes'/>"),
                       g_main));
  auto* button = dynamic_cast<CZQButton*>(Control("deck_monitor", 0));
  int presses = 0;
  button->onPress = [&](int, int, int) { ++presses; };
  ControlEvent down, up;
  down.kind = kEventMouseDown, down.button = 1;
  up.kind = kEventMouseUp, up.button = 1;
  button->SendEvent(down);
  button->SendEvent(up);
  EXPECT_TRUE(button->Selected());
  // Learn mode swallows presses: nothing fires and nothing toggles.
  button->SetLearnMode(true);
  button->SendEvent(down);
  button->SendEvent(up);
  ControlEvent key;
  key.kind = kEventBoundKey;
  button->SendEvent(key);
  EXPECT_EQ(presses, 1);
  EXPECT_TRUE(button->Selected());
  button->SetLearnMode(false);
  // A control with no key slots never enters learn mode.
  button->SetKeySlotCount(0);
  button->SetLearnMode(true);
  EXPECT_FALSE(button->LearnMode());
  button->SendEvent(key);
  EXPECT_EQ(presses, 2);
  button->onPress = nullptr;
  if (button->HasCapture()) button->ReleaseMouse();
}

TEST_F(SkinLoaderTest, TheSkinsConfirmDialogAsksAndItsButtonsAnswer) {
  // The dialog window comes after the main window in the file.
  ASSERT_TRUE(LoadSkin(Write("d", "</window><window name='confirm_dialog' width='300' height='100'>"
                                  "<textarea action='special_dialog_message' posx='10' posy='10' width='280' height='30'/>"
                                  "<button action='special_dialog_ok' posx='10' posy='60' width='60' height='24'/>"
                                  "<button action='special_dialog_cancel' posx='200' posy='60' width='60' height='24'/>"),
                       g_main));
  auto* message = dynamic_cast<CZQSkinnedControl*>(Control("special_dialog_message"));
  for (const char* answer : {"special_dialog_ok", "special_dialog_cancel"}) {
    std::string shown;
    // The click comes while the dialog runs its own loop, as the user's would.
    wxTheApp->CallAfter([&, answer] {
      shown = message->Text();
      ControlEvent down, up;
      down.kind = kEventMouseDown, down.button = 1;
      up.kind = kEventMouseUp, up.button = 1;
      Control(answer)->SendEvent(down);
      Control(answer)->SendEvent(up);
    });
    const bool yes = AskConfirm(g_main, "Quit now?");
    EXPECT_EQ(yes, std::string(answer) == "special_dialog_ok") << answer;
    EXPECT_EQ(shown, "Quit now?");
  }
}

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  wxApp::SetInstance(new wxApp());
  if (!wxEntryStart(argc, argv)) {
    std::fprintf(stderr, "no display\n");
    return 1;
  }
  wxInitAllImageHandlers();
  g_main = new ZQMainWindow(nullptr);
  CreateCatalogueControls(g_main);
  CreateSkinDialogWindows(g_main);
  g_frame = new wxFrame(nullptr, wxID_ANY, "framework");
  g_frame->Show();
  int result = RUN_ALL_TESTS();
  g_frame->Destroy();
  g_main->CloseWithoutAsking();
  wxTheApp->ProcessPendingEvents();
  wxEntryCleanup();
  return result;
}
