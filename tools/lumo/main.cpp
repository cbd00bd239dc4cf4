// lumo: the engine from the command line. One source file per command.

#include <cstdio>
#include <cstring>

#include "Commands.h"
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
    {"render",
     "lumo render FILE -o OUT.wav [--seconds S] [--block FRAMES] [--float]\n"
     "        [--pitch PERCENT] [--range PERCENT] [--keylock splice|rubberband] [--key-shift CENTS]\n"
     "        [--cue S] [--hotcue N:S]... [--loop START_S:BEATS] [--reverse AT_S] [--brake AT_S]",
     RunRenderCommand},
    {"demo", "lumo demo [--device N|NAME|jack|null] [--seconds S]", RunDemoCommand},
    {"analyse", "lumo analyse [--json] [--jobs N] PATH...", RunAnalyseCommand},
};

void PrintUsage() {
  std::fprintf(stderr, "Zorvik Lumo engine tool. Commands:\n");
  for (const Command& command : kCommands) std::fprintf(stderr, "  %s\n", command.usage);
}

}  // namespace

int main(int argc, char** argv) {
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
