// The library commands as a DJ runs them: two `lumo analyse` runs at once on one data root keep
// both runs' records, and `lumo list` / `lumo search` import, print, search and export lists.

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "app/base/AtomicFile.h"
#include "support/TestFiles.h"

namespace {

void WriteSong(const std::string& path, int frames, int seed) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  WriteStereo16(path, MakeTestSignal(frames, seed));
}

int Exit(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

int Lumo(const std::string& arguments) { return Exit(std::system((std::string(LUMO_TOOL) + " " + arguments).c_str())); }

std::string Output(const std::string& arguments) {
  std::string text;
  FILE* pipe = ::popen((std::string(LUMO_TOOL) + " " + arguments + " 2>/dev/null").c_str(), "r");
  if (!pipe) return text;
  char buffer[4096];
  for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) text.append(buffer, n);
  ::pclose(pipe);
  return text;
}

TEST(LumoLibrary, TwoAnalyseRunsAtOnceKeepEveryRecord) {
  ScopedDataRoot root;
  for (int run = 0; run < 2; ++run) {
    for (int i = 0; i < 3; ++i) {
      WriteSong(root.path() + "run" + std::to_string(run) + "/song" + std::to_string(run) + "-" + std::to_string(i) + ".wav", 44100,
                run * 10 + i + 1);
    }
  }
  int results[2] = {-1, -1};
  std::thread first([&] { results[0] = Lumo("analyse '" + root.path() + "run0' > /dev/null 2>&1"); });
  results[1] = Lumo("analyse '" + root.path() + "run1' > /dev/null 2>&1");
  first.join();
  EXPECT_EQ(results[0], 0);
  EXPECT_EQ(results[1], 0);
  std::string db;
  ASSERT_TRUE(ReadWholeFile(root.path() + "Database/db.knx", db));
  size_t songs = 0;
  for (size_t at = 0; (at = db.find("<song ", at)) != std::string::npos; ++at) ++songs;
  EXPECT_EQ(songs, 6u) << db;
}

TEST(LumoLibrary, ListImportPrintSearchAndExport) {
  ScopedDataRoot root;
  WriteSong(root.path() + "music/Alpha - Opening.wav", 4410, 1);
  WriteSong(root.path() + "music/sub/Beta - Closing Time.wav", 4410, 2);
  ASSERT_TRUE(WriteFileAtomically(root.path() + "music/set.m3u8", "#EXTM3U\r\nsub\\Beta - Closing Time.wav\r\n"));

  EXPECT_EQ(Lumo("list Friday --import '" + root.path() + "music/set.m3u8' 2>/dev/null"), 0);
  EXPECT_EQ(Lumo("list Friday --import '" + root.path() + "music' 2>/dev/null"), 0);
  const std::string rows = Output("list Friday --json");
  EXPECT_NE(rows.find("\"title\":\"Closing Time\""), std::string::npos) << rows;
  EXPECT_NE(rows.find("\"number\":3"), std::string::npos) << "one from the playlist, two from the folder";

  const std::string found = Output("search CLOS");
  EXPECT_NE(found.find("Beta - Closing Time"), std::string::npos) << found;
  EXPECT_EQ(found.find("Opening"), std::string::npos);

  EXPECT_EQ(Lumo("list Friday --export '" + root.path() + "out.m3u'"), 0);
  std::string exported;
  ASSERT_TRUE(ReadWholeFile(root.path() + "out.m3u", exported));
  EXPECT_NE(exported.find("\n" + root.path() + "music/Alpha - Opening.wav\n"), std::string::npos) << exported;

  EXPECT_EQ(Lumo("list Nobody > /dev/null 2>&1"), 1);
  EXPECT_EQ(Lumo("list Friday --import '" + root.path() + "missing' > /dev/null 2>&1"), 1);
  EXPECT_EQ(Lumo("list --frobnicate > /dev/null 2>&1"), 2);
  EXPECT_EQ(Lumo("search > /dev/null 2>&1"), 2);
}

}  // namespace
