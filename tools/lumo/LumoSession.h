#pragma once
// What every lumo command shares: the engine brought up and down in the program's order,
// argument helpers and the one-line progress display.

#include <optional>
#include <string>
#include <vector>

#include "JsonText.h"

class CSoundSource;

// Brings the engine objects up (folders, decks, channels, mixer) and down again.
class LumoSession {
 public:
  // offline: deck workers run in step with an offline render instead of on their threads.
  explicit LumoSession(bool offline);
  ~LumoSession();
  bool ok() const { return ok_; }
  CSoundSource& deck(int index);

  // Loads a file on a deck and runs the loader until the load has finished (offline: by
  // stepping the workers). Returns false, with the reason on stderr, when it failed.
  bool LoadAndWait(int deck, const std::string& path, bool autoPlay);

 private:
  bool ok_ = false;
  bool offline_;
};

// True when the deck has played to the end of its track (the tick would return it to its cue).
bool DeckReachedEnd(CSoundSource& deck);

// "--name value" options and positional arguments.
struct ParsedArgs {
  std::vector<std::string> positional;
  std::vector<std::pair<std::string, std::string>> options;
  std::optional<std::string> Get(const std::string& name) const;
  bool Has(const std::string& name) const;
};
// `flags` are options that take no value.
ParsedArgs ParseArgs(int argc, char** argv, const std::vector<std::string>& flags);
bool ParseSeconds(const std::optional<std::string>& text, double& seconds);

// "\r  1:02 / 4:10  [#####.....]  label" on stderr, redrawn in place.
void ShowProgress(double seconds, double total, const std::string& label);
void EndProgress();
std::string FormatClock(double seconds);

