#include "app/base/PathNames.h"

#include <cctype>

namespace {

// The position of the file name's extension dot, npos when it has none (a leading dot starts a
// hidden file's name, not an extension).
size_t ExtensionDot(std::string_view path) {
  const size_t slash = path.find_last_of('/');
  const size_t start = slash == std::string_view::npos ? 0 : slash + 1;
  const size_t dot = path.find_last_of('.');
  return dot == std::string_view::npos || dot <= start ? std::string_view::npos : dot;
}

}  // namespace

std::string FileNameOf(std::string_view path) {
  const size_t slash = path.find_last_of('/');
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string FolderPartOf(std::string_view path, std::string_view whenNone) {
  const size_t slash = path.find_last_of('/');
  return std::string(slash == std::string_view::npos ? whenNone : path.substr(0, slash + 1));
}

std::string LowerExtensionOf(std::string_view path) {
  const size_t dot = ExtensionDot(path);
  if (dot == std::string_view::npos) return "";
  std::string extension(path.substr(dot + 1));
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return extension;
}

std::string TitleFromFileName(std::string_view path) {
  const size_t dot = ExtensionDot(path);
  return FileNameOf(dot == std::string_view::npos ? path : path.substr(0, dot));
}
