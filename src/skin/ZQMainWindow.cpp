#include "skin/ZQMainWindow.h"

#include <wx/display.h>

#include "app/Language.h"
#include "app/base/Trace.h"
#include "skin/ControlTable.h"
#include "skin/SkinnedDialogs.h"
#include "skin/ZQCustomControl.h"

namespace {
ZQMainWindow* g_mainWindow = nullptr;
}  // namespace

ZQMainWindow* MainWindow() { return g_mainWindow; }
void ForgetMainWindow() { g_mainWindow = nullptr; }

ZQCustomControl* ControlUnderPointer(const wxPoint& screenPoint) {
  return g_mainWindow ? g_mainWindow->ControlAtScreen(screenPoint) : nullptr;
}

ZQMainWindow::ZQMainWindow(std::function<void()> onClose)
    : wxFrame(nullptr, wxID_ANY, "Zorvik Lumo 2", wxPoint(100, 100), wxSize(400, 400), kFrameStyle),
      onClose_(std::move(onClose)),
      mainGroup_(this) {
  g_mainWindow = this;
  SetBackgroundStyle(wxBG_STYLE_PAINT);
  Bind(wxEVT_PAINT, &ZQMainWindow::OnPaint, this);
  Bind(wxEVT_CLOSE_WINDOW, &ZQMainWindow::OnClose, this);
}

ZQMainWindow::~ZQMainWindow() {
  if (g_mainWindow == this) g_mainWindow = nullptr;
}

void ZQMainWindow::OnPaint(wxPaintEvent&) {
  PaintSkinBackground(this);
  if (firstPaintHook_) {
    auto hook = std::move(firstPaintHook_);
    firstPaintHook_ = nullptr;
    CallAfter(hook);  // after this paint has reached the screen
  }
}

void ZQMainWindow::DoSetClientSize(int width, int height) {
  SetSizeHints(wxDefaultSize, wxDefaultSize);
  wxFrame::DoSetClientSize(width, height);
  if (!IsFullScreen()) SetSizeHints(GetSize(), GetSize());
}

void ZQMainWindow::EnterFullScreen() {
  storedRect_ = GetRect();
  SetSizeHints(wxDefaultSize, wxDefaultSize);
  int index = wxDisplay::GetFromWindow(this);
  wxRect display = wxDisplay(index == wxNOT_FOUND ? 0u : static_cast<unsigned>(index)).GetGeometry();
  Move(display.GetTopLeft());
  ShowFullScreen(true, wxFULLSCREEN_ALL);
}

void ZQMainWindow::ToggleFullScreen() {
  if (IsFullScreen()) {
    ShowFullScreen(false);
    if (!storedRect_.IsEmpty()) SetSize(storedRect_);
    SetSizeHints(GetSize(), GetSize());
    return;
  }
  int index = wxDisplay::GetFromWindow(this);
  wxSize display = wxDisplay(index == wxNOT_FOUND ? 0u : static_cast<unsigned>(index)).GetGeometry().GetSize();
  if (display != wxSize(SkinWidth(), SkinHeight())) {
    if (!AskConfirm(this, LangString(kStrFullScreenConfirm))) return;
  }
  EnterFullScreen();
}

ZQCustomControl* ZQMainWindow::ControlAtScreen(const wxPoint& screenPoint) {
  wxWindow* window = wxFindWindowAtPoint(screenPoint);
  while (window && window != this) {
    if (auto* control = dynamic_cast<ZQCustomControl*>(window); control && control->IsShown()) return control;
    window = window->GetParent();
  }
  return nullptr;
}

void ZQMainWindow::CloseWithoutAsking() {
  asking_ = false;
  Close(true);
}

void ZQMainWindow::OnClose(wxCloseEvent& event) {
  if (closed_) return;
  if (asking_ && event.CanVeto()) {
    const std::string question = LangString(kStrQuitConfirm);
    if (!question.empty() && !AskConfirm(this, question)) {
      event.Veto();
      return;
    }
  } else if (asking_) {
    TraceLine("we can NOT veto the close signal");
  }
  closed_ = true;
  if (onClose_) onClose_();
  ClearControlTable();
  g_mainWindow = nullptr;
  Destroy();
}
