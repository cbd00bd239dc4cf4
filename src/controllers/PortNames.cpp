#include "controllers/PortNames.h"

#include <cctype>
#include <strings.h>

#include <vector>

namespace {

bool IsDigits(const std::string& text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (!std::isdigit(static_cast<unsigned char>(c))) return false;
  }
  return true;
}

// " 24:0" at the end: the ALSA sequencer's client and port numbers.
void DropSequencerNumbers(std::string& name) {
  const size_t space = name.rfind(' ');
  if (space == std::string::npos) return;
  const std::string tail = name.substr(space + 1);
  const size_t colon = tail.find(':');
  if (colon == std::string::npos) return;
  if (IsDigits(tail.substr(0, colon)) && IsDigits(tail.substr(colon + 1))) name.erase(space);
}

void DropBridgeDecorations(std::string& name) {
  if (name.rfind("a2j:", 0) == 0) name.erase(0, 4);
  for (const char* word : {" (capture)", " (playback)"}) {
    const size_t at = name.find(word);
    if (at != std::string::npos) name.erase(at, std::string(word).size());
  }
  const size_t open = name.find(" [");
  const size_t close = open == std::string::npos ? open : name.find(']', open);
  if (close != std::string::npos && IsDigits(name.substr(open + 2, close - open - 2))) {
    name.erase(open, close - open + 1);
  }
}

bool IsDirectionWord(const std::string& word) {
  for (const char* direction : {"in", "out", "input", "output", "capture", "playback"}) {
    if (!strcasecmp(word.c_str(), direction)) return true;
  }
  return false;
}

// Removes direction words that stand apart ("midi_in", "MIDI Out", "midi_capture_1"): the
// separator before the word goes with it.
void DropDirectionWords(std::string& name) {
  std::string result;
  size_t start = 0;
  while (start <= name.size()) {
    size_t end = start;
    while (end < name.size() && std::isalnum(static_cast<unsigned char>(name[end]))) ++end;
    const std::string word = name.substr(start, end - start);
    if (IsDirectionWord(word)) {
      if (!result.empty() && (result.back() == '_' || result.back() == ' ' || result.back() == '-')) {
        result.pop_back();
      }
    } else {
      result += word;
    }
    if (end < name.size()) result += name[end];
    start = end + 1;
  }
  name = result;
}

void Trim(std::string& name) {
  while (!name.empty() && (name.back() == ' ' || name.back() == '_' || name.back() == '-')) name.pop_back();
  size_t first = 0;
  while (first < name.size() && name[first] == ' ') ++first;
  name.erase(0, first);
}

}  // namespace

std::string NormaliseMidiPortName(const std::string& portName) {
  std::string name = portName;
  DropSequencerNumbers(name);
  DropBridgeDecorations(name);
  DropDirectionWords(name);
  Trim(name);
  return name;
}

bool MidiPortNameMatches(const std::string& scriptName, const std::string& portName) {
  if (scriptName.empty()) return false;
  const std::string name = NormaliseMidiPortName(portName);
  if (!strcasecmp(scriptName.c_str(), name.c_str())) return true;
  const size_t colon = name.find(':');
  if (colon == std::string::npos) return false;
  std::string client = name.substr(0, colon);
  std::string port = name.substr(colon + 1);
  Trim(client);
  Trim(port);
  return !strcasecmp(scriptName.c_str(), client.c_str()) || !strcasecmp(scriptName.c_str(), port.c_str());
}
