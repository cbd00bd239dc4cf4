#include "skin/ZQCustomGroup.h"

#include <algorithm>
#include <cstdio>

#include "skin/ZQCustomPanel.h"

ZQCustomGroup::ZQCustomGroup(wxWindow* window) : window_(window) {}

ZQCustomGroup::~ZQCustomGroup() { Clear(); }

void ZQCustomGroup::Clear() {
  for (int i = 0; i < count_; ++i) {
    panels_[i]->Destroy();
    panels_[i] = nullptr;
  }
  count_ = 0;
  current_ = 0;
}

void ZQCustomGroup::AddPanel() {
  if (count_ >= kMaxPanels || !window_) return;
  auto* panel = new ZQCustomPanel(window_, count_);
  panel->SetSize(posx_, posy_, width_, height_);
  panels_[count_++] = panel;
  if (count_ == 1) ShowPanel(0);
}

void ZQCustomGroup::ShowPanel(int index) {
  if (index < 0 || index >= count_) return;
  if (index == current_ && panels_[index]->IsShown()) {
    panels_[index]->Refresh();
    return;
  }
  for (int i = 0; i < count_; ++i) {
    panels_[i]->SetActive(i == index);
    if (i != index) panels_[i]->Hide();
  }
  current_ = index;
  panels_[index]->Show();
  panels_[index]->Refresh();
}

void ZQCustomGroup::ShowNextOrPrevious(bool forward) {
  if (count_ == 0) return;
  ShowPanel((current_ + (forward ? 1 : count_ - 1)) % count_);
}

ZQCustomPanel* ZQCustomGroup::PanelAt(int index) const {
  if (index == -1) index = current_;
  return index >= 0 && index < count_ ? panels_[index] : nullptr;
}

void ZQCustomGroup::ApplyAttributes(SkinAttributeList& list) {
  posx_ = list.GetInt("posx");
  posy_ = list.GetInt("posy");
  height_ = list.GetInt("height");
  width_ = list.GetInt("width");
  transparent_ = list.GetBool("transparent");
  int panels = std::clamp(list.GetInt("panels"), 0, kMaxPanels);
  Clear();
  for (int i = 0; i < panels; ++i) AddPanel();
  for (int i = 0; i < count_; ++i) {
    char name[16];
    // A panel without its own corner falls back to its position, like every other element.
    std::snprintf(name, sizeof name, "up%dx", i);
    list.Set("upx", list.Has(name) ? list.GetString(name) : "-1");
    std::snprintf(name, sizeof name, "up%dy", i);
    list.Set("upy", list.Has(name) ? list.GetString(name) : "-1");
    panels_[i]->ApplyAttributes(list);
  }
  if (count_ > 0) {
    current_ = -1;
    ShowPanel(0);
  }
}
