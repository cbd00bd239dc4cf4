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
  EXPECT_FALSE(std::filesystem::exists(path + ".tmp"));
}

TEST(AtomicFile, AFailedWriteKeepsTheOldFile) {
  TempFolder folder;
  std::string path = folder.File("lists.knx");
  ASSERT_TRUE(WriteFileAtomically(path, "precious"));
  // A folder in the temporary file's place makes the write fail, even for root.
  std::filesystem::create_directory(path + ".tmp");
  EXPECT_FALSE(WriteFileAtomically(path, "half"));
  std::string read;
  ASSERT_TRUE(ReadWholeFile(path, read));
  EXPECT_EQ(read, "precious");
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
