// Language files: the version gate, the in-place line breaks, keys through the lookup, and what
// a reader gets for an entry that is not there.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "app/Language.h"
#include "app/base/Trace.h"

namespace {

int Lookup(const std::string& key) {
  if (int number = NumericLanguageKey(key); number > 0) return number;
  return key == "deck_play_pause" ? 15 : 0;
}

bool Load(const std::string& text, LanguageTables& tables) {
  return LoadLanguageMemory(text.data(), text.size(), Lookup, tables);
}

}  // namespace

TEST(Language, LoadsStringsLabelsAndHintsByNumber) {
  LanguageTables tables;
  ASSERT_TRUE(Load(R"(<languagestrings targetversion="208" locale="fr">
      <string action="40" value="Line one\nline two"/>
      <label action="deck_play_pause" value="PLAY"/>
      <hint action="deck_play_pause" value="Play or pause"/>
      <string action="unknown_name" value="skipped"/>
      <string action="0" value="skipped"/>
      <string action="41" value="ends in \"/>
    </languagestrings>)", tables));
  EXPECT_EQ(tables.language, "english");  // the default without a language attribute
  EXPECT_EQ(tables.locale, "fr");
  EXPECT_EQ(tables.strings[40], std::string("Line one\r\nline two"));
  EXPECT_EQ(tables.strings[40].size(), std::strlen("Line one\\nline two"));
  EXPECT_EQ(tables.strings[41], "ends in \\");
  SetLanguage(tables);
  EXPECT_EQ(LangLabel(15), "PLAY");
  EXPECT_EQ(LangHint(15), "Play or pause");
  EXPECT_EQ(LangString(39), "");   // a gap
  EXPECT_EQ(LangString(5000), "");  // beyond the table
  EXPECT_EQ(LangString(-1), "");
  EXPECT_EQ(LangLabel(16), "");
}

TEST(Language, RefusedFilesLeaveTheTablesAloneAndSayWhy) {
  std::vector<std::string> log;
  SetTraceHook([](const char* line, void* context) { static_cast<std::vector<std::string>*>(context)->push_back(line); },
               &log);
  LanguageTables tables;
  tables.language = "kept";
  EXPECT_FALSE(Load(R"(<languagestrings targetversion="207"><string action="1" value="x"/></languagestrings>)", tables));
  EXPECT_FALSE(Load(R"(<languagestrings><string action="1" value="x"/></languagestrings>)", tables));
  EXPECT_FALSE(Load(R"(<strings targetversion="208"/>)", tables));
  EXPECT_FALSE(Load("<languagestrings targetversion=\"208\">", tables));
  EXPECT_FALSE(Load("", tables));
  SetTraceHook(nullptr, nullptr);
  EXPECT_EQ(tables.language, "kept");
  ASSERT_EQ(log.size(), 5u);
  EXPECT_EQ(log[0], "lang: xml targetversion is not correct - _KN_VERSION_=208, "
                    "_KN_OLDEST_COMPATIBLE_VERSION__LANGUAGE_=208");
  EXPECT_EQ(log[1], log[0]);  // a missing version is no version
  EXPECT_EQ(log[2], "lang: xml root element is not languagestrings");
  EXPECT_EQ(log[3], "lang: xml is bad formed");
}

TEST(Language, ChoosesTheUsersFileOnlyWhenItPasses) {
  namespace fs = std::filesystem;
  fs::path dir = fs::temp_directory_path() / ("language-" + std::to_string(::getpid()));
  fs::create_directories(dir / "settings");
  fs::create_directories(dir / "languages");
  std::string settings = (dir / "settings").string() + "/", shipped = (dir / "languages").string() + "/";
  EXPECT_EQ(FindLanguageFile(settings, shipped), "");
  std::ofstream(dir / "languages" / "english.xml") << R"(<languagestrings language="English" targetversion="208"/>)";
  ASSERT_EQ(ListLanguageFiles(shipped).size(), 1u);
  EXPECT_EQ(ListLanguageFiles(shipped)[0].language, "English");
  std::ofstream(dir / "settings" / "language.xml") << R"(<languagestrings targetversion="207"/>)";
  EXPECT_EQ(FindLanguageFile(settings, shipped), "");  // old user file, nothing shipped under that name
  std::ofstream(dir / "languages" / "language.xml") << R"(<languagestrings targetversion="208"/>)";
  EXPECT_EQ(FindLanguageFile(settings, shipped), shipped + "language.xml");
  std::ofstream(dir / "settings" / "language.xml") << R"(<languagestrings targetversion="208"/>)";
  EXPECT_EQ(FindLanguageFile(settings, shipped), settings + "language.xml");
  fs::remove_all(dir);
}

// The shipped English file loads and has the texts the program asks for.
TEST(Language, EveryStringTheProgramUsesHasOneNumberAndAShippedText) {
  // Two messages on one number would show the wrong text (the quit question once used the
  // recorder's disk-failure string).
  std::set<int> numbers(std::begin(kProgramStrings), std::end(kProgramStrings));
  EXPECT_EQ(numbers.size(), std::size(kProgramStrings)) << "a string number is used for two messages";
  LanguageTables tables;
  ASSERT_TRUE(LoadLanguageFile(LUMO_SOURCE_DIR "/data/languages/english.xml", Lookup, tables));
  for (int number : kProgramStrings) {
    ASSERT_LT(static_cast<size_t>(number), tables.strings.size());
    EXPECT_FALSE(tables.strings[number].empty()) << number;
  }
  EXPECT_NE(tables.strings[kStrQuitConfirm], tables.strings[kStrRecorderDiskFailure]);
}
