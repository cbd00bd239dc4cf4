#include "AutoMixList.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "app/base/PathNames.h"
#include "DemoTrack.h"
#include "LumoSession.h"
#include "analysis/TrackAnalyzer.h"
#include "app/base/Trace.h"
#include "library/AbstractList.h"
#include "library/ListRow.h"
#include "library/M3uFile.h"

namespace fs = std::filesystem;

namespace {

bool EndsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() &&
         std::equal(tail.rbegin(), tail.rend(), text.rbegin(),
                    [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
}

bool ReadFolder(const std::string& folder, std::vector<std::string>& songs, std::string* error) {
  std::error_code code;
  for (auto it = fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied, code);
       !code && it != fs::recursive_directory_iterator(); it.increment(code)) {
    if (it->is_regular_file(code) && IsAcceptedListFile(it->path().string())) songs.push_back(it->path().string());
  }
  if (code) {
    *error = "can not read the folder " + folder + ": " + code.message();
    return false;
  }
  std::sort(songs.begin(), songs.end());
  return true;
}

bool ReadPlaylist(const std::string& path, std::vector<std::string>& songs, std::string* error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    *error = "can not read " + path;
    return false;
  }
  std::stringstream bytes;
  bytes << in.rdbuf();  // an empty playlist reads as no songs
  const std::string folder = FolderPartOf(path, "./");
  for (const std::string& song : ParseM3u(bytes.str(), folder)) songs.push_back(MapForeignPath(song, folder));
  return true;
}

bool ReadListFile(const std::string& path, std::vector<std::string>& songs, std::string* error) {
  CZQAbstractList list;
  if (!list.LoadFromFile(path, true)) {
    *error = "can not read the list file " + path + " (see log.txt)";
    return false;
  }
  for (const TZQListElement& row : list.AllRows()) songs.push_back(row.column[kColPath]);
  return true;
}

}  // namespace

bool ReadMixSongs(const std::string& source, std::vector<std::string>& songs, std::string* error) {
  std::error_code code;
  if (fs::is_directory(source, code)) return ReadFolder(source, songs, error);
  if (!fs::is_regular_file(source, code)) {
    *error = source + ": no such list or folder";
    return false;
  }
  if (EndsWith(source, ".m3u") || EndsWith(source, ".m3u8")) return ReadPlaylist(source, songs, error);
  if (EndsWith(source, ".knl")) return ReadListFile(source, songs, error);
  *error = source + " is not a playlist (.m3u, .m3u8), a list file (.knl) or a folder";
  return false;
}

int AnalyseMixSongs(const std::vector<std::string>& songs) {
  std::vector<std::string> todo;
  for (const std::string& song : songs) {
    std::error_code code;
    if (fs::is_regular_file(song, code) && NeedsAnalysis(song)) todo.push_back(song);
  }
  CTrackAnalyzer analyzer;
  int analysed = 0;
  for (size_t i = 0; i < todo.size(); ++i) {
    ShowProgress(static_cast<double>(i), static_cast<double>(todo.size()),
                 "analysing " + fs::path(todo[i]).filename().string());
    TrackAnalysis result;
    const AnalysisOutcome outcome = analyzer.Analyze(todo[i], result);
    if (outcome == AnalysisOutcome::kDone) {
      ++analysed;
    } else {
      TraceLine("automix: %s could not be analysed; it plays without beat matching", todo[i].c_str());
    }
  }
  if (!todo.empty()) {
    ShowProgress(static_cast<double>(todo.size()), static_cast<double>(todo.size()), "analysed");
    EndProgress();
  }
  return analysed;
}

std::string WriteDemoSet(const std::string& folder) {
  constexpr double kSeconds = 40.0;
  const double tempi[] = {118.0, 124.0, 130.0};
  std::error_code code;
  fs::create_directories(folder, code);
  std::string playlist = "#EXTM3U\n";
  for (double bpm : tempi) {
    const std::string name = "demo-" + std::to_string(static_cast<int>(bpm)) + "bpm.wav";
    if (!WriteDemoTrack(folder + "/" + name, kSeconds, bpm)) return "";
    playlist += name + "\n";
  }
  const std::string path = folder + "/demo.m3u";
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << playlist;
  return out.good() ? path : "";
}
