#include "controllers/ConsoleDisplay.h"

#include <cstdio>
#include <cstdlib>

namespace {

const char* OnOff(bool on) { return on ? "ON" : "OFF"; }

std::string PitchText(const ConsoleDeckView& view) {
  const char* label = view.pitchOnFader ? "PITCH F" : "PITCH J";
  if (view.pitchHundredths == 0) return label;
  const int magnitude = std::abs(view.pitchHundredths);
  char fraction[4];
  std::snprintf(fraction, sizeof fraction, "%02d", magnitude % 100);
  char value[32];
  std::snprintf(value, sizeof value, view.pitchHundredths < 0 ? "-%d.%s%%" : "%d.%s%%", magnitude / 100, fraction);
  return std::string(label) + " - " + value;
}

}  // namespace

std::string ConsoleDisplayLine(int deck, ConsolePage page, const ConsoleDeckView& view) {
  switch (page) {
    case ConsolePage::kFx1:
    case ConsolePage::kFx2:
    case ConsolePage::kFx3:
    case ConsolePage::kFx4: {
      const int slot = static_cast<int>(page) - static_cast<int>(ConsolePage::kFx1);
      return "FX" + std::to_string(slot + 1) + " - " + view.effects[slot];
    }
    case ConsolePage::kPitch: return PitchText(view);
    case ConsolePage::kScratch: return std::string("SCRATCH - ") + OnOff(view.scratch);
    case ConsolePage::kMonitor: return std::string("MONITOR - ") + OnOff(view.monitor);
    default: break;
  }
  const std::string artist = view.artist.empty() ? "" : view.artist + " - ";
  char letter[4];
  std::snprintf(letter, sizeof letter, "%c: ", 'A' + (deck == 1 ? 1 : 0));
  return letter + artist + view.title;
}

void ConsoleDisplay::NextPage(int deck) {
  if (deck != 0 && deck != 1) return;
  const int next = (static_cast<int>(page_[deck]) + 1) % static_cast<int>(ConsolePage::kCount);
  page_[deck] = static_cast<ConsolePage>(next);
}

bool ConsoleDisplay::Update(int deck, const ConsoleDeckView& view, std::string* line) {
  if (deck != 0 && deck != 1) return false;
  std::string text = ConsoleDisplayLine(deck, page_[deck], view);
  if (sent_[deck] && text == shown_[deck]) return false;
  shown_[deck] = text;
  sent_[deck] = true;
  *line = shown_[deck];
  return true;
}
