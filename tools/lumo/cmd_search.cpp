// lumo search: the browser's search over the library's lists: TEXT is a substring, in any case,
// of a row's title, artist, comment or album.

#include <cstdio>
#include <set>
#include <string>

#include "Commands.h"
#include "LibraryCommand.h"

namespace {

void Usage() {
  std::fprintf(stderr,
               "usage: lumo search TEXT [--list NAME] [--json]\n"
               "  The rows of every list (or of list NAME) whose title, artist, comment or album holds TEXT.\n");
}

}  // namespace

int RunSearchCommand(int argc, char** argv) {
  std::string text, only;
  bool json = false, haveText = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--json") {
      json = true;
    } else if (arg == "--list" && i + 1 < argc) {
      only = argv[++i];
    } else if ((arg.empty() || arg[0] != '-') && !haveText) {
      text = arg;
      haveText = true;
    } else {
      Usage();
      return 2;
    }
  }
  if (!haveText || text.empty()) {
    Usage();
    return 2;
  }
  LibrarySession session;
  if (!session.ok()) return 1;
  CZQBrowser& browser = session.browser();
  if (!only.empty() && browser.FindList(only) < 0) {
    std::fprintf(stderr, "lumo search: no list named \"%s\"\n", only.c_str());
    return 1;
  }
  // One row per file, the first list that holds it giving its texts.
  CZQAbstractList found;
  std::set<std::string> seen;
  for (int i = 0; i < CZQBrowser::kMaxLists; ++i) {
    CZQAbstractList* list = browser.List(i);
    if (!list || (!only.empty() && list->name != only)) continue;
    for (const TZQListElement& row : list->AllRows()) {
      if (seen.insert(row.column[kColPath]).second) found.AddRow(row);
    }
  }
  found.SetSearch(text);
  TZQListElement row;
  for (int i = 0; found.GetRow(i, row); ++i) PrintRow(i + 1, row, json);
  return 0;
}
