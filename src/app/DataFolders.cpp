#include "app/DataFolders.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "app/base/Trace.h"

const char* const kCannotCreateDataFolder =
    "Cannot create the application data folder. Please make sure you have write permissions.";

namespace {

namespace fs = std::filesystem;

DataFolders g_folders;

std::string WithSeparator(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path + "/";
}

std::string HomeFolder() {
  const char* home = std::getenv("HOME");
  std::string folder = home && *home ? home : "/tmp";
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  return folder;
}

// XDG_DOCUMENTS_DIR from user-dirs.dirs, with $HOME expanded; empty when absent.
std::string XdgDocumentsFolder() {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  std::string file = (config && *config ? std::string(config) : HomeFolder() + "/.config") +
                     "/user-dirs.dirs";
  std::ifstream in(file);
  std::string line;
  while (std::getline(in, line)) {
    const std::string key = "XDG_DOCUMENTS_DIR=\"";
    if (line.rfind(key, 0) != 0 || line.back() != '"') continue;
    std::string value = line.substr(key.size(), line.size() - key.size() - 1);
    if (value.rfind("$HOME", 0) == 0) value = HomeFolder() + value.substr(5);
    return value;
  }
  return {};
}

std::string ExecutableFolder() {
  std::error_code error;
  fs::path exe = fs::read_symlink("/proc/self/exe", error);
  return error ? std::string("./") : WithSeparator(exe.parent_path().string());
}

std::string FindProgramData(const std::string& program) {
  if (const char* env = std::getenv("ZORVIK_LUMO_DATA"); env && *env) return WithSeparator(env);
  for (const char* candidate : {"data", "../data", "../share/zorvik-lumo"}) {
    std::error_code error;
    fs::path path = fs::weakly_canonical(fs::path(program) / candidate, error);
    if (!error && fs::is_directory(path, error)) return WithSeparator(path.string());
  }
  return program;
}

}  // namespace

DataFolders DataFolders::Compute() {
  DataFolders f;
  f.program = ExecutableFolder();
  f.programData = FindProgramData(f.program);
  std::string documents = XdgDocumentsFolder();
  f.documents = WithSeparator(documents.empty() ? HomeFolder() + "/Documents" : documents);
  const char* home = std::getenv("ZORVIK_LUMO_HOME");
  f.root = home && *home ? WithSeparator(home) : f.documents + "Zorvik-Lumo/";
  f.stripes = f.root + "Stripes/";
  f.database = f.root + "Database/";
  f.settings = f.root + "Settings/";
  f.playlists = f.root + "Playlists/";
  f.skins = f.root + "Skins/";
  f.samples = f.root + "Samples/";
  f.effects = f.root + "Effects/";
  return f;
}

bool EnsureFolder(const std::string& path) {
  struct stat info;
  if (::stat(path.c_str(), &info) == 0) return S_ISDIR(info.st_mode);
  std::error_code error;
  fs::create_directories(path, error);
  if (!error) ::chmod(path.c_str(), 0777 & ~[] { mode_t m = ::umask(0); ::umask(m); return m; }());
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

void CopyFolderTree(const std::string& from, const std::string& to) {
  std::error_code error;
  fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::skip_existing, error);
  if (error) TraceLine("can not copy %s to %s: %s", from.c_str(), to.c_str(), error.message().c_str());
}

bool DataFolders::Create() const {
  EnsureFolder(root);
  for (const std::string* folder : {&stripes, &database, &settings, &playlists, &skins}) {
    EnsureFolder(*folder);
  }
  struct stat info;
  bool samplesExisted = ::stat(samples.c_str(), &info) == 0;
  if (EnsureFolder(samples) && !samplesExisted && ::stat((programData + "samples").c_str(), &info) == 0) {
    CopyFolderTree(programData + "samples", samples);
  }
  return ::stat(root.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

const DataFolders& Folders() { return g_folders; }
void SetFolders(const DataFolders& folders) { g_folders = folders; }
