#pragma once
// A data root with Database/ and Playlists/ and an empty song database loaded in it, dropped
// again after the test.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "library/SongDatabase.h"
#include "support/TestFiles.h"

class LibraryFolderFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(folder.File("Database"));
    std::filesystem::create_directories(folder.File("Playlists"));
    LoadSongDatabase(folder.File("Database/db.knx"));
  }
  void TearDown() override { DropSongDatabase(); }

  TempFolder folder;
  std::string db = folder.File("Database/"), playlists = folder.File("Playlists/");
};
