#pragma once
// lumo render's mixer and effect options, applied to deck A's channel and the mixer before the
// render starts, so every sound change can be heard and checked from the command line:
//   --volume 0..127           deck A's fader position (fader law; 127 is 0 dB)
//   --crossfader 0..127       crossfader position at the program's default curve (deck A is left)
//   --eq LOW,MID,HIGH         band levels in dB
//   --kill low|mid|high       kills a band (may repeat)
//   --filter -99..99          the cut-off knob: below 0 low-pass, above 0 high-pass
//   --fx NAME[:wet[:p1[:p2]]] a fixed effect place by its action name, or a dynamics preset
//                             in the user chain (may repeat)
//   --chain FILE.knf          a user chain file
//   --limiter on|off          the master limiter (otherwise the alimit setting decides)

#include <array>
#include <optional>
#include <string>
#include <vector>

struct ParsedArgs;

struct RenderMixOptions {
  struct Fx {
    std::string name;
    float wet = 1.0f;
    std::optional<int> param1, param2;
  };
  std::optional<int> volume;
  std::optional<int> crossfader;
  std::optional<std::array<float, 3>> eq;
  std::array<bool, 3> kill{};
  std::optional<int> filter;
  std::vector<Fx> fx;
  std::optional<std::string> chain;
  std::optional<bool> limiter;
};

// The options' part of the usage line.
const char* RenderMixUsage();
// False, with the reason on stderr, when a value is malformed or out of range.
bool ParseRenderMixOptions(const ParsedArgs& args, RenderMixOptions& options);
// Applies them to the running engine. False, with the reason on stderr, when an effect is not
// available or the chain file cannot be loaded.
bool ApplyRenderMixOptions(const RenderMixOptions& options);
