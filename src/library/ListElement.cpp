#include "library/ListElement.h"

#include <atomic>
#include <strings.h>

#include "library/KeyNaming.h"

const char* const kColumnKeys[kColumnCount] = {"numb", "arti", "titl", "bpmt", "time", "genr",
                                               "pkey", "comm", "albm", "trck", "year", "fnam"};

bool ListBoolean(const std::string& text) {
  for (const char* word : {"OK", "YES", "Y", "TRUE"}) {
    if (!strcasecmp(text.c_str(), word)) return true;
  }
  return false;
}

namespace {
std::atomic<KeyNameOfIndex> g_nameOf{nullptr};
std::atomic<KeyIndexOfName> g_indexOf{nullptr};
}  // namespace

void SetKeyNaming(KeyNameOfIndex nameOf, KeyIndexOfName indexOf) {
  g_nameOf.store(nameOf);
  g_indexOf.store(indexOf);
}

std::string KeyName(int index) {
  KeyNameOfIndex nameOf = g_nameOf.load();
  const char* name = nameOf && index >= 1 && index <= 24 ? nameOf(index) : nullptr;
  return name ? name : "";
}

int KeyIndexFromText(std::string_view text) {
  KeyIndexOfName indexOf = g_indexOf.load();
  if (!indexOf || text.empty()) return 0;
  const int index = indexOf(text);
  return index >= 1 && index <= 24 ? index : 0;
}
