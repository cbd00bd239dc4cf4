// Where the data lives and what start-up makes of it.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

#include "app/DataFolders.h"
#include "support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

TEST(DataFolders, HomeVariableNamesTheRootAndEveryFolderEndsInASeparator) {
  ScopedDataRoot root;
  DataFolders folders = DataFolders::Compute();
  EXPECT_EQ(folders.root, root.path());
  EXPECT_EQ(folders.database, root.path() + "Database/");
  EXPECT_EQ(folders.stripes, root.path() + "Stripes/");
  for (const std::string* folder : {&folders.program, &folders.documents, &folders.settings,
                                    &folders.playlists, &folders.skins, &folders.samples, &folders.effects}) {
    EXPECT_EQ(folder->back(), '/') << *folder;
  }
}

TEST(DataFolders, WithoutTheVariableTheRootSitsInTheXdgDocumentsFolder) {
  TempFolder home;
  std::string previousHome = getenv("HOME") ? getenv("HOME") : "";
  const char* previousRoot = getenv("ZORVIK_LUMO_HOME");
  std::string savedRoot = previousRoot ? previousRoot : "";
  unsetenv("ZORVIK_LUMO_HOME");
  setenv("HOME", home.path().c_str(), 1);
  unsetenv("XDG_CONFIG_HOME");
  fs::create_directories(home.path() + ".config");
  std::ofstream(home.path() + ".config/user-dirs.dirs") << "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n";

  DataFolders folders = DataFolders::Compute();
  EXPECT_EQ(folders.root, home.path() + "Dokumente/Zorvik-Lumo/");

  setenv("HOME", previousHome.c_str(), 1);
  if (previousRoot) setenv("ZORVIK_LUMO_HOME", savedRoot.c_str(), 1);
}

TEST(DataFolders, CreateMakesTheFoldersButNotEffectsAndSeedsSamplesOnce) {
  ScopedDataRoot root;
  TempFolder shipped;
  fs::create_directories(shipped.path() + "samples/drums");
  std::ofstream(shipped.path() + "samples/drums/kick.wav") << "x";
  DataFolders folders = DataFolders::Compute();
  folders.programData = shipped.path();

  ASSERT_TRUE(folders.Create());
  for (const char* name : {"Stripes", "Database", "Settings", "Playlists", "Skins", "Samples"}) {
    EXPECT_TRUE(fs::is_directory(root.path() + name)) << name;
  }
  EXPECT_FALSE(fs::exists(root.path() + "Effects"));
  EXPECT_TRUE(fs::exists(root.path() + "Samples/drums/kick.wav"));

  // A sample the user deleted stays deleted: seeding happens only when the folder is new.
  fs::remove(root.path() + "Samples/drums/kick.wav");
  ASSERT_TRUE(folders.Create());
  EXPECT_FALSE(fs::exists(root.path() + "Samples/drums/kick.wav"));
}

TEST(DataFolders, AnImpossibleRootIsReportedNotFatal) {
  TempFolder parent;
  std::ofstream(parent.path() + "Documents") << "a file where the folder should be";
  DataFolders folders = DataFolders::Compute();
  folders.root = parent.path() + "Documents/Zorvik-Lumo/";
  folders.stripes = folders.root + "Stripes/";
  folders.samples = folders.root + "Samples/";
  EXPECT_FALSE(folders.Create());
}

}  // namespace
