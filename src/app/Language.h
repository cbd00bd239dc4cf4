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

// Numbers of the strings the program itself asks for. Each number means one text: a new
// message takes a number no other uses (the list below is checked for that).
enum LanguageStringNumber : int {
  kStrColumnTitleFirst = 27,  // the twelve list column titles, 27..38
  kStrColumnTitleLast = 38,
  kStrDisplayTooSmall = 40,
  kStrFullScreenConfirm = 41,
  kStrAlreadyRunning = 51,
  kStrRecorderDiskFailure = 52,
  kStrQuitConfirm = 53,
  kStrAnalysingStatus = 87,
  kStrNoOutputDevice = 90,
  kStrBlockColumnSort = 104,
  kStrBlockColumnResize = 105,
  kStrConfirmFolderAction = 107,
  kStrNewListQuestion = 110,
  kStrFolderLoaded = 114,
  kStrListNameSecond = 117,
  kStrListNameFirst = 118,
  kStrTopItemMain = 120,
  kStrTopItemSide = 121,
  kStrGroupLists = 125,
  kStrGroupGenres = 126,
  kStrGroupITunes = 128,
  kStrGroupFolders = 129,
  kStrCurveSmooth = 153,
  kStrCurveNormal = 154,
  kStrCurveSharp = 155,
  kStrSamplerNoTempo = 158,
};
// Every string number above, once each.
constexpr int kProgramStrings[] = {
    27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38,
    kStrDisplayTooSmall, kStrFullScreenConfirm, kStrAlreadyRunning, kStrRecorderDiskFailure, kStrQuitConfirm,
    kStrAnalysingStatus, kStrNoOutputDevice, kStrBlockColumnSort, kStrBlockColumnResize, kStrConfirmFolderAction,
    kStrNewListQuestion, kStrFolderLoaded, kStrListNameSecond, kStrListNameFirst, kStrTopItemMain, kStrTopItemSide,
    kStrGroupLists, kStrGroupGenres, kStrGroupITunes, kStrGroupFolders, kStrCurveSmooth, kStrCurveNormal,
    kStrCurveSharp, kStrSamplerNoTempo};

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
