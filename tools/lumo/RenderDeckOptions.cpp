#include "RenderDeckOptions.h"

#include <cmath>
#include <cstdio>

#include "LumoSession.h"
#include "app/base/NumberText.h"
#include "deck/SoundSource.h"

namespace {

constexpr int kSecond = 44100;

bool Fail(const char* option, const std::string& value, const char* wanted) {
  std::fprintf(stderr, "lumo: --%s wants %s, not \"%s\"\n", option, wanted, value.c_str());
  return false;
}

bool ReadNumber(const ParsedArgs& args, const char* option, double low, double high, double& out) {
  auto text = args.Get(option);
  if (!text) return true;
  double value;
  if (!ParseDouble(*text, value) || !(value >= low && value <= high)) {
    char wanted[96];
    std::snprintf(wanted, sizeof wanted, "a number from %g to %g", low, high);
    return Fail(option, *text, wanted);
  }
  out = value;
  return true;
}

// "A:B" with two numbers.
bool ReadPair(const std::string& text, double& first, double& second) {
  size_t colon = text.find(':');
  return colon != std::string::npos && ParseDouble(text.substr(0, colon), first) &&
         ParseDouble(text.substr(colon + 1), second);
}

// A loop size in beats as a size code: 1/16 to 32 beats, powers of two.
bool BeatsToCode(double beats, int& code) {
  for (int c = 4; c <= 2048; c *= 2) {
    if (std::fabs(beats * 64 - c) < 1e-9) {
      code = c;
      return true;
    }
  }
  return false;
}

}  // namespace

const char* RenderDeckOptions::Usage() {
  return "[--pitch PERCENT] [--range PERCENT] [--keylock splice|rubberband] [--key-shift CENTS] [--cue S] "
         "[--hotcue N:S]... [--loop START_S:BEATS] [--reverse AT_S] [--brake AT_S]";
}

bool RenderDeckOptions::Parse(const ParsedArgs& args) {
  double percent = 0;
  if (!ReadNumber(args, "range", 1, 100, range) || !ReadNumber(args, "pitch", -range, range, percent)) return false;
  pitch = static_cast<int>(std::lround(percent * 100));
  if (auto mode = args.Get("keylock")) {
    if (*mode == "splice") {
      keyLock = KeyLock::kSplice;
    } else if (*mode == "rubberband") {
      keyLock = KeyLock::kRubberBand;
    } else {
      return Fail("keylock", *mode, "splice or rubberband");
    }
  }
  double cents = 0;
  if (!ReadNumber(args, "key-shift", -2400, 2400, cents)) return false;
  keyShift = static_cast<int>(std::lround(cents));
  if (!ReadNumber(args, "cue", 0, 1e6, cue) || !ReadNumber(args, "reverse", 0, 1e6, reverseAt) ||
      !ReadNumber(args, "brake", 0, 1e6, brakeAt)) {
    return false;
  }
  for (const auto& [name, value] : args.options) {
    double slot, seconds;
    if (name == "hotcue") {
      if (!ReadPair(value, slot, seconds) || slot < 1 || slot > 8 || slot != std::floor(slot) || seconds < 0) {
        return Fail("hotcue", value, "N:SECONDS with N from 1 to 8");
      }
      hotCues.emplace_back(static_cast<int>(slot) - 1, seconds);
    }
  }
  if (auto loop = args.Get("loop")) {
    double beats;
    if (!ReadPair(*loop, loopStart, beats) || loopStart < 0 || !BeatsToCode(beats, loopCode)) {
      return Fail("loop", *loop, "START_SECONDS:BEATS with BEATS a power of two from 1/16 to 32");
    }
  }
  return true;
}

void RenderDeckOptions::ApplyAtStart(CSoundSource& deck) const {
  deck.setHq(keyLock == KeyLock::kRubberBand);
  deck.setKeyLock(keyLock != KeyLock::kOff);
  deck.setPitch(pitch);
  deck.setKeyShift(keyShift);
  double keep = deck.Position();
  for (const auto& [slot, seconds] : hotCues) {
    deck.selectCue(slot);
    deck.position = seconds * kSecond;
    deck.setCueHere();
  }
  if (cue >= 0) {
    deck.selectCue(0);
    deck.position = cue * kSecond;
    deck.setCueHere();
  }
  // The render starts from the cue when one was given, else where the load parked it.
  deck.position = cue >= 0 ? cue * kSecond : keep;
}

void RenderDeckOptions::Step(CSoundSource& deck, long long renderedFrames) {
  double seconds = static_cast<double>(renderedFrames) / kSecond;
  if (loopCode && !loopDone_ && deck.Position() >= loopStart * kSecond) {
    loopDone_ = true;
    deck.beatLoop(loopCode);
  }
  if (reverseAt >= 0 && !reverseDone_ && seconds >= reverseAt) {
    reverseDone_ = true;
    deck.setDirection(-1);
  }
  if (brakeAt >= 0 && !brakeDone_ && seconds >= brakeAt) {
    brakeDone_ = true;
    deck.setBrake(1);
  }
  if (renderedFrames >= nextTick_) {
    nextTick_ += kTickFrames;
    CSoundSource* decks[1] = {&deck};
    tick_.Run(decks, 1, nullptr);
  }
}
