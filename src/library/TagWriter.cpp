#include "library/TagWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "app/base/Trace.h"

namespace {

std::string FolderOf(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// Copies the file to a fresh temporary beside it that keeps the extension (TagLib picks the
// format by it) and the file's mode. Returns the temporary's path, empty on failure.
std::string CopyBeside(const std::string& path, mode_t mode, std::string* error) {
  const size_t slash = path.find_last_of('/');
  const size_t dot = path.find_last_of('.');
  const std::string extension = dot != std::string::npos && (slash == std::string::npos || dot > slash) ? path.substr(dot) : "";
  std::string pattern = FolderOf(path) + "/.lumo-tags-XXXXXX" + extension;
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  const int out = ::mkstemps(name.data(), static_cast<int>(extension.size()));
  if (out < 0) {
    *error = std::string("can not write in the folder: ") + std::strerror(errno);
    return "";
  }
  const std::string temporary(name.data());
  const int in = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  bool ok = in >= 0 && ::fchmod(out, mode & 07777) == 0;
  char buffer[1 << 16];
  for (ssize_t got; ok && (got = ::read(in, buffer, sizeof buffer)) != 0;) {
    if (got < 0) {
      ok = errno == EINTR;
      continue;
    }
    for (ssize_t done = 0; ok && done < got;) {
      const ssize_t put = ::write(out, buffer + done, static_cast<size_t>(got - done));
      if (put < 0 && errno != EINTR) ok = false;
      if (put > 0) done += put;
    }
  }
  if (!ok) *error = std::string("can not copy the file: ") + std::strerror(errno);
  if (in >= 0) ::close(in);
  ::close(out);
  if (!ok) {
    ::unlink(temporary.c_str());
    return "";
  }
  return temporary;
}

bool SyncFile(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool ok = ::fsync(fd) == 0;
  ::close(fd);
  return ok;
}

bool SetTags(const std::string& path, const TagEdit& edit) {
  try {
    TagLib::FileRef file(path.c_str(), false);
    if (file.isNull() || !file.tag()) return false;
    TagLib::Tag* tag = file.tag();
    tag->setTitle(TagLib::String(edit.title, TagLib::String::UTF8));
    tag->setArtist(TagLib::String(edit.artist, TagLib::String::UTF8));
    tag->setAlbum(TagLib::String(edit.album, TagLib::String::UTF8));
    tag->setGenre(TagLib::String(edit.genre, TagLib::String::UTF8));
    tag->setComment(TagLib::String(edit.comment, TagLib::String::UTF8));
    tag->setTrack(edit.track > 0 ? static_cast<unsigned>(edit.track) : 0);
    tag->setYear(edit.year > 0 ? static_cast<unsigned>(edit.year) : 0);
    TagLib::PropertyMap properties = file.file()->properties();
    if (edit.key.empty()) {
      properties.erase("INITIALKEY");
    } else {
      properties.replace("INITIALKEY", TagLib::StringList(TagLib::String(edit.key, TagLib::String::UTF8)));
    }
    file.file()->setProperties(properties);
    return file.save();
  } catch (...) {
    return false;
  }
}

}  // namespace

bool WriteTags(const std::string& path, const TagEdit& edit, std::string* error) {
  std::string reason;
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
    reason = "the file is not there";
  } else if ((info.st_mode & 0222) == 0 || ::access(path.c_str(), W_OK) != 0) {
    // A file marked read-only stays so even for root, who passes every access check.
    reason = "the file is read-only";
  } else if (::access(FolderOf(path).c_str(), W_OK) != 0) {
    reason = "the folder is read-only";
  }
  std::string temporary;
  if (reason.empty()) temporary = CopyBeside(path, info.st_mode, &reason);
  if (!temporary.empty()) {
    if (!SetTags(temporary, edit)) {
      reason = "the tags of this kind of file can not be written";
    } else if (!SyncFile(temporary) || ::rename(temporary.c_str(), path.c_str()) != 0) {
      reason = std::string("can not replace the file: ") + std::strerror(errno);
    } else {
      SyncFile(FolderOf(path));
      return true;
    }
    ::unlink(temporary.c_str());
  }
  TraceLine("tags of %s NOT written: %s", path.c_str(), reason.c_str());
  if (error) *error = reason;
  return false;
}
