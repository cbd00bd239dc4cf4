#pragma once
// CZQEditText: an edit box drawn in the skin's font and colours over an EditTextModel. The
// search box ("et_search") searches the library's list as each character is typed; Escape
// empties it, Enter and the arrow keys hand the keyboard to the list. The dialog's input line
// ("special_dialog_input") is a plain edit box.
//
// Threads: GUI thread only.

#include "skin/SkinControls.h"
#include "skin/model/EditTextModel.h"

class CZQEditText : public CZQSkinnedControl {
 public:
  CZQEditText(wxWindow* parent, int logicalId, int deck);
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;

  const std::string& Value() const { return model_.Text(); }
  void SetValue(const std::string& text);
  void ClearValue();

 private:
  bool IsSearchBox() const;
  // The model changed: the search box searches.
  void Changed();

  EditTextModel model_;
};

// Empties the search box and ends the search ("search_stop").
void ClearSearchBox();
// True while an edit box has the keyboard: typed letters are text then, not shortcuts.
bool EditTextHasFocus();
