// The catalogue, the action table and the notifier table are vocabulary other files refer to by
// name and by position, so their shape and order are checked here.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "skin/model/ActionTable.h"
#include "skin/model/ControlCatalogue.h"
#include "skin/model/NotifierTable.h"

TEST(ControlCatalogue, NamesAreUniqueAndTheTableIsClosed) {
  EXPECT_STREQ(kControlCatalogue[0].name, "action_none");
  EXPECT_STREQ(kControlCatalogue[kControlIdCount - 1].name, "action_lastaction");
  std::set<std::string> names;
  for (int id = 1; id <= kLastControlId; ++id) {
    EXPECT_TRUE(names.insert(kControlCatalogue[id].name).second) << kControlCatalogue[id].name;
    EXPECT_EQ(ControlIdByName(kControlCatalogue[id].name), id);
  }
  EXPECT_EQ(ControlIdByName("action_none"), 0);
  EXPECT_EQ(ControlIdByName("action_lastaction"), 0);
  EXPECT_EQ(ControlIdByName("no_such_control"), 0);
  EXPECT_EQ(ControlIdByName(""), 0);
}

// Language, shortcut and controller files name controls; the tables indexed by id must keep
// lining up. Any change of order changes this fingerprint: append rows before action_lastaction
// and update the expected count instead of reordering.
TEST(ControlCatalogue, IdOrderIsFrozen) {
  unsigned long long hash = 1469598103934665603ull;  // FNV-1a over "name:type;" in id order
  for (int id = 0; id < kControlIdCount; ++id) {
    std::string row = std::string(kControlCatalogue[id].name) + ":" + std::to_string(kControlCatalogue[id].type) + ";";
    for (unsigned char c : row) hash = (hash ^ c) * 1099511628211ull;
  }
  EXPECT_EQ(hash, 0x166a878b6490bca2ull) << std::hex << "fingerprint 0x" << hash;
  EXPECT_EQ(ControlIdByName("fx_sel"), 1);
  EXPECT_EQ(ControlIdByName("deck_play_pause"), 15);
  EXPECT_EQ(ControlIdByName("crossfader"), ControlIdByName("cf_curve") + 1);
  EXPECT_EQ(ControlIdByName("tb_tab_in_tab"), kLastControlId);
}

TEST(ControlCatalogue, FlagsFollowTheRows) {
  EXPECT_EQ(ControlTypeOf(ControlIdByName("sd_deck")), kSoundDisplay);
  EXPECT_FALSE(ControlIsGlobal(ControlIdByName("deck_volume")));
  EXPECT_TRUE(ControlIsGlobal(ControlIdByName("crossfader")));
  EXPECT_TRUE(ControlIsLabel(ControlIdByName("label_loop")));
  EXPECT_FALSE(ControlIsLabel(ControlIdByName("deck_bpm")));
  EXPECT_EQ(ControlTypeOf(0), kNone);
  EXPECT_EQ(ControlTypeOf(kControlIdCount - 1), kNone);
  EXPECT_STREQ(ControlNameOf(-5), "");
  int labels = 0;
  for (int id = 1; id <= kLastControlId; ++id) labels += ControlIsLabel(id);
  EXPECT_EQ(labels, 53);
}

TEST(ActionTable, RowsResolveToControlsOfTheirKind) {
  int global = 0, deck = 0;
  std::set<std::string> names;
  for (int i = 0; i < kActionCount; ++i) {
    const ScriptAction& row = kActionTable[i];
    EXPECT_TRUE(names.insert(row.name).second) << row.name;
    // Global rows come first, all of them.
    EXPECT_EQ(row.isGlobal, i < kGlobalActionCount) << row.name;
    (row.isGlobal ? global : deck)++;
    EXPECT_EQ(row.maxArgs, row.isGlobal ? 1 : 3) << row.name;
    int wantMin = !row.isGlobal && row.group == kSliderSet ? 2 : 1;
    EXPECT_EQ(row.minArgs, wantMin) << row.name;
    // Press rows drive buttons, set rows sliders, direct rows no control at all.
    int wantType = row.group == kPress ? kButton : row.group == kSliderSet ? kSlider : kNone;
    EXPECT_EQ(ControlTypeOf(ControlIdByName(row.control)), wantType) << row.name << " -> " << row.control;
  }
  EXPECT_EQ(global, 81);
  EXPECT_EQ(deck, 119);
  EXPECT_EQ(kActionTable[ActionIndexByName("scratchDeckJW")].defaultValue, 100);
  EXPECT_EQ(kActionTable[ActionIndexByName("moveDeckJogWheel")].defaultValue, 100);
  EXPECT_EQ(kActionTable[ActionIndexByName("deckPlayPause")].defaultValue, -1);
  EXPECT_STREQ(kActionTable[ActionIndexByName("glmtLibrary")].control, "tarvo_libary");
  EXPECT_STREQ(kActionTable[ActionIndexByName("deckTapBpm")].control, "deck_edit_bpm");
  EXPECT_EQ(ActionIndexByName("sleep"), kGlobalActionCount - 1);
  EXPECT_EQ(ActionIndexByName("deckCuePosClear"), kActionCount - 1);
}

TEST(NotifierTable, SlotsAreUniqueAndStoreValues) {
  std::set<std::pair<std::string, int>> keys;
  const NotifierSlot* slots = NotifierTable();
  for (int i = 0; i < kNotifierSlotCount; ++i) EXPECT_TRUE(keys.insert({slots[i].name, slots[i].deck}).second);
  EXPECT_GE(NotifierIndex("reverse", 3), 0);
  EXPECT_EQ(NotifierIndex("onAir", 0), -1);
  EXPECT_GE(NotifierIndex("onAir", -1), 0);
  EXPECT_TRUE(SetStateOfNotifier("title", 2, 0, 0, std::string(600, 'x').c_str()));
  EXPECT_EQ(slots[NotifierIndex("title", 2)].text.size(), kNotifierTextMax);
  EXPECT_FALSE(SetStateOfNotifier("nothing", -1, 1, 0, ""));
}
