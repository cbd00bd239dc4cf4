#pragma once
// The program's one main window: a frame whose background and controls come from the skin.
// It owns the main tab group ("big_tab"), goes full screen when the skin fits the display
// exactly, and hands its close to the application's close routine.
//
// Threads: GUI thread only. Created by the application object; destroys itself on close.

#include <wx/frame.h>
#include <wx/timer.h>

#include <functional>

#include "skin/ZQBaseWindow.h"
#include "skin/ZQCustomGroup.h"

class ZQCustomControl;

class ZQMainWindow : public wxFrame, public ZQBaseWindow {
 public:
  // `onClose` runs once when the window closes, before it is destroyed.
  explicit ZQMainWindow(std::function<void()> onClose);
  ~ZQMainWindow() override;

  void BeginUpdate() override { Freeze(); }
  void EndUpdate() override { Thaw(); }
  wxWindow* GetParentWindow() override { return GetParent(); }
  void MoveTo(int x, int y) override { Move(x, y); }
  void ApplySize(int width, int height) override { SetClientSize(width, height); }

  ZQCustomGroup& MainGroup() { return mainGroup_; }
  // Leaves full screen (restoring the stored rectangle) or enters it, asking first when the
  // skin's size differs from the display's.
  void ToggleFullScreen();
  // Full screen without asking; the window goes to the display's corner first, since without a
  // window manager the request alone moves nothing.
  void EnterFullScreen();
  bool InFullScreen() const { return IsFullScreen(); }

  // The shown control under a point on the screen; null when there is none.
  ZQCustomControl* ControlAtScreen(const wxPoint& screenPoint);
  // Runs once after the first paint of the window (start-up timing and tests).
  void SetFirstPaintHook(std::function<void()> hook) { firstPaintHook_ = std::move(hook); }
  // Closes without the question (termination signal, tests).
  void CloseWithoutAsking();

 // A skin has one size: the frame takes the skin's size and the user cannot drag it larger.
  static constexpr long kFrameStyle = wxCAPTION | wxSYSTEM_MENU | wxMINIMIZE_BOX | wxCLOSE_BOX;

 protected:
  void DoSetClientSize(int width, int height) override;

 private:
  void OnPaint(wxPaintEvent& event);
  void OnClose(wxCloseEvent& event);

  std::function<void()> onClose_;
  std::function<void()> firstPaintHook_;
  ZQCustomGroup mainGroup_;
  wxRect storedRect_;
  bool asking_ = true;
  bool closed_ = false;
};

// The main window; null before it exists and after it closed. Late periodic jobs test it.
ZQMainWindow* MainWindow();
// Clears the main window pointer while the window still stands: the close does this once the
// application threads have stopped and before the audio outputs close, so a late tick or
// worker round returns at once instead of reaching a half-closed engine.
void ForgetMainWindow();
