#pragma once
// An empty file at folder/name, its folders made: lists take files by name and extension, so
// most library tests need files that exist rather than real audio.

#include <filesystem>
#include <string>

#include "app/base/AtomicFile.h"
#include "support/TestFiles.h"

inline std::string TouchFile(const TempFolder& folder, const std::string& name) {
  const std::string path = folder.File(name);
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  WriteFileAtomically(path, "");
  return path;
}
