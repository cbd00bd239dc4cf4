// config.xml from the user's side: what is written comes back unchanged, damaged files never
// cost the program its start, odd values are tamed, and the engine gets what the file says.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include <clocale>
#include <filesystem>
#include <string>
#include <vector>

#include "analysis/TempoRange.h"
#include "app/Settings.h"
#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "audio/OutputOptions.h"
#include "audio/devices/OutputLayer.h"
#include "codecs/CdParanoia.h"
#include "codecs/CddbClient.h"
#include "deck/SoundSource.h"
#include "deck/TrackMemory.h"
#include "support/FileSizeLimit.h"
#include "support/TestFiles.h"
#include "app/Engine.h"

namespace {

// Collects the log while alive.
struct LogWatch {
  std::vector<std::string> lines;
  LogWatch() {
    SetTraceHook([](const char* line, void* self) { static_cast<LogWatch*>(self)->lines.push_back(line); }, this);
  }
  ~LogWatch() { SetTraceHook(nullptr, nullptr); }
  bool Saw(const std::string& text) const {
    for (const std::string& line : lines)
      if (line.find(text) != std::string::npos) return true;
    return false;
  }
};

class SettingsFile : public ::testing::Test {
 protected:
  void SetUp() override { g_settings = Settings{}; }
  void TearDown() override { g_settings = Settings{}; }
  std::string Read(const std::string& path) {
    std::string text;
    ReadWholeFile(path, text);
    return text;
  }
  TempFolder folder_;
  std::string path_ = folder_.File("config.xml");
};

Settings Unusual() {
  Settings s;
  s.skinf1 = "Ünïcødé 日本/\"quoted\" & <angled> 'single'\ttab\nline";
  s.audio0 = "ALSA: HDA Intel PCH: ALC892 Analog (hw:0,0)";
  s.audio1 = "";
  s.latncy = 12000;
  s.videox = -1920;
  s.keylk2 = 1;
  s.crshur = "http://reports.example.org:8080/crash?x=1&y=2";
  s.midiInputs = {"Numark Mixtrack 3 MIDI 1", "Сontrol ünit"};
  return s;
}

TEST_F(SettingsFile, RoundTripsByteForByte) {
  g_settings = Unusual();
  ASSERT_TRUE(WriteConfig(path_));
  const std::string written = Read(path_);
  EXPECT_EQ(written.rfind("<settings version=\"100\">\n", 0), 0u) << "the root opens the file";
  EXPECT_NE(written.find("\n<setting name=\"latncy\" value=\"12000\" type=\"0\"/>\n"), std::string::npos);
  EXPECT_NE(written.find("<setting name=\"midiin01\" value=\"Сontrol ünit\" type=\"1\"/>\n"), std::string::npos);
  EXPECT_EQ(written.substr(written.size() - 12), "</settings>\n");

  g_settings = Settings{};
  ReadConfig(path_);
  EXPECT_EQ(g_settings.skinf1, Unusual().skinf1);
  EXPECT_EQ(g_settings.midiInputs, Unusual().midiInputs);
  EXPECT_EQ(g_settings.videox, -1920);
  ASSERT_TRUE(WriteConfig(path_));
  EXPECT_EQ(Read(path_), written);
}

TEST_F(SettingsFile, TheLocaleNeverChangesTheFile) {
  g_settings = Unusual();
  const std::string inC = ConfigText(g_settings);
  const std::string previous = std::setlocale(LC_ALL, nullptr);
  if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) GTEST_SKIP() << "no de_DE.UTF-8 locale here";
  ASSERT_TRUE(WriteConfig(path_));
  Settings back;
  const bool parsed = ParseConfigText(Read(path_), back);
  std::setlocale(LC_ALL, previous.c_str());
  EXPECT_EQ(Read(path_), inC);
  ASSERT_TRUE(parsed);
  EXPECT_EQ(ConfigText(back), inC);
}

TEST_F(SettingsFile, DamagedFilesGiveTheDefaultsAndAreKeptAside) {
  const std::string defaults = ConfigText(Settings{});
  struct Case {
    const char* contents;
    const char* logged;
  } cases[] = {
      {"", "XML is empty"},
      {"<settings version=\"100\">\n<setting name=\"audmod\" value=\"2\" type=\"0\"", "XML not parsed successfully"},
      {"\x89PNG\r\n\x1a\n binary", "XML not parsed successfully"},
      {"<config><setting name=\"audmod\" value=\"2\" type=\"0\"/></config>", "XML root node is NOT 'settings'"},
  };
  for (const Case& c : cases) {
    ASSERT_TRUE(WriteFileAtomically(path_, c.contents));
    LogWatch log;
    g_settings = Settings{};
    ReadConfig(path_);
    EXPECT_EQ(ConfigText(g_settings), defaults) << c.logged;
    EXPECT_TRUE(log.Saw(c.logged)) << c.logged;
    EXPECT_EQ(Read(path_ + ".broken"), c.contents) << "the damaged file is kept for the user";
    EXPECT_FALSE(std::filesystem::exists(path_));
  }
  ReadConfig(folder_.File("never-written.xml"));  // no file: quietly the defaults
  EXPECT_EQ(ConfigText(g_settings), defaults);
}

TEST_F(SettingsFile, LastOccurrenceWinsAndOddValuesAreTamed) {
  ASSERT_TRUE(WriteFileAtomically(path_,
      "<settings version=\"7\">\n"
      "<setting name=\"audmod\" value=\"1\" type=\"0\"/>\n"
      "<setting name=\"audmod\" value=\"2\" type=\"0\"/>\n"
      "<setting name=\"latncy\" value=\"4\" type=\"0\"/>\n"       // below one frame a fragment
      "<setting name=\"mixtim\" value=\"0\" type=\"0\"/>\n"       // a fade of no time
      "<setting name=\"videow\" value=\"99999999999\" type=\"0\"/>\n"
      "<setting name=\"audio0\" value=\"Card\" type=\"0\"/>\n"    // text written as a number
      "<setting name=\"cfcurv\" value=\"  -7 dB\" type=\"0\"/>\n"
      "<setting name=\"opengl\" value=\"1\" type=\"0\"/>\n"       // never read back
      "<setting name=\"wobble\" value=\"1\" type=\"0\"/>\n"
      "<setting name=\"midiin03\" value=\"Deck Pad\" type=\"1\"/>\n"
      "<!-- a comment --><other/>\n"
      "</settings>\n"));
  LogWatch log;
  ReadConfig(path_);
  EXPECT_EQ(g_settings.audmod, 2);
  EXPECT_EQ(g_settings.latncy, 120);
  EXPECT_TRUE(log.Saw("latncy of 4 is out of range, 120 used"));
  EXPECT_EQ(g_settings.mixtim, 1);
  EXPECT_EQ(g_settings.videow, 2147483647);
  EXPECT_EQ(g_settings.audio0, "0");
  EXPECT_EQ(g_settings.cfcurv, -7);
  EXPECT_EQ(g_settings.opengl, 0);
  EXPECT_EQ(g_settings.midiInputs, std::vector<std::string>{"Deck Pad"});
  EXPECT_NE(ConfigText(g_settings).find("name=\"midiin00\" value=\"Deck Pad\""), std::string::npos)
      << "inputs are numbered over the enabled ones when written";
}

TEST_F(SettingsFile, AFolderThatRefusesTheFileKeepsTheOldOne) {
  g_settings.audmod = 1;
  ASSERT_TRUE(WriteConfig(path_));
  const std::string old = Read(path_);
  // Root ignores folder permissions, so a file-size limit makes the write fail for anyone.
  std::filesystem::permissions(folder_.path(), std::filesystem::perms::owner_read |
                                                   std::filesystem::perms::owner_exec);
  g_settings.audmod = 2;
  std::string message;
  {
    ScopedFileSizeLimit limit(64);
    EXPECT_FALSE(WriteConfig(path_, &message));
  }
  std::filesystem::permissions(folder_.path(), std::filesystem::perms::owner_all);
  EXPECT_EQ(message, "can not save settings to " + path_);
  EXPECT_EQ(Read(path_), old);
}

TEST_F(SettingsFile, ApplyHandsTheEngineWhatTheFileSays) {
  const int savedLimit = g_trackMemoryLimitKB.load();
  TempFolder root;
  CSoundSource deck(0, root.path());
  g_engine.decks[0] = &deck;
  ASSERT_TRUE(WriteFileAtomically(path_,
      "<settings version=\"100\">\n"
      "<setting name=\"audio0\" value=\"ALSA: a card that was unplugged\" type=\"1\"/>\n"
      "<setting name=\"latncy\" value=\"1200\" type=\"0\"/>\n"
      "<setting name=\"audmod\" value=\"1\" type=\"0\"/>\n"
      "<setting name=\"extmix\" value=\"1\" type=\"0\"/>\n"
      "<setting name=\"disacu\" value=\"1\" type=\"0\"/>\n"
      "<setting name=\"keylk0\" value=\"1\" type=\"0\"/>\n"
      "<setting name=\"dsblcf\" value=\"1\" type=\"0\"/>\n"
      "<setting name=\"skinf1\" value=\"gone.xml\" type=\"1\"/>\n"
      "<setting name=\"maxram\" value=\"5\" type=\"0\"/>\n"
      "<setting name=\"cddbsv\" value=\"cddb.example.org:8880\" type=\"1\"/>\n"
      "<setting name=\"cdparn\" value=\"2\" type=\"0\"/>\n"
      "</settings>\n"));
  LogWatch log;
  SetSettingsFilePath(path_);
  EngineReadSettings();
  SetSettingsFilePath("");
  g_engine.decks[0] = nullptr;
  EXPECT_EQ(g_outputSelection.latencyFrames, 1200);
  EXPECT_EQ(g_outputOptions.mode.load(), 1);
  EXPECT_EQ(g_outputOptions.externalMixer.load(), 1);
  EXPECT_EQ(g_outputOptions.smoothGainInExternal.load(), 0);
  EXPECT_EQ(deck.autoCueDisabled.load(), 1);
  EXPECT_EQ(deck.keyLockOn.load(), 1) << "deck A starts key-locked, as it was left";
  EXPECT_EQ(g_settings.skinf1, "") << "a skin that is gone falls back to the default";
  EXPECT_TRUE(log.Saw("output device \"ALSA: a card that was unplugged\" is not here"));
  EXPECT_EQ(g_outputSelection.primary, DefaultOutputDevice());
  EXPECT_EQ(g_cddbServer, "cddb.example.org:8880");
  EXPECT_EQ(g_cdParanoiaMode, 2) << "disc images go through error recovery too";
  // "No limit" holds a two-hour track whole; the smallest choice streams a ten-minute one.
  EXPECT_FALSE(CTrackMemory::ShouldStream(7200, g_trackMemoryLimitKB.load()));
  g_settings.maxram = 2;
  ApplySettings();
  EXPECT_TRUE(CTrackMemory::ShouldStream(600, g_trackMemoryLimitKB.load()));
  EXPECT_FALSE(CTrackMemory::ShouldStream(240, g_trackMemoryLimitKB.load()));
  g_settings.maxram = 9;  // no such choice: the limit stays
  ApplySettings();
  EXPECT_EQ(g_trackMemoryLimitKB.load(), 103360);
  g_trackMemoryLimitKB = savedLimit;
  g_outputOptions.mode = 0;
  g_outputOptions.externalMixer = 0;
  g_outputOptions.smoothGainInExternal = 1;
  g_outputSelection = OutputSelection{};
  g_cddbServer.clear();
  g_cdParanoiaMode = 1;
}

TEST_F(SettingsFile, TheTempoRangeReachesTheAnalysisAndABadOneFallsBackToAuto) {
  ASSERT_TRUE(WriteFileAtomically(path_,
      "<settings version=\"100\">\n<setting name=\"bpmrng\" value=\"90-180\" type=\"1\"/>\n</settings>\n"));
  ReadConfig(path_);
  ApplySettings();
  EXPECT_EQ(PreferredTempoRange(), TempoRange::k90to180);
  ASSERT_TRUE(WriteConfig(path_));
  EXPECT_NE(Read(path_).find("name=\"bpmrng\" value=\"90-180\""), std::string::npos);

  LogWatch log;
  g_settings.bpmrng = "fast";
  ApplySettings();
  EXPECT_EQ(PreferredTempoRange(), TempoRange::kAuto);
  EXPECT_EQ(g_settings.bpmrng, "auto");
  EXPECT_TRUE(log.Saw("bpmrng \"fast\" is not a tempo range"));
}

}  // namespace
