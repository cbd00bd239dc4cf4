#include "skin/DropDown.h"

#include <wx/menu.h>

namespace {
constexpr int kFirstItemId = 1000;
}  // namespace

void CZQDropDownList::SetItems(std::vector<std::string> items) {
  items_ = std::move(items);
  if (current_ >= static_cast<int>(items_.size())) current_ = -1;
  SetText(current_ >= 0 ? items_[static_cast<size_t>(current_)] : std::string());
}

void CZQDropDownList::SetCurrent(int index) {
  if (index < -1 || index >= static_cast<int>(items_.size())) return;
  current_ = index;
  SetText(index >= 0 ? items_[static_cast<size_t>(index)] : std::string());
}

void CZQDropDownList::HandleEvent(const ControlEvent& event) {
  if (event.kind != kEventMouseDown || (event.button != 1 && event.button != 3) || items_.empty()) return;
  wxMenu menu;
  for (size_t i = 0; i < items_.size(); ++i) {
    menu.AppendCheckItem(kFirstItemId + static_cast<int>(i), wxString::FromUTF8(items_[i]));
    if (static_cast<int>(i) == current_) menu.Check(kFirstItemId + static_cast<int>(i), true);
  }
  const int choice = GetPopupMenuSelectionFromUser(menu, 0, ControlHeight()) - kFirstItemId;
  if (choice < 0 || choice >= static_cast<int>(items_.size())) return;
  SetCurrent(choice);
  if (onPress) onPress(choice, LogicalId(), Deck());
}
