#include "app/AppCloseSequence.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// The close is safe only in this order: a late tick or queue post must find the main window
// pointer cleared before the outputs close, no callback may run while the objects it reads are
// deleted, and the song database is written last, after everything that could still change it.
TEST(AppCloseSequence, ClearsTheWindowBeforeOutputsCloseAndObjectsGo) {
  std::vector<std::string> ran;
  auto step = [&](const char* name) { return [&ran, name] { ran.push_back(name); }; };
  AppCloseSteps steps;
  steps.hideWindows = step("hide");
  steps.stopInputs = step("inputs");
  steps.saveSettings = step("settings");
  steps.stopThreads = step("threads");
  steps.forgetMainWindow = step("forget");
  steps.closeOutputs = step("outputs");
  steps.releaseObjects = step("release");
  steps.saveLibrary = step("library");
  RunAppClose(steps);

  auto at = [&](const char* name) { return std::find(ran.begin(), ran.end(), name) - ran.begin(); };
  ASSERT_EQ(ran.size(), 8u);
  EXPECT_LT(at("inputs"), at("threads"));   // nothing feeds a stopped thread
  EXPECT_LT(at("threads"), at("forget"));
  EXPECT_LT(at("forget"), at("outputs"));   // late jobs see no window while the device closes
  EXPECT_LT(at("outputs"), at("release"));  // no callback runs while its objects are deleted
  EXPECT_EQ(ran.back(), "library");
}

TEST(AppCloseSequence, PassesOverStepsLeftEmpty) {
  int closed = 0;
  AppCloseSteps steps;
  steps.closeOutputs = [&] { ++closed; };
  RunAppClose(steps);
  EXPECT_EQ(closed, 1);
}

}  // namespace
