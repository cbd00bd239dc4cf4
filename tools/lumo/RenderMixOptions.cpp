#include "RenderMixOptions.h"

#include <cstdio>

#include "LumoSession.h"
#include "app/Engine.h"
#include "app/base/NumberText.h"
#include "audio/Mixer.h"
#include "audio/MixerChannel.h"
#include "effects/ChainFile.h"

namespace {

constexpr int kDefaultCrossfaderCurve = 50;  // the cfcurv setting's default

bool Refuse(const char* option, const std::string& value, const char* wanted) {
  std::fprintf(stderr, "lumo: --%s wants %s, not \"%s\"\n", option, wanted, value.c_str());
  return false;
}

bool ParseIntIn(const std::string& text, int low, int high, int& value) {
  long long v = 0;
  if (!ParseInt(text, v) || v < low || v > high) return false;
  value = static_cast<int>(v);
  return true;
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts(1);
  for (char c : text) {
    if (c == separator) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

bool ParseEq(const std::string& text, std::array<float, 3>& levels) {
  std::vector<std::string> parts = Split(text, ',');
  if (parts.size() != 3) return false;
  for (int b = 0; b < 3; ++b) {
    double v = 0;
    if (!ParseDouble(parts[b], v) || v < -100 || v > 12) return false;
    levels[b] = static_cast<float>(v);
  }
  return true;
}

bool ParseFx(const std::string& text, RenderMixOptions::Fx& fx) {
  std::vector<std::string> parts = Split(text, ':');
  if (parts.size() > 4 || parts[0].empty()) return false;
  fx.name = parts[0];
  double wet = 1.0;
  if (parts.size() > 1 && (!ParseDouble(parts[1], wet) || wet < 0 || wet > 1)) return false;
  fx.wet = static_cast<float>(wet);
  for (size_t i = 2; i < parts.size(); ++i) {
    int p = 0;
    if (!ParseIntIn(parts[i], 0, 1000, p)) return false;
    (i == 2 ? fx.param1 : fx.param2) = p;
  }
  return true;
}

bool ParseOne(const std::string& name, const std::string& value, RenderMixOptions& o) {
  int n = 0;
  if (name == "volume") {
    if (!ParseIntIn(value, 0, 127, n)) return Refuse("volume", value, "a fader position 0..127");
    o.volume = n;
  } else if (name == "crossfader") {
    if (!ParseIntIn(value, 0, 127, n)) return Refuse("crossfader", value, "a position 0..127");
    o.crossfader = n;
  } else if (name == "eq") {
    std::array<float, 3> levels{};
    if (!ParseEq(value, levels)) return Refuse("eq", value, "LOW,MID,HIGH in dB, each -100..12");
    o.eq = levels;
  } else if (name == "kill") {
    int band = value == "low" ? 0 : value == "mid" ? 1 : value == "high" ? 2 : -1;
    if (band < 0) return Refuse("kill", value, "low, mid or high");
    o.kill[band] = true;
  } else if (name == "filter") {
    if (!ParseIntIn(value, -99, 99, n)) return Refuse("filter", value, "a knob position -99..99");
    o.filter = n;
  } else if (name == "fx") {
    RenderMixOptions::Fx fx;
    if (!ParseFx(value, fx)) return Refuse("fx", value, "NAME[:wet 0..1[:p1[:p2 0..1000]]]");
    o.fx.push_back(fx);
  } else if (name == "limiter") {
    if (value != "on" && value != "off") return Refuse("limiter", value, "on or off");
    o.limiter = value == "on";
  } else if (name == "chain") {
    if (value.empty()) return Refuse("chain", value, "a .knf file");
    o.chain = value;
  }
  return true;
}

}  // namespace

const char* RenderMixUsage() {
  return " [--volume 0..127] [--crossfader 0..127] [--eq LOW,MID,HIGH] [--kill low|mid|high]"
         " [--filter -99..99] [--fx NAME[:wet[:p1[:p2]]]] [--chain FILE.knf] [--limiter on|off]";
}

bool ParseRenderMixOptions(const ParsedArgs& args, RenderMixOptions& options) {
  for (const auto& [name, value] : args.options) {
    if (!ParseOne(name, value, options)) return false;
  }
  return true;
}

bool ApplyRenderMixOptions(const RenderMixOptions& o) {
  CZQMixer* mixer = g_engine.mixer;
  CZQMixerChannel* channel = g_engine.deckChannels[0];
  if (!mixer || !channel) return false;
  if (o.volume) mixer->SetChannelVolume(0, *o.volume);
  if (o.crossfader) {
    mixer->SetCrossfaderCurve(kDefaultCrossfaderCurve);
    mixer->SetCrossfader(*o.crossfader);
  }
  if (o.eq) {
    for (int b = 0; b < 3; ++b) channel->SetBandLevel(b + 1, (*o.eq)[b]);
  }
  for (int b = 0; b < 3; ++b) {
    if (o.kill[b]) channel->SetBandKill(b + 1, 1);
  }
  if (o.filter) channel->SetCutoffKnob(*o.filter);
  for (const RenderMixOptions::Fx& fx : o.fx) {
    CEffect* effect = channel->Place(BuiltInNamePlace(fx.name));
    if (!effect && CreateBuiltInByName(fx.name)) {
      // The dynamics have no place on a deck: they join the channel's user chain.
      CEffect* added = nullptr;
      AddChainEffect(channel->Chain(), channel, CEffect::kBuiltInType, -1, fx.name, "", -1, 1, fx.wet, 0, 0, 0,
                     &added);
      effect = added;
    }
    if (!effect) {
      std::fprintf(stderr, "lumo: there is no effect \"%s\" in this build\n", fx.name.c_str());
      return false;
    }
    if (fx.param1) effect->SetParam(1, *fx.param1);
    if (fx.param2) effect->SetParam(2, *fx.param2);
    effect->SetDryWet(fx.wet);
  }
  if (o.limiter) EngineSetLimiter(*o.limiter);
  if (o.chain && !LoadChain(channel->Chain(), channel, *o.chain)) {
    std::fprintf(stderr, "lumo: can not load the effect chain %s\n", o.chain->c_str());
    return false;
  }
  return true;
}
