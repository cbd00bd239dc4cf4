#pragma once
// lumo render's and lumo play's recorder and sampler options:
//   --record OUT.wav|OUT.mp3   records the master bus through the program's recorder
//   --sampler N:FILE[:AT_S]    loads FILE on sampler N (1 to 8) and fires it AT_S seconds in
//                              (default 0); may repeat

#include <optional>
#include <string>
#include <vector>

struct ParsedArgs;

class RecordSamplerOptions {
 public:
  struct Trigger {
    int sampler = 0;  // 0..7
    std::string file;
    double atSeconds = 0;
    bool fired = false;
  };

  static const char* Usage();
  // False, with the reason on stderr, for a malformed value.
  bool Parse(const ParsedArgs& args);
  bool Recording() const { return record_.has_value(); }
  const std::optional<std::string>& RecordPath() const { return record_; }

  // Loads the samplers and starts the recorder on the running engine. False, with what failed
  // on stderr.
  bool Begin();
  // Fires the samplers that are due at `seconds` of the run, and stops a recording whose disk
  // failed (reported on stderr). Main thread, between blocks or on the tick.
  void Step(double seconds);
  // Stops the recorder; false, with the reason, when the recording is incomplete.
  bool Finish();

 private:
  std::optional<std::string> record_;
  std::vector<Trigger> triggers_;
  bool diskFailed_ = false;
};
