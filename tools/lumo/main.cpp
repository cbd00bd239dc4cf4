// lumo: the engine from the command line. One source file per command; what each command and
// option means is written once, in help/HelpText.cpp.

#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

#include "Commands.h"
#include "app/Engine.h"
#include "cmd_analyse.h"
#include "help/HelpText.h"

namespace {

struct Runner {
  const char* name;
  int (*run)(int argc, char** argv);
};

const Runner kRunners[] = {
    {"devices", RunDevicesCommand}, {"play", RunPlayCommand},       {"render", RunRenderCommand},
    {"analyse", RunAnalyseCommand}, {"demo", RunDemoCommand},       {"probe", RunProbeCommand},
    {"list", RunListCommand},       {"search", RunSearchCommand},
    {"cd", RunCdCommand},           {"serve", RunServeCommand},
    {"automix", RunAutoMixCommand},
    {"controllers", RunControllersCommand}, {"midi-monitor", RunMidiMonitorCommand},
};

bool IsHelpWord(const char* word) { return !std::strcmp(word, "--help") || !std::strcmp(word, "-h"); }

int UsageError(const CommandHelp* command, const std::string& message) {
  std::fprintf(stderr, "lumo: %s\n", message.c_str());
  if (command) {
    std::fprintf(stderr, "usage: %s\n", command->synopsis);
  } else {
    std::fputs(OverviewText().c_str(), stderr);
  }
  return 2;
}

// Every option word must be one the command documents; a value is never taken for an option
// ("--pitch -8"), and "--" ends the options.
bool OptionsAreKnown(const CommandHelp& command, int argc, char** argv, std::string* unknown) {
  for (int i = 1; i < argc; ++i) {
    std::string word = argv[i];
    if (word == "--") return true;
    if (word.size() < 2 || word[0] != '-') continue;
    switch (ClassifyOption(command, word)) {
      case OptionKind::kUnknown:
        *unknown = word;
        return false;
      case OptionKind::kValue:
        ++i;
        break;
      case OptionKind::kFlag:
        break;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  // Global options come before the command.
  while (argc >= 2 && !std::strcmp(argv[1], "--config")) {
    if (argc < 3 || !*argv[2]) return UsageError(nullptr, "--config wants a file name");
    if (access(argv[2], R_OK) != 0) {
      std::fprintf(stderr, "lumo: can not read the settings file %s\n", argv[2]);
      return 1;
    }
    SetSettingsFilePath(argv[2]);
    argv[2] = argv[0];
    argc -= 2;
    argv += 2;
  }
  if (argc < 2) return UsageError(nullptr, "no command given");
  const std::string first = argv[1];
  if (IsHelpWord(argv[1]) || first == "help") {
    if (argc > 2) {
      const CommandHelp* command = FindCommandHelp(argv[2]);
      if (!command) return UsageError(nullptr, "unknown command \"" + std::string(argv[2]) + "\"");
      std::fputs(CommandHelpText(*command).c_str(), stdout);
    } else {
      std::fputs(OverviewText().c_str(), stdout);
    }
    return 0;
  }
  if (first == "--version") {
    std::fputs(VersionText().c_str(), stdout);
    return 0;
  }
  const CommandHelp* command = FindCommandHelp(first);
  if (!command) return UsageError(nullptr, "unknown command \"" + first + "\"");
  for (int i = 2; i < argc; ++i) {
    if (IsHelpWord(argv[i])) {
      std::fputs(CommandHelpText(*command).c_str(), stdout);
      return 0;
    }
  }
  std::string unknown;
  if (!OptionsAreKnown(*command, argc - 1, argv + 1, &unknown)) {
    return UsageError(command, first + ": unknown option \"" + unknown + "\"");
  }
  for (const Runner& runner : kRunners) {
    if (first == runner.name) return runner.run(argc - 1, argv + 1);
  }
  return UsageError(nullptr, "command \"" + first + "\" is documented but not built");
}
