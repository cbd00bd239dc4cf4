// MIDI through RtMidi: the ALSA sequencer on a desktop, JACK MIDI where there is no sequencer
// (or when asked). RtMidi reports errors by exception; none leaves this file.
#include <RtMidi.h>
#include <jack/jack.h>
#include <unistd.h>

#include <atomic>

#include "app/base/Trace.h"
#include "controllers/ControllerTransport.h"

namespace {

bool HaveSequencer() { return access("/dev/snd/seq", R_OK | W_OK) == 0; }

void Silent(const char*) {}
void JackToTrace(const char* text) { TraceTextRT("jack: ", text); }

// RtMidi over JACK without a server prints pages of complaints and then lists nothing; ask
// first, quietly. libjack's messages go to the trace afterwards, as the audio back end has them.
bool JackServerRuns() {
  jack_set_error_function(&Silent);
  jack_set_info_function(&Silent);
  jack_client_t* probe = jack_client_open("zorvik-lumo-midi-probe", JackNoStartServer, nullptr);
  if (probe) jack_client_close(probe);
  jack_set_error_function(&JackToTrace);
  return probe != nullptr;
}

// LINUX_ALSA or UNIX_JACK; RtMidi::UNSPECIFIED when the asked-for system is not there.
RtMidi::Api ChooseApi(const std::string& api) {
  if (api == "alsa") return HaveSequencer() ? RtMidi::LINUX_ALSA : RtMidi::UNSPECIFIED;
  if (api == "jack") return JackServerRuns() ? RtMidi::UNIX_JACK : RtMidi::UNSPECIFIED;
  if (HaveSequencer()) return RtMidi::LINUX_ALSA;
  return JackServerRuns() ? RtMidi::UNIX_JACK : RtMidi::UNSPECIFIED;
}

void Quiet(RtMidiError::Type, const std::string& text, void*) { TraceLine("MIDI: %s", text.c_str()); }

class RtInput : public MidiInput {
 public:
  RtInput(RtMidi::Api api, const std::string& client, int index, MidiBytesCallback callback, void* context)
      : midi_(api, client), callback_(callback), context_(context) {
    midi_.setErrorCallback(&Quiet, nullptr);
    // Sysex in (identity replies); clock and active sensing never.
    midi_.ignoreTypes(false, true, true);
    midi_.setCallback(&RtInput::OnMessage, this);
    midi_.openPort(static_cast<unsigned>(index), "in");
  }
  ~RtInput() override {
    try {
      midi_.cancelCallback();
      midi_.closePort();
    } catch (const RtMidiError&) {
    }
  }
  bool IsOpen() const { return midi_.isPortOpen(); }

 private:
  static void OnMessage(double delta, std::vector<unsigned char>* message, void* self) {
    auto* input = static_cast<RtInput*>(self);
    input->elapsed_ += delta;
    if (message && !message->empty()) {
      input->callback_(input->context_, message->data(), message->size(), static_cast<int>(input->elapsed_ * 1000));
    }
  }
  RtMidiIn midi_;
  MidiBytesCallback callback_;
  void* context_;
  double elapsed_ = 0;  // only the callback's thread touches it
};

class RtOutput : public MidiOutput {
 public:
  RtOutput(RtMidi::Api api, const std::string& client, int index) : midi_(api, client), index_(index) {
    midi_.setErrorCallback(&Quiet, nullptr);
    midi_.openPort(static_cast<unsigned>(index), "out");
  }
  ~RtOutput() override {
    try {
      midi_.closePort();
    } catch (const RtMidiError&) {
    }
  }
  bool Send(const unsigned char* bytes, size_t length) override {
    try {
      midi_.sendMessage(bytes, length);
      return true;
    } catch (const RtMidiError& error) {
      TraceLine("MIDI send failed: %s", error.getMessage().c_str());
      return false;
    }
  }
  // Closing the port drops what ALSA or JACK still queues for it; the same port opens again.
  void Reset() override {
    try {
      midi_.closePort();
      midi_.openPort(static_cast<unsigned>(index_), "out");
    } catch (const RtMidiError& error) {
      TraceLine("MIDI output reset failed: %s", error.getMessage().c_str());
    }
  }
  bool IsOpen() const { return midi_.isPortOpen(); }

 private:
  RtMidiOut midi_;
  int index_;
};

class RtMidiSystem : public MidiSystem {
 public:
  RtMidiSystem(RtMidi::Api api, const std::string& client)
      : api_(api), client_(client), inputs_(api, client + " list"), outputs_(api, client + " list") {
    inputs_.setErrorCallback(&Quiet, nullptr);
    outputs_.setErrorCallback(&Quiet, nullptr);
  }

  std::vector<std::string> InputNames() override { return Names(inputs_); }
  std::vector<std::string> OutputNames() override { return Names(outputs_); }

  std::unique_ptr<MidiInput> OpenInput(int index, MidiBytesCallback callback, void* context) override {
    try {
      auto input = std::make_unique<RtInput>(api_, client_, index, callback, context);
      if (input->IsOpen()) return input;
    } catch (const RtMidiError& error) {
      TraceLine("MIDI input %d: %s", index, error.getMessage().c_str());
    }
    return nullptr;
  }

  std::unique_ptr<MidiOutput> OpenOutput(int index) override {
    try {
      auto output = std::make_unique<RtOutput>(api_, client_, index);
      if (output->IsOpen()) return output;
    } catch (const RtMidiError& error) {
      TraceLine("MIDI output %d: %s", index, error.getMessage().c_str());
    }
    return nullptr;
  }

 private:
  // The lister's own ports never show up: it opens none.
  static std::vector<std::string> Names(RtMidi& midi) {
    std::vector<std::string> names;
    try {
      const unsigned count = midi.getPortCount();
      for (unsigned i = 0; i < count; ++i) names.push_back(midi.getPortName(i));
    } catch (const RtMidiError& error) {
      TraceLine("MIDI ports: %s", error.getMessage().c_str());
    }
    return names;
  }

  RtMidi::Api api_;
  std::string client_;
  RtMidiIn inputs_;
  RtMidiOut outputs_;
};

}  // namespace

std::unique_ptr<MidiSystem> MakeRtMidiSystem(const std::string& api, const std::string& clientName) {
  const RtMidi::Api chosen = ChooseApi(api);
  if (chosen == RtMidi::UNSPECIFIED) {
    TraceLine("MIDI: %s", api == "alsa"   ? "no ALSA sequencer (/dev/snd/seq)"
                          : api == "jack" ? "no JACK server runs"
                                          : "no ALSA sequencer and no JACK server");
    return nullptr;
  }
  try {
    return std::make_unique<RtMidiSystem>(chosen, clientName);
  } catch (const RtMidiError& error) {
    TraceLine("MIDI could not start: %s", error.getMessage().c_str());
    return nullptr;
  }
}
