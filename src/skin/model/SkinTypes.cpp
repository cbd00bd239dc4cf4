#include "skin/model/SkinTypes.h"

#include <cstring>

namespace {

const char* const kTypeNames[kControlTypeCount] = {
    "none",         "button",     "slider",     "textarea",  "image",      "dropzone",   "dropdownlist",
    "browser",      "list",       "editarea",   "vumeter",   "sounddisplay", "sg_playlive", "sg_wheel",
    "sg_beatpos",   "sg_video",   "sg_flow",    "sg_browser", "group",     "unknown"};

const char* const kWindowNames[] = {"main", "confirm_dialog", "message_dialog", "_window_MAX"};

}  // namespace

int ControlTypeFromName(const char* tag) {
  if (!tag) return kNone;
  for (int i = 0; i < kControlTypeCount; ++i) {
    if (std::strcmp(tag, kTypeNames[i]) == 0) return i;
  }
  return kNone;
}

const char* ControlTypeName(int type) {
  return type >= 0 && type < kControlTypeCount ? kTypeNames[type] : "none";
}

int WindowIndexFromName(const char* name) {
  if (!name) return -1;
  for (int i = 0; i < kWindowMax; ++i) {
    if (std::strcmp(name, kWindowNames[i]) == 0) return i;
  }
  return -1;
}
