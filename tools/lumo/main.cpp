// lumo: the engine from the command line. One source file per command.

#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "Commands.h"
#include "app/Engine.h"
#include "cmd_analyse.h"

namespace {

struct Command {
  const char* name;
  const char* usage;
  int (*run)(int argc, char** argv);
};

const Command kCommands[] = {
    {"devices", "lumo devices", RunDevicesCommand},
    {"play", "lumo play FILE [--device N|NAME|jack|null] [--seconds S]", RunPlayCommand},
    {"render", "lumo render FILE -o OUT.wav [--seconds S] [--block FRAMES] [--float]", RunRenderCommand},
    {"demo", "lumo demo [--device N|NAME|jack|null] [--seconds S]", RunDemoCommand},
    {"analyse", "lumo analyse [--json] [--jobs N] PATH...", RunAnalyseCommand},
    {"serve", "lumo serve [--port N] [--address A] [--seconds S]", RunServeCommand},
};

void PrintUsage() {
  std::fprintf(stderr, "Zorvik Lumo engine tool.\n");
  std::fprintf(stderr, "usage: lumo [--config FILE] COMMAND ...\n");
  std::fprintf(stderr, "  --config FILE  settings to use instead of the data root's settings/config.xml\n");
  std::fprintf(stderr, "Commands:\n");
  for (const Command& command : kCommands) std::fprintf(stderr, "  %s\n", command.usage);
}

}  // namespace

int main(int argc, char** argv) {
  // Global options come before the command.
  while (argc >= 2 && !std::strcmp(argv[1], "--config")) {
    if (argc < 3 || !*argv[2]) {
      std::fprintf(stderr, "lumo: --config wants a file name\nusage: lumo [--config FILE] COMMAND ...\n");
      return 2;
    }
    if (access(argv[2], R_OK) != 0) {
      std::fprintf(stderr, "lumo: can not read the settings file %s\n", argv[2]);
      return 1;
    }
    SetSettingsFilePath(argv[2]);
    argv[2] = argv[0];
    argc -= 2;
    argv += 2;
  }
  if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "help")) {
    PrintUsage();
    return argc < 2 ? 2 : 0;
  }
  for (const Command& command : kCommands) {
    if (!std::strcmp(argv[1], command.name)) return command.run(argc - 1, argv + 1);
  }
  std::fprintf(stderr, "lumo: unknown command \"%s\"\n", argv[1]);
  PrintUsage();
  return 2;
}
