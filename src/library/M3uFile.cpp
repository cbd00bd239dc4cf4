#include "library/M3uFile.h"

#include <sys/stat.h>

#include "app/base/PathNames.h"
#include "library/ListElement.h"
#include "library/XmlNameText.h"

namespace {

bool Exists(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0;
}

std::string Latin1ToUtf8(const std::string& bytes) {
  std::string out;
  for (unsigned char c : bytes) {
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

bool HasDriveLetter(const std::string& path) {
  return path.size() >= 2 && path[1] == ':' && std::isalpha(static_cast<unsigned char>(path[0]));
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string FileUrlToPath(const std::string& url) {
  if (url.compare(0, 7, "file://") != 0) return url;
  std::string rest = url.substr(7);
  if (rest.compare(0, 9, "localhost") == 0) rest = rest.substr(9);
  std::string path;
  for (size_t i = 0; i < rest.size(); ++i) {
    if (rest[i] == '%' && i + 2 < rest.size() && HexValue(rest[i + 1]) >= 0 && HexValue(rest[i + 2]) >= 0) {
      path += static_cast<char>(HexValue(rest[i + 1]) * 16 + HexValue(rest[i + 2]));
      i += 2;
    } else {
      path += rest[i];
    }
  }
  // "file:///C:/Music/a.mp3" names a drive, not a folder called "C:".
  if (path.size() >= 3 && path[0] == '/' && HasDriveLetter(path.substr(1))) path.erase(0, 1);
  return path;
}

std::string MapForeignPath(const std::string& original, const std::string& folder) {
  std::string path = FileUrlToPath(original);
  for (char& c : path) {
    if (c == '\\') c = '/';
  }
  const bool drive = HasDriveLetter(path);
  std::vector<std::string> candidates;
  if (drive) {
    // "C:" alone or "C:name" (relative to that drive's folder) still names something under "/".
    std::string rest = path.substr(2);
    if (rest.empty() || rest[0] != '/') rest.insert(0, 1, '/');
    candidates.push_back(rest);
  } else if (!path.empty() && path[0] == '/') {
    candidates.push_back(path);
  } else {
    candidates.push_back(folder + path);
  }
  if (drive || (!path.empty() && path[0] == '/')) candidates.push_back(folder + FileNameOf(path));
  for (const std::string& candidate : candidates) {
    if (Exists(candidate)) return candidate;
    if (!IsXmlSafeText(candidate)) {
      const std::string latin = Latin1ToUtf8(candidate);
      if (Exists(latin)) return latin;
    }
  }
  return candidates.front();
}

std::vector<std::string> ParseM3u(const std::string& bytes, const std::string& folder) {
  std::vector<std::string> paths;
  size_t start = bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
  while (start < bytes.size()) {
    size_t end = bytes.find_first_of("\r\n", start);
    if (end == std::string::npos) end = bytes.size();
    std::string line = bytes.substr(start, end - start);
    start = end + 1;
    if (end < bytes.size() && bytes[end] == '\r' && start < bytes.size() && bytes[start] == '\n') ++start;
    while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) line.pop_back();
    if (line.size() < 2 || line[0] == '#') continue;
    paths.push_back(MapForeignPath(line, folder));
  }
  return paths;
}

std::string WriteM3u(const std::vector<TZQListElement>& rows) {
  std::string text = "#EXTM3U\n";
  for (const TZQListElement& row : rows) {
    const std::string& artist = row.column[kColArtist];
    const std::string& title = row.column[kColTitle];
    text += "#EXTINF:" + std::to_string(row.durationMs > 0 ? row.durationMs / 1000 : -1) + ",";
    text += artist.empty() ? title : artist + " - " + title;
    text += "\n" + row.column[kColPath] + "\n";
  }
  return text;
}
