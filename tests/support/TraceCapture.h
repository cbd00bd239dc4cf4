#pragma once
// Collects the trace lines written while it lives, from any thread.

#include <mutex>
#include <string>
#include <vector>

#include "app/base/Trace.h"

class TraceCapture {
 public:
  TraceCapture() {
    SetTraceHook([](const char* line, void* self) { static_cast<TraceCapture*>(self)->Add(line); }, this);
  }
  ~TraceCapture() { SetTraceHook(nullptr, nullptr); }

  // Lines that contain text.
  int Count(const std::string& text) const {
    std::lock_guard<std::mutex> hold(mutex_);
    int count = 0;
    for (const auto& line : lines_) count += line.find(text) != std::string::npos;
    return count;
  }
  bool Saw(const std::string& text) const { return Count(text) > 0; }

 private:
  void Add(const char* line) {
    std::lock_guard<std::mutex> hold(mutex_);
    lines_.push_back(line);
  }
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};
