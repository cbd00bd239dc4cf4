#include "analysis/KeyNotation.h"

#include <gtest/gtest.h>

namespace {

TEST(KeyNotation, EveryKeyRoundTripsThroughEachNotation) {
  for (int note = 0; note < 12; ++note) {
    for (int mode : {kIonian, kAeolian}) {
      const ZQKey key = MakeKey(static_cast<float>(note), mode);
      for (KeyNotation notation : {KeyNotation::kSharp, KeyNotation::kFlat, KeyNotation::kKeycode}) {
        const std::string text = KeyText(key, notation);
        EXPECT_EQ(KeyFromText(text), key) << text;
      }
      EXPECT_EQ(KeyFromText(KeyCodeText(KeyCodeOf(key), true)), key);
      EXPECT_EQ(KeyFromText(KeyText(key, KeyNotation::kSharp, true)), key);
      const int index = KeyIndexOf(key);
      EXPECT_EQ(index, (mode == kAeolian ? 13 : 1) + note);
      EXPECT_EQ(KeyIndexFromName(KeyIndexName(index)), index);
      EXPECT_EQ(KeyIndexFromName(KeyText(key)), index) << KeyText(key);
      EXPECT_EQ(KeyIndexFromName(KeyText(key, KeyNotation::kFlat)), index) << KeyText(key, KeyNotation::kFlat);
    }
  }
}

TEST(KeyNotation, OtherModesRoundTripThroughTheirKeycodes) {
  for (int note = 0; note < 12; ++note) {
    for (int mode : {kLydian, kMixolydian, kDorian, kPhrygian, kLocrian}) {
      const ZQKey key = MakeKey(static_cast<float>(note), mode);
      EXPECT_EQ(KeyFromText(KeyCodeText(KeyCodeOf(key))), key) << KeyCodeText(KeyCodeOf(key));
    }
  }
}

TEST(KeyNotation, WheelNumbersAndPrintedForms) {
  EXPECT_EQ(KeyCodeText(KeyCodeOf(KeyFromText("Am"))), "08A");
  EXPECT_EQ(KeyCodeText(KeyCodeOf(KeyFromText("C"))), "08B");
  EXPECT_EQ(KeyCodeText(KeyCodeOf(KeyFromText("G#m"))), "01A");
  EXPECT_EQ(KeyCodeText(KeyCodeOf(KeyFromText("A dorian"))), "09D");
  EXPECT_EQ(KeyCodeText(KeyCodeOf(KeyFromText("A dorian")), true), "09A");
  EXPECT_EQ(KeyCodeText(KeyCodeOf(KeyFromText("C lydian")), true), "09B");
  EXPECT_EQ(KeyText(MakeKey(3.25f, kAeolian)), "Cm +25");
  EXPECT_EQ(KeyText(MakeKey(3.0f, kAeolian), KeyNotation::kSharp, true), "Cm NONE aeolian");
  EXPECT_EQ(KeyText(ZQKey{}), "UNKNOWN");
  EXPECT_EQ(KeyText(MakeKey(4.0f, kIonian), KeyNotation::kFlat), "Db");
}

TEST(KeyNotation, ParserCases) {
  EXPECT_EQ(KeyFromText("8A"), KeyFromText("Am"));
  EXPECT_EQ(KeyFromText("8a"), MakeKey(0.0f, kAeolian));
  EXPECT_EQ(KeyFromText("Am+1"), MakeKey(1.0f, kAeolian));
  EXPECT_EQ(KeyFromText("Am-2"), MakeKey(10.0f, kAeolian));
  EXPECT_EQ(KeyFromText("A minor"), MakeKey(0.0f, kAeolian));
  EXPECT_EQ(KeyFromText("C major"), MakeKey(3.0f, kIonian));
  EXPECT_EQ(KeyFromText("G mixolydian"), MakeKey(10.0f, kMixolydian));
  EXPECT_EQ(KeyFromText("Abm"), MakeKey(11.0f, kAeolian));
  EXPECT_EQ(KeyFromText("12B"), MakeKey(7.0f, kIonian));  // E major
  EXPECT_FALSE(KeyFromText("").known());
  EXPECT_FALSE(KeyFromText("H").known());
  EXPECT_FALSE(KeyFromText("13A").known());
  EXPECT_FALSE(KeyFromText("7x").known());
  EXPECT_FLOAT_EQ(FoldPitch(11.5f), -0.5f);
  EXPECT_FLOAT_EQ(FoldPitch(-0.5f), -0.5f);
  EXPECT_FLOAT_EQ(FoldPitch(-0.75f), 11.25f);
  // The record's key index from a name: the round trip above covers the spellings the program
  // writes; these are what other programs' tags hold.
  EXPECT_EQ(KeyIndexFromName(""), 0);
  EXPECT_EQ(KeyIndexFromName("c#/db"), 5);
  EXPECT_EQ(KeyIndexFromName("H"), 0);
  EXPECT_EQ(KeyIndexFromName("Cbm"), 0);
  EXPECT_EQ(KeyIndexFromName("A#/Bb/C"), 0);
  // A third character other than 'm' is a chord suffix on a major key, and only a lower-case
  // 'm' means minor.
  EXPECT_EQ(KeyIndexFromName("Bb7"), 2);
  EXPECT_EQ(KeyIndexFromName("BbM"), 2);
  EXPECT_EQ(KeyIndexFromName("F#9"), 10);
}

}  // namespace
