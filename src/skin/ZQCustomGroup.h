#pragma once
// A stack of up to ten panels of which one shows: the tabs of a skin. Not a window itself; the
// panels are children of the group's window.
//
// Threads: GUI thread only. The group owns its panels (they are destroyed with it).

#include <wx/window.h>

#include <string>

#include "skin/model/SkinAttributeList.h"

class ZQCustomPanel;

class ZQCustomGroup : public wxObject {
 public:
  static constexpr int kMaxPanels = 10;

  explicit ZQCustomGroup(wxWindow* window);
  ~ZQCustomGroup() override;

  // Adds a panel; nothing beyond ten. The first one shows at once.
  void AddPanel();
  // Shows one panel and hides the others; showing the current panel again repaints it.
  void ShowPanel(int index);
  void ShowNextOrPrevious(bool forward);
  // -1 gives the current panel; null when there is no such panel.
  ZQCustomPanel* PanelAt(int index) const;
  // Reads posx posy height width transparent panels (clamped to 10), discards the panels and
  // makes that many, giving each its "up%dx"/"up%dy" corner as upx/upy.
  void ApplyAttributes(SkinAttributeList& list);
  // Discards every panel (the loader does this before a new skin).
  void Clear();

  int PanelCount() const { return count_; }
  int CurrentPanel() const { return current_; }
  wxWindow* Window() const { return window_; }
  void SetName(const std::string& name) { name_ = name; }
  const std::string& Name() const { return name_; }

 private:
  wxWindow* window_;
  int posx_ = 10, posy_ = 10, width_ = 100, height_ = 100;
  bool transparent_ = false;
  int count_ = 0;
  int current_ = 0;
  ZQCustomPanel* panels_[kMaxPanels] = {};
  std::string name_;
};
