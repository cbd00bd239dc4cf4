// Files the user owns are replaced whole or not at all; numbers are written in the C locale.

#include <gtest/gtest.h>

#include <clocale>
#include <limits>
#include <filesystem>
#include <sys/stat.h>

#include "app/base/AtomicFile.h"
#include "app/base/NumberText.h"
#include "support/TestFiles.h"

namespace {

TEST(AtomicFile, ReplacesTheOldFileAndLeavesNoTemporary) {
  TempFolder folder;
  std::string path = folder.File("db.knx");
  ASSERT_TRUE(WriteFileAtomically(path, "old"));
  ASSERT_TRUE(WriteFileAtomically(path, "new contents"));
  std::string read;
  ASSERT_TRUE(ReadWholeFile(path, read));
  EXPECT_EQ(read, "new contents");
  int entries = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder.path())) ++entries;
  EXPECT_EQ(entries, 1) << "a temporary file was left behind";
}

TEST(AtomicFile, AFailedWriteKeepsTheOldContentAndLeavesNoTemporary) {
  TempFolder folder;
  // A non-empty folder in the file's place makes the final rename fail, even for root.
  std::string path = folder.File("lists.knx");
  std::filesystem::create_directory(path);
  ASSERT_TRUE(WriteFileAtomically(path + "/inside", "precious"));
  EXPECT_FALSE(WriteFileAtomically(path, "half"));
  std::string read;
  ASSERT_TRUE(ReadWholeFile(path + "/inside", read));
  EXPECT_EQ(read, "precious");
  int entries = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder.path())) ++entries;
  EXPECT_EQ(entries, 1);
}

TEST(AtomicFile, KeepsTheModeAndWritesNamesNearTheLengthLimit) {
  TempFolder folder;
  std::string path = folder.File("private.knl");
  ASSERT_TRUE(WriteFileAtomically(path, "one"));
  ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
  ASSERT_TRUE(WriteFileAtomically(path, "two"));
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  // A 251-byte name is legal; a temporary named after it would not be.
  std::string longName = folder.File(std::string(247, 'x') + ".kn2");
  EXPECT_TRUE(WriteFileAtomically(longName, "stripe"));
}

TEST(NumberText, IgnoresTheLocaleBothWays) {
  const char* previous = std::setlocale(LC_NUMERIC, nullptr);
  std::string saved = previous ? previous : "C";
  if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8")) GTEST_SKIP() << "no German locale installed";
  EXPECT_EQ(FormatFixed(128.0, 4), "128.0000");
  EXPECT_EQ(FormatFixed(-0.5, 2), "-0.50");
  double value = 0;
  EXPECT_TRUE(ParseDouble("128.0000", value));
  EXPECT_DOUBLE_EQ(value, 128.0);
  EXPECT_FALSE(ParseDouble("128,5", value));
  std::setlocale(LC_NUMERIC, saved.c_str());
}

TEST(NumberText, RejectsPartialAndEmptyNumbers) {
  long long n = 7;
  EXPECT_TRUE(ParseInt(" -12 ", n));
  EXPECT_EQ(n, -12);
  EXPECT_FALSE(ParseInt("12abc", n));
  EXPECT_FALSE(ParseInt("", n));
  EXPECT_EQ(n, -12);
  EXPECT_EQ(FormatFixed(std::numeric_limits<double>::quiet_NaN(), 1), "0.0");
}

}  // namespace
