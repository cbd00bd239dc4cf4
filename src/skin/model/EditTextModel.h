#pragma once
// The text and caret of an edit box (the search box, the dialog's input line), kept apart from
// drawing so typing is tested without a display. Text is UTF-8; the caret is a byte offset that
// always sits on a character boundary, and every edit moves it by whole characters.
//
// Threads: GUI thread only.

#include <string>

class EditTextModel {
 public:
  static constexpr size_t kMaxBytes = 255;

  const std::string& Text() const { return text_; }
  size_t Caret() const { return caret_; }
  // Replaces the text; the caret goes to its end.
  void SetText(const std::string& text);

  // Each returns true when the text changed.
  // A typed character (a Unicode code point); control characters and a full box refuse it.
  bool Type(char32_t character);
  bool Backspace();
  bool Delete();
  bool Clear();

  void Left();
  void Right();
  void Home() { caret_ = 0; }
  void End() { caret_ = text_.size(); }
  // Caret at the character boundary nearest a byte offset (a click at a pixel is turned into
  // an offset by the control, which can measure text).
  void SetCaret(size_t offset);

 private:
  size_t PreviousBoundary(size_t offset) const;
  size_t NextBoundary(size_t offset) const;

  std::string text_;
  size_t caret_ = 0;
};
