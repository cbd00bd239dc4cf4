#pragma once
// A temporary data root for analysis tests: a stripes folder, an empty song database, and WAV
// files written on demand.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "analysis/StripeFile.h"
#include "library/SongDatabase.h"
#include "support/TestFiles.h"

class AnalysisFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(root.File("Stripes"));
    SetStripesFolder(root.File("Stripes/"));
    LoadSongDatabase(root.File("db.knx"));
  }
  void TearDown() override { DropSongDatabase(); }
  std::string PathOf(const std::string& name) const { return root.File(name); }

  TempFolder root;
};
