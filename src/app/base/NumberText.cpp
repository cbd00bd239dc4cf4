#include "app/base/NumberText.h"

#include <charconv>
#include <cmath>

std::string FormatFixed(double value, int decimals) {
  if (!std::isfinite(value)) value = 0.0;
  char buffer[64];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed,
                              decimals);
  if (result.ec != std::errc()) return "0";
  return std::string(buffer, result.ptr);
}

namespace {
std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  return text;
}
}  // namespace

bool ParseDouble(std::string_view text, double& value) {
  text = Trimmed(text);
  double parsed = 0;
  auto result = std::from_chars(text.data(), text.data() + text.size(), parsed);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return false;
  value = parsed;
  return true;
}

bool ParseInt(std::string_view text, long long& value) {
  text = Trimmed(text);
  long long parsed = 0;
  auto result = std::from_chars(text.data(), text.data() + text.size(), parsed);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return false;
  value = parsed;
  return true;
}
