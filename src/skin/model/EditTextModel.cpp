#include "skin/model/EditTextModel.h"

namespace {

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

std::string EncodeUtf8(char32_t c) {
  std::string out;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
  return out;
}

}  // namespace

void EditTextModel::SetText(const std::string& text) {
  text_ = text.substr(0, kMaxBytes);
  // A cut inside a character would leave a broken sequence behind.
  while (!text_.empty() && text_.size() < text.size() && IsContinuation(text[text_.size()])) text_.pop_back();
  caret_ = text_.size();
}

bool EditTextModel::Type(char32_t character) {
  const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
  if (character < 0x20 || character == 0x7F || surrogate || character > 0x10FFFF) return false;
  const std::string bytes = EncodeUtf8(character);
  if (text_.size() + bytes.size() > kMaxBytes) return false;
  text_.insert(caret_, bytes);
  caret_ += bytes.size();
  return true;
}

bool EditTextModel::Backspace() {
  if (caret_ == 0) return false;
  const size_t from = PreviousBoundary(caret_);
  text_.erase(from, caret_ - from);
  caret_ = from;
  return true;
}

bool EditTextModel::Delete() {
  if (caret_ >= text_.size()) return false;
  text_.erase(caret_, NextBoundary(caret_) - caret_);
  return true;
}

bool EditTextModel::Clear() {
  const bool had = !text_.empty();
  text_.clear();
  caret_ = 0;
  return had;
}

void EditTextModel::Left() { caret_ = PreviousBoundary(caret_); }
void EditTextModel::Right() { caret_ = NextBoundary(caret_); }

void EditTextModel::SetCaret(size_t offset) {
  caret_ = offset >= text_.size() ? text_.size() : offset;
  while (caret_ > 0 && IsContinuation(text_[caret_])) --caret_;
}

size_t EditTextModel::PreviousBoundary(size_t offset) const {
  if (offset == 0) return 0;
  --offset;
  while (offset > 0 && IsContinuation(text_[offset])) --offset;
  return offset;
}

size_t EditTextModel::NextBoundary(size_t offset) const {
  if (offset >= text_.size()) return text_.size();
  ++offset;
  while (offset < text_.size() && IsContinuation(text_[offset])) ++offset;
  return offset;
}
