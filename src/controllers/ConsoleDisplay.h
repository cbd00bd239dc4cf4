#pragma once
// The one-line display of a console, per deck: the deck's title, one of its four effects, its
// pitch, the scratch mode or the monitor switch, one page at a time; the console's info button
// turns the pages. The line is built each tick and passed on only when its text changed, since
// a console's display is slow to write. Without the maker's library there is no way to write
// the console's own display, so the window shows the line in the deck's console info label.
//
// Threads: GUI thread only.

#include <string>

// What a deck shows, read by the caller each tick.
struct ConsoleDeckView {
  std::string effects[4];
  int pitchHundredths = 0;   // hundredths of a percent
  bool pitchOnFader = false;  // the console's volume/pitch mode: pitch on the fader, else the jog
  bool scratch = false;
  bool monitor = false;
  std::string artist, title;
};

enum class ConsolePage : int { kTitle, kFx1, kFx2, kFx3, kFx4, kPitch, kScratch, kMonitor, kCount };

// The line for deck 0 or 1 ('A' or 'B' on the title page).
std::string ConsoleDisplayLine(int deck, ConsolePage page, const ConsoleDeckView& view);

class ConsoleDisplay {
 public:
  // The info button of deck 0 or 1: the next page, after the last the title again.
  void NextPage(int deck);
  ConsolePage Page(int deck) const { return deck == 0 || deck == 1 ? page_[deck] : ConsolePage::kTitle; }
  // The tick: true, with the new text in *line, when deck 0's or 1's line changed.
  bool Update(int deck, const ConsoleDeckView& view, std::string* line);

 private:
  ConsolePage page_[2] = {ConsolePage::kTitle, ConsolePage::kTitle};
  std::string shown_[2];
  bool sent_[2] = {};
};
