// Writes lumo(1) from the same table `lumo --help` prints, at build time, so the manual page
// always says what the program does.
//   make_lumo_man OUT.1 [DATE]

#include <cstdio>
#include <string>

#include "help/HelpText.h"

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: make_lumo_man OUT.1 [DATE]\n");
    return 2;
  }
  std::string page = ManualPage(argc > 2 ? argv[2] : "2026");
  FILE* out = std::fopen(argv[1], "w");
  if (!out || std::fputs(page.c_str(), out) < 0 || std::fclose(out) != 0) {
    std::fprintf(stderr, "make_lumo_man: can not write %s\n", argv[1]);
    return 1;
  }
  return 0;
}
