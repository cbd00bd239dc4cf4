// An image control on a real window: its frames and its button-like presses.
#include <gtest/gtest.h>

#include <vector>

#include "skin/ImageControl.h"
#include "skin/ZQMainWindow.h"

ZQMainWindow* TestMainWindow();

namespace {

TEST(ImageControl, FramesClampAndADragOffReleasesOnce) {
  auto* image = new CZQImageControl(TestMainWindow(), 0, -1);
  SkinAttributeList list;
  for (auto [name, value] : {std::pair{"posx", "0"}, {"posy", "0"}, {"width", "20"}, {"height", "10"},
                             {"frames", "3"}}) {
    list.Add(name, value);
  }
  image->LoadAttributes(list);
  image->SetFrame(7);
  EXPECT_EQ(image->Frame(), 2);
  image->SetFrame(-1);
  EXPECT_EQ(image->Frame(), 0);

  std::vector<int> calls;  // 1 press, 2 release, 3 right press, 4 right release; values must be -1
  auto note = [&](int code) { return [&calls, code](int value, int, int) { calls.push_back(value == -1 ? code : 0); }; };
  image->onPress = note(1), image->onRelease = note(2), image->onPressAlt = note(3), image->onReleaseAlt = note(4);
  auto send = [&](int kind, int button) {
    ControlEvent event;
    event.kind = kind;
    event.button = button;
    image->SendEvent(event);
  };
  send(kEventMouseDown, 1);
  send(kEventLeave, 0);    // dragged off: released now...
  send(kEventMouseUp, 1);  // ...and not again when the button comes up
  send(kEventMouseDown, 3);
  send(kEventMouseUp, 3);
  EXPECT_EQ(calls, (std::vector<int>{1, 2, 3, 4}));
  image->Destroy();
}

}  // namespace
