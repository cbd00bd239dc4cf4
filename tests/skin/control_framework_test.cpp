// The control framework on real windows (Xvfb): the mouse dispatch's double-click rule, sliders
// through every input form, tab groups, and a size change that keeps a control's value.
#include <gtest/gtest.h>
#include <wx/image.h>
#include <wx/wx.h>

#include "skin/SkinControls.h"
#include "skin/SkinDraw.h"
#include "skin/ZQCustomGroup.h"
#include "skin/ZQCustomPanel.h"

extern wxFrame* g_frame;  // made by the test program's main

namespace {

SkinAttributeList Geometry(int x, int y, int w, int h) {
  SkinAttributeList list;
  list.Add("posx", std::to_string(x));
  list.Add("posy", std::to_string(y));
  list.Add("width", std::to_string(w));
  list.Add("height", std::to_string(h));
  list.Add("graphics_mode", "1");
  return list;
}

void Mouse(wxWindow* window, wxEventType type) {
  wxMouseEvent event(type);
  event.SetEventObject(window);
  event.SetPosition(wxPoint(2, 2));
  if (type == wxEVT_LEFT_DOWN || type == wxEVT_LEFT_DCLICK) event.m_leftDown = true;
  window->GetEventHandler()->ProcessEvent(event);
}

}  // namespace

TEST(ControlFramework, DoubleClickIsASecondPressUnlessWanted) {
  auto* button = new CZQButton(g_frame, 1, -1);
  SkinAttributeList list = Geometry(0, 0, 20, 10);
  button->LoadAttributes(list);
  int presses = 0, doubles = 0;
  button->onPress = [&](int, int, int) { ++presses; };
  button->onDoubleClick = [&](int, int, int) { ++doubles; };
  Mouse(button, wxEVT_LEFT_DOWN);
  Mouse(button, wxEVT_LEFT_UP);
  Mouse(button, wxEVT_LEFT_DCLICK);
  Mouse(button, wxEVT_LEFT_UP);
  EXPECT_EQ(presses, 2);
  EXPECT_EQ(doubles, 0);
  button->SetWantsDoubleClick(true);
  Mouse(button, wxEVT_LEFT_DCLICK);
  EXPECT_EQ(presses, 2);
  EXPECT_EQ(doubles, 1);
  button->Destroy();
}

TEST(ControlFramework, AButtonEventNamesTheButtonThatChanged) {
  // A right click while the left button is held (a DJ holding a fader and right-clicking a
  // hot cue) is a right-button event, not a left one.
  wxMouseEvent rightUp(wxEVT_RIGHT_UP);
  rightUp.m_leftDown = true;
  EXPECT_EQ(ControlEventButton(rightUp), 3);
  wxMouseEvent middleDown(wxEVT_MIDDLE_DOWN);
  middleDown.m_leftDown = true;
  middleDown.m_middleDown = true;
  EXPECT_EQ(ControlEventButton(middleDown), 2);
  wxMouseEvent leftUp(wxEVT_LEFT_UP);
  leftUp.m_rightDown = true;
  EXPECT_EQ(ControlEventButton(leftUp), 1);
  // A drag has no changed button: it names the one held.
  wxMouseEvent drag(wxEVT_MOTION);
  drag.m_rightDown = true;
  EXPECT_EQ(ControlEventButton(drag), 3);
  EXPECT_EQ(ControlEventButton(wxMouseEvent(wxEVT_MOTION)), 0);
}

TEST(ControlFramework, SliderTakesEveryInputFormAndKeepsItsValue) {
  auto* slider = new CZQSlider(g_frame, 2, 0);
  SkinAttributeList list = Geometry(0, 0, 20, 100);
  slider->LoadAttributes(list);
  std::vector<int> values;
  slider->onRelease = [&](int value, int, int deck) { values.push_back(value + 1000 * deck); };
  ControlEvent midi;
  midi.kind = kEventMessage, midi.status = 0xB0, midi.value = 100;
  slider->SendEvent(midi);
  midi.value = 500;  // out of range: clamped, as a script might send
  slider->SendEvent(midi);
  ControlEvent wheel;
  wheel.kind = kEventWheel, wheel.status = -120;
  slider->SendEvent(wheel);
  // A private slider runs 0..127; a wheel notch moves a fiftieth of that.
  EXPECT_EQ(values, (std::vector<int>{100, 127, 124}));
  // A new size from a skin keeps the value; only the picture is remade.
  SkinAttributeList bigger = Geometry(5, 5, 40, 200);
  slider->LoadAttributes(bigger);
  EXPECT_EQ(slider->Value(), 124);
  EXPECT_TRUE(slider->HasOffscreen());
  // A vertical slider is at its top for the largest value.
  ControlEvent down;
  down.kind = kEventMouseDown, down.button = 1, down.y = 0;
  slider->SendEvent(down);
  EXPECT_EQ(slider->Value(), 127);
  if (slider->HasCapture()) slider->ReleaseMouse();
  slider->Destroy();
}

TEST(ControlFramework, GroupShowsOnePanelAndStopsAtTen) {
  ZQCustomGroup group(g_frame);
  for (int i = 0; i < 12; ++i) group.AddPanel();
  EXPECT_EQ(group.PanelCount(), ZQCustomGroup::kMaxPanels);
  EXPECT_TRUE(group.PanelAt(0)->IsShown());
  group.ShowPanel(3);
  for (int i = 0; i < group.PanelCount(); ++i) EXPECT_EQ(group.PanelAt(i)->IsShown(), i == 3) << i;
  EXPECT_EQ(group.PanelAt(-1), group.PanelAt(3));
  group.ShowPanel(3);  // again: stays, nothing else changes
  EXPECT_EQ(group.CurrentPanel(), 3);
  group.ShowPanel(10);  // no such panel
  EXPECT_EQ(group.CurrentPanel(), 3);
  group.ShowNextOrPrevious(false);
  EXPECT_EQ(group.CurrentPanel(), 2);
  group.ShowPanel(9);
  group.ShowNextOrPrevious(true);
  EXPECT_EQ(group.CurrentPanel(), 0);
  EXPECT_EQ(group.PanelAt(10), nullptr);
}

TEST(ControlFramework, FontsAndColoursFromSkinText) {
  EXPECT_EQ(FontPointSize("", 0), 8);
  EXPECT_EQ(FontPointSize("Times", 14), 40);
  EXPECT_EQ(FontPointSize("SMALL", 2), 5);
  EXPECT_EQ(FontPointSize("small", 9), 7);
  EXPECT_EQ(FontPointSize("courier", 99), 40);  // clamped to the last step
  EXPECT_TRUE(MakeFont("couriernew", 3, true, false, false).IsOk());
  EXPECT_EQ(ParseColour("#102030"), wxColour(0x10, 0x20, 0x30));
  EXPECT_EQ(ParseColour("blue", *wxRED), *wxRED);
}

// The per-pixel mask mixes (source * mask + destination * (255 - mask)) >> 8, and a constant
// alpha of 255 or more is a plain copy.
TEST(ControlFramework, MaskedAndAlphaBlitsMixAsSpecified) {
  wxImage sourceImage(2, 1);
  sourceImage.SetRGB(0, 0, 200, 40, 0);    // colour
  sourceImage.SetRGB(1, 0, 0, 0, 128);     // mask level in the blue channel
  wxBitmap sourceBitmap(sourceImage, 24);
  wxMemoryDC source(sourceBitmap);
  wxBitmap targetBitmap(1, 1, 24);
  wxMemoryDC target(targetBitmap);
  target.SetBackground(wxBrush(wxColour(100, 100, 100)));
  target.Clear();
  BlitMasked(target, 0, 0, 1, 1, source, 0, 0, 1, 0);
  wxColour mixed;
  target.GetPixel(0, 0, &mixed);
  EXPECT_EQ(mixed, wxColour((200 * 128 + 100 * 127) >> 8, (40 * 128 + 100 * 127) >> 8, (0 * 128 + 100 * 127) >> 8));
  BlitAlpha(target, 0, 0, 1, 1, source, 0, 0, 255);
  target.GetPixel(0, 0, &mixed);
  EXPECT_EQ(mixed, wxColour(200, 40, 0));
}
