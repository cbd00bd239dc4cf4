#pragma once
// Values that scripts are told about when they change: one slot per (name, deck). The slot
// holds the current and the previous value in three forms; the script tick compares them.
//
// Threads: GUI thread only (control callbacks write, the script tick reads).

#include <string>

struct NotifierSlot {
  const char* name;
  int deck;  // -1 global
  int intValue = 0, previousInt = 0;
  double floatValue = 0, previousFloat = 0;
  std::string text, previousText;  // at most kNotifierTextMax bytes
};

constexpr int kNotifierSlotCount = 143;
constexpr int kNotifierDeckNameCount = 33;
constexpr int kNotifierGlobalNameCount = 11;
constexpr size_t kNotifierTextMax = 511;

// The table, in its fixed order: deck 0's names, deck 1's, ..., then the global names.
NotifierSlot* NotifierTable();

// Index of (name, deck); -1 when there is no such slot.
int NotifierIndex(const char* name, int deck);

// Stores a new value into the slot; false when there is no such slot.
bool SetStateOfNotifier(const char* name, int deck, int intValue, double floatValue, const char* text);
