// The song database never loses a DJ's work: hostile files are refused at once, a file that
// cannot be read is not mistaken for a damaged one, programs sharing a data root keep each
// other's records, a kill at any moment leaves a whole file, and changes reach the disk
// seconds after they are made.

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "support/TraceCapture.h"
#include "library/Browser.h"
#include "library/SongDatabase.h"
#include "library/SongDatabaseFile.h"
#include "library/SongDatabaseSaver.h"
#include "support/TestFiles.h"

namespace {

using Clock = std::chrono::steady_clock;

TSongRecord Song(const std::string& name, float bpm = 124.0f) {
  TSongRecord r;
  r.name = name;
  r.bpm = bpm;
  r.durationMs = 1000;
  return r;
}

std::set<std::string> NamesInFile(const std::string& path, bool* parsed = nullptr) {
  std::string text;
  std::set<std::string> names;
  const bool read = ReadWholeFile(path, text);
  const int ok = read && ParseSongDatabaseText(text, [&](const TSongRecord& r) { names.insert(r.name); });
  if (parsed) *parsed = ok;
  return names;
}

// Runs body in a child process; returns its pid. The child never returns into the test.
template <typename Body>
pid_t Spawn(Body body) {
  pid_t pid = ::fork();
  if (pid == 0) {
    SetTraceHook(nullptr, nullptr);
    body();
    ::_exit(0);
  }
  return pid;
}

int WaitExit(pid_t pid) {
  int status = 0;
  ::waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class SongDatabaseSafety : public ::testing::Test {
 protected:
  void TearDown() override { DropSongDatabase(); }
  TempFolder folder;
  std::string path = folder.File("db.knx");
};

TEST_F(SongDatabaseSafety, EntityChainAndAnyDoctypeAreRefusedAtOnce) {
  // Nine levels of ten references each: a billion expansions if entities were followed.
  std::string text = "<?xml version=\"1.0\"?>\n<!DOCTYPE songdatabase [\n<!ENTITY a0 \"lol\">\n";
  for (int i = 1; i < 10; ++i) {
    text += "<!ENTITY a" + std::to_string(i) + " \"";
    for (int k = 0; k < 10; ++k) text += "&a" + std::to_string(i - 1) + ";";
    text += "\">\n";
  }
  text += "]>\n<songdatabase version=\"100\"><song name=\"&a9;\" bpm=\"120\"/></songdatabase>\n";
  ASSERT_TRUE(WriteFileAtomically(path, text));
  const auto start = Clock::now();
  EXPECT_EQ(LoadSongDatabase(path), 0);
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
  EXPECT_EQ(SongCount(), 0u);

  // A harmless-looking declaration is refused too: the writer never makes one.
  EXPECT_EQ(ParseSongDatabaseText("<!DOCTYPE songdatabase><songdatabase><song name=\"x\"/></songdatabase>",
                                  [](const TSongRecord&) {}),
            0);
}

TEST_F(SongDatabaseSafety, AnUnreadableFileIsLeftInPlaceReportedAndNotSavedOver) {
  // A folder where the file should be cannot be read, even by root: it stands for an I/O error.
  std::filesystem::create_directory(path);
  TraceCapture trace;
  EXPECT_EQ(LoadSongDatabase(path), 0);
  EXPECT_TRUE(trace.Saw("cannot read")) << "the failure must be reported";
  StoreSong(Song("kept.mp3"));
  EXPECT_EQ(FlushSongDatabase(path), 0);
  EXPECT_EQ(UnsavedSongCount(), 1u) << "the change waits for a save that can succeed";
  EXPECT_TRUE(std::filesystem::is_directory(path));
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    EXPECT_EQ(entry.path().string().find("corrupt"), std::string::npos) << "treated as damage: " << entry.path();
  }
  // Once the file is back, the kept change is saved.
  std::filesystem::remove(path);
  EXPECT_EQ(FlushSongDatabase(path), 1);
  EXPECT_EQ(NamesInFile(path), std::set<std::string>{"kept.mp3"});
}

TEST_F(SongDatabaseSafety, TwoWritersAndALateCloseKeepEveryRecord) {
  // Both load the empty database, then save their own records in many small sets at once.
  auto writer = [&](const std::string& prefix) {
    return Spawn([&, prefix] {
      LoadSongDatabase(path);
      for (int i = 0; i < 120; ++i) {
        StoreSong(Song(prefix + std::to_string(i) + ".mp3"));
        if (i % 10 == 9 && !FlushSongDatabase(path)) ::_exit(3);
      }
      ::_exit(SaveSongDatabase(path) ? 0 : 4);
    });
  };
  // The "window" loaded before both and saves its cue edit after them.
  LoadSongDatabase(path);
  pid_t a = writer("a-"), b = writer("b-");
  EXPECT_EQ(WaitExit(a), 0);
  EXPECT_EQ(WaitExit(b), 0);
  TSongRecord edit = Song("a-5.mp3", 126.0f);
  edit.cue[0] = 4410;
  StoreSong(edit);
  ASSERT_EQ(SaveSongDatabase(path), 1);

  bool parsed = false;
  std::set<std::string> names = NamesInFile(path, &parsed);
  ASSERT_TRUE(parsed);
  EXPECT_EQ(names.size(), 240u);
  ASSERT_EQ(LoadSongDatabase(path), 1);
  TSongRecord read;
  ASSERT_TRUE(FindSong("a-5.mp3", read));
  EXPECT_EQ(read.cue[0], 4410);
  EXPECT_TRUE(FindSong("b-119.mp3", read));
}

TEST_F(SongDatabaseSafety, KillNineAtRandomMomentsNeverBreaksAFileNorLosesASavedSet) {
  // The writer saves the database, a user list's .knl and lists.knx after every change.
  const std::string playlists = folder.File("Playlists/");
  std::filesystem::create_directories(playlists);
  std::mt19937 random(1234);
  std::set<std::string> confirmed;  // names a child reported saved
  for (int round = 0; round < 50; ++round) {
    int report[2];
    ASSERT_EQ(::pipe(report), 0);
    pid_t child = Spawn([&] {
      ::close(report[0]);
      LoadSongDatabase(path);
      CZQBrowser browser(folder.path(), playlists);
      browser.LoadLists();
      int set = browser.FindList("set");
      if (set < 0) set = browser.CreateList("set");
      for (int i = 0;; ++i) {
        const std::string name = "r" + std::to_string(round) + "-" + std::to_string(i) + ".mp3";
        StoreSong(Song(name));
        TZQListElement row;
        row.column[kColPath] = "/music/" + name;
        browser.List(set)->AddRow(row);
        if (FlushSongDatabase(path) && browser.SaveLists()) {
          const std::string line = name + "\n";
          if (::write(report[1], line.data(), line.size()) < 0) ::_exit(5);
        }
      }
    });
    ::close(report[1]);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 150000));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    std::string reported;
    char buffer[4096];
    for (ssize_t n; (n = ::read(report[0], buffer, sizeof buffer)) > 0;) reported.append(buffer, static_cast<size_t>(n));
    ::close(report[0]);
    for (size_t start = 0, end; (end = reported.find('\n', start)) != std::string::npos; start = end + 1) {
      confirmed.insert(reported.substr(start, end - start));
    }
    if (confirmed.empty()) continue;
    bool parsed = false;
    std::set<std::string> names = NamesInFile(path, &parsed);
    ASSERT_TRUE(parsed) << "round " << round;
    for (const std::string& name : confirmed) ASSERT_TRUE(names.count(name)) << name << " lost in round " << round;
    CZQBrowser reader(folder.path(), playlists);
    ASSERT_EQ(reader.LoadLists(), 1) << "lists.knx broken in round " << round;
    const int set = reader.FindList("set");
    ASSERT_GE(set, 0);
    ASSERT_GE(reader.List(set)->GetTotalCount(), static_cast<int>(confirmed.size())) << "round " << round;
  }
  EXPECT_FALSE(confirmed.empty());
}

TEST_F(SongDatabaseSafety, ChangesReachTheDiskWithoutAClose) {
  LoadSongDatabase(path);
  CSongDatabaseSaver saver(path, 50, 500);
  StoreSong(Song("one.mp3"));
  StoreSong(Song("two.mp3"));
  const auto deadline = Clock::now() + std::chrono::seconds(20);
  while (saver.saves() < 1 && Clock::now() < deadline) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  ASSERT_GE(saver.saves(), 1);
  EXPECT_EQ(NamesInFile(path), (std::set<std::string>{"one.mp3", "two.mp3"}));
  EXPECT_EQ(UnsavedSongCount(), 0u);
}

}  // namespace
