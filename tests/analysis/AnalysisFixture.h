#pragma once
// A temporary data root for analysis tests: a stripes folder, an empty song database, and WAV
// files written on demand.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "analysis/StripeFile.h"
#include "library/SongDatabase.h"

class AnalysisFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    root = std::filesystem::temp_directory_path() /
           ("lumo-analysis-" + std::to_string(::getpid()) + "-" +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(root);
    std::filesystem::create_directories(root / "Stripes");
    SetStripesFolder((root / "Stripes").string() + "/");
    LoadSongDatabase((root / "db.knx").string());
  }
  void TearDown() override {
    DropSongDatabase();
    std::filesystem::remove_all(root);
  }
  std::string PathOf(const std::string& name) const { return (root / name).string(); }

  std::filesystem::path root;
};
