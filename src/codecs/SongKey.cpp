#include "codecs/SongKey.h"

#include <cstdio>
#include <map>
#include <mutex>

#include "app/base/PathNames.h"
#include "codecs/CdDrive.h"

namespace {

std::mutex g_discMutex;
std::map<std::string, std::string>& DiscIds() {
  static std::map<std::string, std::string> ids;
  return ids;
}

std::string KnownDiscId(const std::string& source) {
  std::lock_guard hold(g_discMutex);
  auto it = DiscIds().find(source);
  return it == DiscIds().end() ? std::string() : it->second;
}

}  // namespace

void RememberCdDiscId(const std::string& source, const std::string& discId) {
  std::lock_guard hold(g_discMutex);
  if (discId.empty()) {
    DiscIds().erase(source);
  } else {
    DiscIds()[source] = discId;
  }
}

std::string SongKeyOf(std::string_view path) {
  CdTrackPath track;
  if (!ParseCdTrackPath(std::string(path), &track)) return FileNameOf(path);
  std::string id = KnownDiscId(track.source);
  // Reading the table of contents remembers the id as a side effect.
  if (id.empty()) id = DescribeCdSource(track.source).discId;
  char name[32];
  std::snprintf(name, sizeof name, "Track%02d.cda", track.trackNumber);
  return id.empty() ? std::string(name) : id + "-" + name;
}
