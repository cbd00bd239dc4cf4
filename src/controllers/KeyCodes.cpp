#include "controllers/KeyCodes.h"

namespace {
constexpr int kStoredSpecialFirst = 193;   // Special01 in the file
constexpr int kToolkitSpecialFirst = 397;  // WXK_SPECIAL1 in wxWidgets 3.2
constexpr int kSpecialCount = 20;
constexpr int kToolkitLastShared = 396;    // up to WXK_WINDOWS_MENU and its neighbour
constexpr int kToolkitLastKey = 999;       // 3.2's browser, volume and media keys lie above 416
constexpr int kStoredCodeCount = 8000;
}  // namespace

int StoredKeyCode(int code) {
  if (code >= kToolkitSpecialFirst && code < kToolkitSpecialFirst + kSpecialCount) {
    return code - kToolkitSpecialFirst + kStoredSpecialFirst;
  }
  if (code > kToolkitLastShared && code <= kToolkitLastKey) return -1;
  return code >= 0 && code < kStoredCodeCount ? code : -1;
}

int ToolkitKeyCode(int code) {
  if (code >= kStoredSpecialFirst && code < kStoredSpecialFirst + kSpecialCount) {
    return code - kStoredSpecialFirst + kToolkitSpecialFirst;
  }
  return code;
}
