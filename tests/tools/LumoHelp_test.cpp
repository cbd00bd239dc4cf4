// lumo's command line as a user meets it: help for every command, and an option it does not
// know refused with exit status 2 rather than ignored.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace {

struct Result {
  int status = -1;
  std::string output;
};

Result RunLumo(const std::string& arguments) {
  Result result;
  FILE* pipe = popen((std::string(LUMO_TOOL) + " " + arguments + " 2>&1").c_str(), "r");
  if (!pipe) return result;
  char buffer[4096];
  while (size_t n = std::fread(buffer, 1, sizeof buffer, pipe)) result.output.append(buffer, n);
  int status = pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

TEST(LumoHelp, EveryCommandExplainsItselfAndUnknownOptionsAreRefused) {
  Result overview = RunLumo("--help");
  ASSERT_EQ(overview.status, 0);
  for (const char* command : {"devices", "play", "render", "analyse", "demo"}) {
    EXPECT_NE(overview.output.find(std::string("  ") + command + " "), std::string::npos) << command;
    Result help = RunLumo(std::string(command) + " --help");
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_EQ(help.output.rfind(std::string("usage: lumo ") + command, 0), 0u) << help.output;
  }
  EXPECT_NE(RunLumo("render --help").output.find("--float"), std::string::npos);

  Result unknown = RunLumo("play song.wav --bogus 3");
  EXPECT_EQ(unknown.status, 2);
  EXPECT_NE(unknown.output.find("unknown option \"--bogus\""), std::string::npos) << unknown.output;
  EXPECT_EQ(RunLumo("no-such-command").status, 2);
  EXPECT_EQ(RunLumo("").status, 2);
  // A value that looks like an option is the value, not an unknown option, also where the
  // option's placeholder is a range of negative numbers.
  EXPECT_NE(RunLumo("play song.wav --seconds -3").output.find("--seconds wants a positive number"),
            std::string::npos);
  EXPECT_EQ(RunLumo("render song.wav -o out.wav --filter -40 --pitch -8").output.find("unknown option"),
            std::string::npos);
  Result version = RunLumo("--version");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.output.rfind("lumo (Zorvik Lumo) ", 0), 0u);
}

}  // namespace
