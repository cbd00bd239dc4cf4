#include "LumoSession.h"

#include <chrono>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <thread>

#include "app/Engine.h"
#include "app/base/NumberText.h"
#include "app/base/Trace.h"
#include "audio/Threads.h"
#include "deck/SoundSource.h"

LumoSession::LumoSession(bool offline) : offline_(offline) {
  SetThreadsManual(offline);
  std::string message;
  if (!EngineInitFolders(&message)) std::fprintf(stderr, "lumo: %s\n", message.c_str());
  EngineCreateAudioObjects();
  // The settings the window would use: memory limit, automatic cue, device choice, latency.
  if (!offline) EngineEnumerateDevices();
  EngineReadSettings();
  ok_ = g_engine.mixer != nullptr;
}

LumoSession::~LumoSession() {
  EngineStopThreads();
  EngineCloseOutputs();
  EngineDeleteAudioObjects();
  DrainRealtimeTrace();
}

CSoundSource& LumoSession::deck(int index) { return *g_engine.decks[index]; }

bool LumoSession::LoadAndWait(int index, const std::string& path, bool autoPlay) {
  CSoundSource& d = deck(index);
  d.load(path, autoPlay ? 1 : 0, nullptr, 1);
  for (int waited = 0; d.loadPending.load(); ++waited) {
    if (offline_) {
      d.loaderPass();
    } else {
      if (waited > 30000) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  if (!d.fileOpen.load()) {
    std::fprintf(stderr, "lumo: can not play %s: no decoder takes it, or it holds no audio\n", path.c_str());
    return false;
  }
  return true;
}

bool DeckReachedEnd(CSoundSource& deck) {
  if (!deck.fileOpen.load() || !deck.IsPlaying()) return false;
  return deck.GetLength() - deck.Position() < 44.0;
}

std::optional<std::string> ParsedArgs::Get(const std::string& name) const {
  for (auto it = options.rbegin(); it != options.rend(); ++it) {
    if (it->first == name) return it->second;
  }
  return std::nullopt;
}

bool ParsedArgs::Has(const std::string& name) const { return Get(name).has_value(); }

ParsedArgs ParseArgs(int argc, char** argv, const std::vector<std::string>& flags) {
  ParsedArgs args;
  for (int i = 1; i < argc; ++i) {
    std::string word = argv[i];
    if (word.size() > 1 && word[0] == '-') {
      size_t dashes = word.find_first_not_of('-');
      std::string name = dashes == std::string::npos ? std::string() : word.substr(dashes);  // "--" alone
      bool isFlag = false;
      for (const auto& flag : flags) isFlag = isFlag || flag == name;
      std::string value = (!isFlag && i + 1 < argc) ? argv[++i] : "";
      args.options.emplace_back(name, value);
    } else {
      args.positional.push_back(word);
    }
  }
  return args;
}

bool ParseSeconds(const std::optional<std::string>& text, double& seconds) {
  if (!text) return true;
  double value = 0;
  if (!ParseDouble(*text, value) || !(value > 0)) {
    std::fprintf(stderr, "lumo: --seconds wants a positive number, not \"%s\"\n", text->c_str());
    return false;
  }
  seconds = value;
  return true;
}

std::string FormatClock(double seconds) {
  int whole = static_cast<int>(std::max(0.0, seconds));
  char text[32];
  std::snprintf(text, sizeof text, "%d:%02d", whole / 60, whole % 60);
  return text;
}

void ShowProgress(double seconds, double total, const std::string& label) {
  constexpr int kWidth = 30;
  double share = total > 0 ? std::clamp(seconds / total, 0.0, 1.0) : 0.0;
  int filled = static_cast<int>(share * kWidth);
  std::string bar(static_cast<size_t>(filled), '#');
  bar.append(static_cast<size_t>(kWidth - filled), '.');
  char line[256];
  std::snprintf(line, sizeof line, "\r  %s / %s  [%s]  %s   ", FormatClock(seconds).c_str(),
                FormatClock(total).c_str(), bar.c_str(), label.c_str());
  static std::string shown;
  if (shown == line) return;  // redraw only what changed
  shown = line;
  std::fputs(line, stderr);
  std::fflush(stderr);
}

void EndProgress() { std::fputc('\n', stderr); }

