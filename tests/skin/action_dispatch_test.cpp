// The argument rules of `call`: defaults, deck clamping and the error text for short calls.
#include <gtest/gtest.h>

#include <vector>

#include "skin/model/ActionDispatch.h"
#include "skin/model/ActionTable.h"
#include "support/TraceCapture.h"

namespace {

struct Recorded {
  int row, value, aux, deck;
};

class RecordingRunner : public ActionRunner {
 public:
  void RunAction(int row, int value, int aux, int deck) override { calls.push_back({row, value, aux, deck}); }
  ControlValue GetValue(const char* name, int deck) override {
    if (std::string(name) == "title" && deck == 1) return ControlValue::Text("");
    return {};
  }
  std::vector<Recorded> calls;
};

class ActionDispatch : public ::testing::Test {
 protected:
  void SetUp() override { SetActionRunner(&runner); }
  void TearDown() override { SetActionRunner(nullptr); }
  RecordingRunner runner;
  TraceCapture trace;
};

TEST_F(ActionDispatch, GlobalAndDeckRowsGetTheirArgumentsAndDefaults) {
  const int crossfader[] = {64};
  EXPECT_TRUE(CallAction("setCrossfader", crossfader, 1));
  const int loop[] = {9};  // deck 9 is clamped to deck 0
  EXPECT_TRUE(CallAction("deckLoop4", loop, 1));
  const int scratch[] = {2};
  EXPECT_TRUE(CallAction("scratchDeckJW", scratch, 1));
  ASSERT_EQ(runner.calls.size(), 3u);
  EXPECT_EQ(runner.calls[0].row, ActionIndexByName("setCrossfader"));
  EXPECT_EQ(runner.calls[0].value, 64);
  EXPECT_EQ(runner.calls[0].aux, -1);
  EXPECT_EQ(runner.calls[0].deck, -1);
  EXPECT_EQ(runner.calls[1].deck, 0);
  EXPECT_EQ(runner.calls[1].value, -1);  // a full click
  EXPECT_EQ(runner.calls[2].deck, 2);
  EXPECT_EQ(runner.calls[2].value, 100);  // the jog rows default to 100
}

TEST_F(ActionDispatch, ShortOrUnknownCallsAreLoggedWithTheirCount) {
  EXPECT_FALSE(CallAction("setCrossfader", nullptr, 0));
  EXPECT_FALSE(CallAction("deckPlayPause", nullptr, 0));
  const int one[] = {1};
  EXPECT_FALSE(CallAction("noSuchAction", one, 1));
  EXPECT_FALSE(CallAction(nullptr, nullptr, 0));
  EXPECT_TRUE(runner.calls.empty());
  EXPECT_TRUE(trace.Saw("js function 'setCrossfader' (0 params) unknown or bad params"));
  EXPECT_TRUE(trace.Saw("js function 'deckPlayPause' (0 params) unknown or bad params"));
  EXPECT_TRUE(trace.Saw("js function 'noSuchAction' (1 params) unknown or bad params"));
  EXPECT_TRUE(trace.Saw("js function '' (0 params) unknown or bad params"));
}

TEST_F(ActionDispatch, GetValueGoesToTheRunnerAndIsNullWithoutOne) {
  EXPECT_EQ(GetControlValue("title", 1).type, ControlValue::kText);
  EXPECT_EQ(GetControlValue("nonsense", 0).type, ControlValue::kNull);
  SetActionRunner(nullptr);
  EXPECT_EQ(GetControlValue("title", 1).type, ControlValue::kNull);
}

}  // namespace
