#pragma once
// CZQDropDownList: shows its current item like a static text; a left or right press opens a
// pop-up menu of the items at the control, and a choice makes it current and calls onPress
// with its index. Whoever binds the control gives it its items.
//
// Threads: GUI thread only.

#include <string>
#include <vector>

#include "skin/SkinControls.h"

class CZQDropDownList : public CZQSkinnedControl {
 public:
  CZQDropDownList(wxWindow* parent, int logicalId, int deck) : CZQSkinnedControl(parent, logicalId, deck, 6) {}
  void HandleEvent(const ControlEvent& event) override;

  void SetItems(std::vector<std::string> items);
  const std::vector<std::string>& Items() const { return items_; }
  // -1 shows no item; out of range is ignored.
  void SetCurrent(int index);
  int Current() const { return current_; }

 private:
  std::vector<std::string> items_;
  int current_ = -1;
};
