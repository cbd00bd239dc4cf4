#include <cstdio>
#include <cstring>

#include "cmd_analyse.h"

// Temporary: calls the analyse command until the command table arrives.
int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "analyse") == 0) return RunAnalyseCommand(argc - 1, argv + 1);
  std::puts("lumo");
  return 0;
}
