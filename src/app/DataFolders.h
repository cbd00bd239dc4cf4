#pragma once
// The folders the program reads and writes. Every folder string ends in '/'.
//
// The data root is "Zorvik-Lumo/" under the user's XDG documents folder (from user-dirs.dirs,
// else ~/Documents); ZORVIK_LUMO_HOME names it directly instead (tests use a temporary one).
// The program data folder holds what ships with the program (skins, samples, languages,
// controller scripts): "data/" beside the executable or one level above it (the build tree),
// or ZORVIK_LUMO_DATA.

#include <string>

struct DataFolders {
  std::string program;      // folder of the executable
  std::string programData;  // shipped skins, samples, languages, controller scripts
  std::string documents;
  std::string root;
  std::string stripes;
  std::string database;
  std::string settings;
  std::string playlists;
  std::string skins;
  std::string samples;
  std::string effects;  // named, not created

  // Computes the names; creates nothing.
  static DataFolders Compute();
  // Creates the folders that do not exist, in order, and seeds the samples folder when it had
  // to be created. Returns false when the data root still does not exist afterwards.
  bool Create() const;
};

extern const char* const kCannotCreateDataFolder;

// The folder names in use; set once at start-up.
const DataFolders& Folders();
void SetFolders(const DataFolders& folders);

// Creates one folder; true when it exists afterwards.
bool EnsureFolder(const std::string& path);
// Copies a folder tree; files already present are left alone.
void CopyFolderTree(const std::string& from, const std::string& to);
