// lumo list: the library's lists from the command line: import playlists, folders and iTunes
// libraries into a list, print a list's rows, export a list as .m3u.

#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <cstdlib>
#include <string>
#include <vector>

#include "Commands.h"
#include "LibraryCommand.h"
#include "app/base/AtomicFile.h"
#include "library/ITunesLibrary.h"
#include "library/M3uFile.h"

namespace {

struct Options {
  std::string name;
  std::vector<std::string> imports;
  std::string playlist;
  std::string exportPath;
  bool json = false;
};

void Usage() {
  std::fprintf(stderr,
               "usage: lumo list [NAME] [--json] [--import PATH]... [--playlist P] [--export FILE.m3u]\n"
               "  Without NAME: the lists and their row counts. With NAME: the list's rows.\n"
               "  --import adds an .m3u/.m3u8/.knl playlist, a folder (recursively), an audio file or an\n"
               "  iTunes library .xml (all tracks, or playlist P by name or id) to the list, making it.\n"
               "  --export writes the list as an extended .m3u.\n");
}

bool ParseOptions(int argc, char** argv, Options& o) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    auto value = [&](std::string& out) {
      if (i + 1 >= argc) return false;
      out = argv[++i];
      return true;
    };
    if (arg == "--json") {
      o.json = true;
    } else if (arg == "--import") {
      std::string path;
      if (!value(path)) return false;
      o.imports.push_back(path);
    } else if (arg == "--playlist") {
      if (!value(o.playlist)) return false;
    } else if (arg == "--export") {
      if (!value(o.exportPath)) return false;
    } else if (!arg.empty() && arg[0] == '-') {
      return false;
    } else if (o.name.empty()) {
      o.name = arg;
    } else {
      return false;
    }
  }
  if (o.name.empty() && (!o.imports.empty() || !o.exportPath.empty())) return false;
  return o.playlist.empty() || !o.imports.empty();
}

bool EndsWith(const std::string& text, const std::string& tail) {
  std::string lower = text;
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower.size() >= tail.size() && lower.compare(lower.size() - tail.size(), tail.size(), tail) == 0;
}

// The iTunes playlist named or numbered P; 0 for every track, -1 when there is none such.
int ITunesPlaylistId(const std::string& library, const std::string& wanted) {
  if (wanted.empty()) return 0;
  std::vector<ITunesPlaylist> playlists;
  ScanForPlaylists(library, playlists);
  for (const ITunesPlaylist& p : playlists) {
    if (p.name == wanted || std::to_string(p.id) == wanted) return p.id;
  }
  return -1;
}

bool Import(CZQAbstractList& list, const std::string& path, const std::string& playlist) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    std::fprintf(stderr, "lumo list: %s: no such file or folder\n", path.c_str());
    return false;
  }
  const int before = list.GetTotalCount();
  if (S_ISDIR(info.st_mode)) {
    list.AddFolder(path, true, false);
    list.FlushJobs();
  } else if (EndsWith(path, ".xml")) {
    const int id = ITunesPlaylistId(path, playlist);
    if (id < 0) {
      std::fprintf(stderr, "lumo list: %s has no playlist \"%s\"\n", path.c_str(), playlist.c_str());
      return false;
    }
    if (ParseITunesXML(path, list, id) < 0) {
      std::fprintf(stderr, "lumo list: %s is not an iTunes library\n", path.c_str());
      return false;
    }
  } else if (EndsWith(path, ".m3u") || EndsWith(path, ".m3u8") || EndsWith(path, ".knl")) {
    if (!list.LoadFromFile(path, false)) {
      std::fprintf(stderr, "lumo list: cannot read the playlist %s\n", path.c_str());
      return false;
    }
  } else if (!list.AddFile(path, 1)) {
    std::fprintf(stderr, "lumo list: %s is not a kind of file lists take\n", path.c_str());
    return false;
  }
  list.FlushJobs();
  std::fprintf(stderr, "lumo list: %d rows from %s\n", list.GetTotalCount() - before, path.c_str());
  return true;
}

}  // namespace

int RunListCommand(int argc, char** argv) {
  Options o;
  if (!ParseOptions(argc, argv, o)) {
    Usage();
    return 2;
  }
  LibrarySession session;
  if (!session.ok()) return 1;
  CZQBrowser& browser = session.browser();
  if (o.name.empty()) {
    for (int i = 0; i < CZQBrowser::kMaxLists; ++i) {
      if (CZQAbstractList* list = browser.List(i)) std::printf("%6d  %s\n", list->GetTotalCount(), list->name.c_str());
    }
    return 0;
  }
  int index = browser.FindList(o.name);
  if (index < 0 && !o.imports.empty()) index = browser.CreateList(o.name);
  if (index < 0) {
    std::fprintf(stderr, "lumo list: no list named \"%s\"\n", o.name.c_str());
    return 1;
  }
  CZQAbstractList& list = *browser.List(index);
  for (const std::string& path : o.imports) {
    // Rows keep absolute paths, so the list works from any folder.
    std::error_code error;
    const std::string absolute = std::filesystem::absolute(path, error).lexically_normal().string();
    if (!Import(list, error ? path : absolute, o.playlist)) return 1;
  }
  if (!o.imports.empty() && !session.Save("list")) return 1;
  if (!o.exportPath.empty()) {
    if (!WriteFileAtomically(o.exportPath, WriteM3u(list.AllRows()))) {
      std::fprintf(stderr, "lumo list: cannot write %s\n", o.exportPath.c_str());
      return 1;
    }
    return 0;
  }
  if (o.imports.empty()) {
    TZQListElement row;
    for (int i = 0; list.GetRow(i, row); ++i) PrintRow(i + 1, row, o.json);
  }
  return 0;
}
