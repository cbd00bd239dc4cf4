// A process that dies on a fatal signal leaves a report; the next start finds it and offers
// it once. The crashing process is a child (a death test), so this one lives on to look.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <filesystem>

#include "app/CrashReport.h"
#include "app/base/AtomicFile.h"
#include "support/TestFiles.h"

namespace {

[[gnu::noinline]] void CrashBySegfault(const std::string& report) {
  InstallCrashHandler(report);
  volatile int* nowhere = nullptr;
  *nowhere = 1;
}

[[gnu::noinline]] void CrashByAbort(const std::string& report) {
  InstallCrashHandler(report);
  std::abort();
}

TEST(CrashReport, AFatalSignalLeavesAReportThatIsOfferedOnce) {
  GTEST_FLAG_SET(death_test_style, "fast");  // the child must see this test's folder
  TempFolder folder;
  struct Case {
    void (*crash)(const std::string&);
    int signal;
  } cases[] = {{&CrashBySegfault, SIGSEGV}, {&CrashByAbort, SIGABRT}};
  for (const Case& c : cases) {
    const std::string path = folder.File(kCrashReportFile);
    EXPECT_EXIT(c.crash(path), ::testing::KilledBySignal(c.signal), "")
        << "the signal still ends the process";
    std::string details;
    ASSERT_TRUE(ReadWholeFile(path, details)) << "no report after signal " << c.signal;
    EXPECT_EQ(details.rfind("KNversion: v2.0.9\nOS: Linux ", 0), 0u) << details;
    EXPECT_NE(details.find("\nEndian: LittleEndian (Intel/Amd) 64bits\n"), std::string::npos);
    EXPECT_NE(details.find("\nDateTime: 20"), std::string::npos);
    EXPECT_NE(details.find("\nSignal: " + std::to_string(c.signal) + "\n"), std::string::npos);
    EXPECT_NE(details.find("\n[ 0] "), std::string::npos) << "a stack trace, one line a frame";
    EXPECT_NE(details.find("\n[ 2] "), std::string::npos);

    EXPECT_EQ(TakePendingCrashReport(path), details) << "the next start finds it";
    EXPECT_EQ(TakePendingCrashReport(path), "") << "and offers it only once";
    EXPECT_TRUE(std::filesystem::exists(path + ".offered"));
  }
}

TEST(CrashReport, NothingIsSentWithoutAnAddress) {
  const std::string report = ComposeCrashReport("it stopped", "dj@example.org", "KNversion: v2.0.9\n");
  EXPECT_EQ(report, "User description:\nit stopped\n\nUser email:\ndj@example.org\n\nOther details:\nKNversion: v2.0.9\n");
  EXPECT_FALSE(SendCrashReport("", report));
  EXPECT_FALSE(SendCrashReport("mailto:dj@example.org", report));
}

}  // namespace
