#pragma once
// Skins older than format 2 had two decks and spelled the deck in the control's name
// ("decka_play_pause", "label_loop_b"). The translation gives the four-deck name and the deck.

#include <string>

// Copies `name` through and sets `deck` to -1, then, when a row of the rename table matches,
// gives the new name and deck (0 for a, 1 for b). Returns true on a match.
bool TranslateTwoDeckName(const std::string& name, std::string& translated, int& deck);
