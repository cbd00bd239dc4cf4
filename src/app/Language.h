#pragma once
// The interface texts: three tables (strings, control labels, hints) read by number from one
// language.xml. Loaded once before the main window exists; read freely afterwards.
//
// Threads: written on the main thread before any other thread starts; read-only after that.
// No toolkit: the window program converts to its own strings at the boundary.

#include <functional>
#include <string>
#include <vector>

constexpr int kLanguageVersion = 208;  // targetversion a language file must carry
constexpr int kLanguageMaxKey = 4096;  // keys above this are ignored

// Numbers of the strings the program itself asks for.
enum LanguageStringNumber : int {
  kStrDisplayTooSmall = 40,
  kStrFullScreenConfirm = 41,
  kStrAlreadyRunning = 51,
  kStrQuitConfirm = 52,
  kStrNoOutputDevice = 90,
};

// Turns a key of the file (an action name, or a number written in decimal) into a number;
// 0 or less means the entry is skipped.
using LanguageKeyLookup = std::function<int(const std::string& key)>;

struct LanguageTables {
  std::string language = "english";  // the root's `language`
  std::string locale;
  std::vector<std::string> strings, labels, hints;
};

// Parses the file and checks the root and targetversion; logs the reason when it fails.
bool TestLanguageFile(const std::string& path);
// Loads a file that passes the test into `tables`; false leaves `tables` untouched.
bool LoadLanguageFile(const std::string& path, const LanguageKeyLookup& lookup, LanguageTables& tables);
bool LoadLanguageMemory(const char* data, size_t size, const LanguageKeyLookup& lookup, LanguageTables& tables);

// Decimal keys only; the window program adds the catalogue's names.
int NumericLanguageKey(const std::string& key);

// The loaded tables. An out-of-range or empty entry reads as "".
void SetLanguage(LanguageTables tables);
const std::string& LangString(int number);
const std::string& LangLabel(int number);
const std::string& LangHint(int number);

// A language file found in the shipped languages folder.
struct LanguageFileInfo {
  std::string path;
  std::string language;  // display name from the root's `language`
};
std::vector<LanguageFileInfo> ListLanguageFiles(const std::string& folder);

// Which file to load: the settings folder's language.xml when it passes the test, else the
// shipped languages/language.xml. Empty when neither exists: the caller lets the user pick one of
// ListLanguageFiles and copies it into the settings folder.
std::string FindLanguageFile(const std::string& settingsFolder, const std::string& languagesFolder);
