#pragma once
// The narrow port between the controller layer and the system's MIDI and HID devices. The
// RtMidi and hidapi back ends implement it for real devices; tests put an in-process fake
// behind it. Nothing here knows what a message means.
//
// Threads: everything is called on the GUI thread, except the input callback, which the back
// end runs on its own thread (one per open input).

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// One incoming message as the driver delivered it: a short message (1 to 3 bytes) or a whole
// sysex (F0 ... F7). `time` is in milliseconds since the input opened.
using MidiBytesCallback = void (*)(void* context, const unsigned char* bytes, size_t length, int time);

class MidiInput {
 public:
  virtual ~MidiInput() = default;  // stops the callbacks before it returns
};

class MidiOutput {
 public:
  virtual ~MidiOutput() = default;
  // One whole message: a short one or a sysex (F0 ... F7). False when the driver refused it.
  virtual bool Send(const unsigned char* bytes, size_t length) = 0;
  // Drops whatever the driver still holds for the port and opens it afresh (after a send that
  // ran out of time).
  virtual void Reset() {}
};

class MidiSystem {
 public:
  virtual ~MidiSystem() = default;
  // The present ports; the index of a name is what Open* take until the next listing.
  virtual std::vector<std::string> InputNames() = 0;
  virtual std::vector<std::string> OutputNames() = 0;
  // Null when the port cannot be opened.
  virtual std::unique_ptr<MidiInput> OpenInput(int index, MidiBytesCallback callback, void* context) = 0;
  virtual std::unique_ptr<MidiOutput> OpenOutput(int index) = 0;
};

struct HidDeviceInfo {
  std::string path;
  int vendorId = 0;
  int productId = 0;
  std::string product;
  std::string manufacturer;
  int usagePage = 0;
  int usage = 0;
};

class HidDevice {
 public:
  virtual ~HidDevice() = default;
  // Non-blocking: the byte count of one report, 0 when none waits, -1 on an error.
  virtual int Read(unsigned char* buffer, size_t length) = 0;
  virtual int Write(const unsigned char* data, size_t length) = 0;
};

class HidSystem {
 public:
  virtual ~HidSystem() = default;
  virtual std::vector<HidDeviceInfo> Enumerate() = 0;
  virtual std::unique_ptr<HidDevice> Open(const HidDeviceInfo& device) = 0;
};

// The system back ends. `api` is "alsa", "jack" or "" (ALSA when the sequencer exists, else
// JACK); null when RtMidi cannot start either.
std::unique_ptr<MidiSystem> MakeRtMidiSystem(const std::string& api, const std::string& clientName);
std::unique_ptr<HidSystem> MakeHidApiSystem();
