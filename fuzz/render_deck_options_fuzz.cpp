// lumo render's deck options: any words on the command line are accepted or refused, never a
// crash, and what is accepted stays inside the ranges the deck takes.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "LumoSession.h"
#include "RenderDeckOptions.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Words are separated by newlines, as if each line were one argument.
  std::vector<std::string> words{"render"};
  std::string word;
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == '\n') {
      words.push_back(word);
      word.clear();
    } else {
      word.push_back(static_cast<char>(data[i]));
    }
  }
  words.push_back(word);
  std::vector<char*> argv;
  for (std::string& w : words) argv.push_back(w.data());
  ParsedArgs args = ParseArgs(static_cast<int>(argv.size()), argv.data(), {"float"});
  RenderDeckOptions options;
  if (!options.Parse(args)) return 0;
  if (options.pitch < -10000 || options.pitch > 10000 || options.keyShift < -2400 || options.keyShift > 2400) {
    __builtin_trap();
  }
  for (const auto& [slot, seconds] : options.hotCues) {
    if (slot < 0 || slot > 7 || !(seconds >= 0)) __builtin_trap();
  }
  if (options.loopCode != 0 && (options.loopCode < 4 || options.loopCode > 2048)) __builtin_trap();
  return 0;
}
