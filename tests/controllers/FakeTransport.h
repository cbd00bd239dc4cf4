#pragma once
// In-process MIDI and HID devices for the controller tests: a test lists ports, plays bytes
// into an open input as the driver would, and reads back what the program sent.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "controllers/ControllerTransport.h"

class FakeMidiSystem : public MidiSystem {
 public:
  struct OpenPort {
    MidiBytesCallback callback = nullptr;
    void* context = nullptr;
    bool open = false;
  };
  std::vector<std::string> inputs, outputs;
  std::vector<OpenPort> openInputs = std::vector<OpenPort>(32);
  std::vector<std::vector<std::vector<unsigned char>>> sent = std::vector<std::vector<std::vector<unsigned char>>>(32);
  std::vector<int> resets = std::vector<int>(32);
  std::function<void(size_t length)> whileSending;  // runs inside each send (a slow driver)

  std::vector<std::string> InputNames() override { return inputs; }
  std::vector<std::string> OutputNames() override { return outputs; }

  std::unique_ptr<MidiInput> OpenInput(int index, MidiBytesCallback callback, void* context) override {
    struct Input : MidiInput {
      OpenPort* port;
      explicit Input(OpenPort* p) : port(p) {}
      ~Input() override { port->open = false; }
    };
    openInputs[index] = {callback, context, true};
    return std::make_unique<Input>(&openInputs[index]);
  }

  std::unique_ptr<MidiOutput> OpenOutput(int index) override {
    struct Output : MidiOutput {
      FakeMidiSystem* system;
      int index;
      Output(FakeMidiSystem* s, int i) : system(s), index(i) {}
      bool Send(const unsigned char* bytes, size_t length) override {
        if (system->whileSending) system->whileSending(length);
        system->sent[index].emplace_back(bytes, bytes + length);
        return true;
      }
      void Reset() override { ++system->resets[index]; }
    };
    return std::make_unique<Output>(this, index);
  }

  // Plays bytes into input `index` as its driver thread would.
  void Deliver(int index, std::vector<unsigned char> bytes, int time = 0) {
    OpenPort& port = openInputs[index];
    if (port.open) port.callback(port.context, bytes.data(), bytes.size(), time);
  }
};

class FakeHidSystem : public HidSystem {
 public:
  struct Device {
    std::vector<std::vector<unsigned char>> reports;  // read in order
    std::vector<std::vector<unsigned char>> written;
  };
  std::vector<HidDeviceInfo> devices;
  std::vector<Device> state = std::vector<Device>(8);

  std::vector<HidDeviceInfo> Enumerate() override { return devices; }
  std::unique_ptr<HidDevice> Open(const HidDeviceInfo& info) override {
    size_t index = 0;
    while (index < devices.size() && devices[index].path != info.path) ++index;
    struct Handle : HidDevice {
      Device* device;
      explicit Handle(Device* d) : device(d) {}
      int Read(unsigned char* buffer, size_t length) override {
        if (device->reports.empty()) return 0;
        std::vector<unsigned char> report = device->reports.front();
        device->reports.erase(device->reports.begin());
        const size_t n = std::min(length, report.size());
        std::copy(report.begin(), report.begin() + n, buffer);
        return static_cast<int>(n);
      }
      int Write(const unsigned char* data, size_t length) override {
        device->written.emplace_back(data, data + length);
        return static_cast<int>(length);
      }
    };
    return std::make_unique<Handle>(&state[index]);
  }
};
