#pragma once
// The one description of lumo's commands and options. `lumo --help`, `lumo COMMAND --help`,
// the dispatcher's check for unknown options and the generated manual page all read it, so
// they cannot disagree.

#include <string>
#include <vector>

struct OptionHelp {
  // "--seconds S", "-o, --output OUT.wav" or "--float": names first, then the value's
  // placeholder when the option takes one.
  const char* form;
  const char* text;
};

struct CommandHelp {
  const char* name;
  const char* synopsis;  // "lumo render FILE -o OUT.wav [--seconds S] ..."
  const char* summary;   // one line
  const char* details;   // a paragraph or more
  std::vector<OptionHelp> options;
};

const std::vector<CommandHelp>& LumoCommands();
const CommandHelp* FindCommandHelp(const std::string& name);

// What an option word means for a command: unknown, a flag, or an option followed by a value.
enum class OptionKind { kUnknown, kFlag, kValue };
OptionKind ClassifyOption(const CommandHelp& command, const std::string& word);

// The texts the tool prints.
std::string OverviewText();                            // lumo --help
std::string CommandHelpText(const CommandHelp& help);  // lumo COMMAND --help
std::string VersionText();                             // lumo --version

// The manual page, lumo(1), in roff.
std::string ManualPage(const std::string& date);
