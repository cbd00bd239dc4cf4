#pragma once
// The output layer: finds the devices of the machine, opens one or two of them, and calls
// MixAudioBlock (primary) and MonitorAudioBlock (secondary) whenever a device needs data.
//
// Device table: the system devices through RtAudio (ALSA, PulseAudio/PipeWire) first,
// numbered from 0 and named "<API>: <device>" ("ALSA: default"), then one entry "JACK" when a
// JACK server is running (the "pro" back end). A JACK primary forces multichannel mode and no
// secondary. When the primary is -1, has vanished or cannot be opened, the null back end runs
// the mix at real time and throws it away, so meters, the recorder and analysis keep working.
//
// Everything here is called on the main thread, except the counters, which any thread reads.

#include <cstdint>
#include <string>

struct OutputDeviceInfo {
  std::string name;
  int channels = 2;
  bool pro = false;  // JACK
  bool soundServer = false;  // PulseAudio, or PipeWire through its PulseAudio interface
  int api = 0;        // system devices: the RtAudio API and its device number, as probed
  int apiDevice = -1;
};

// Settings: primary (audio0) and secondary (audio1) device indices, latency (latncy, total
// frames of the 8-fragment ring; a fragment is latency/8 frames).
struct OutputSelection {
  int primary = 0;
  int secondary = 1;
  int latencyFrames = 2880;
  int proPorts = 0;  // JACK ports to register; 0: 4, or 8 in external-mixer mode
};
extern OutputSelection g_outputSelection;

// Builds (or rebuilds) the device table; returns the number of devices.
int EnumerateOutputDevices();
int OutputDeviceCount(bool includePro);
const OutputDeviceInfo* OutputDevice(int index);  // null when out of range
// Index of a saved name: the system part first, then the pro part; -1 when not found.
int OutputDeviceIndexByName(const std::string& name);
// The device a desktop expects when none is chosen: the sound server's when one runs, then
// JACK, then ALSA's default, then ALSA hardware. -1 when the table is empty.
int DefaultOutputDevice();
// True when a PulseAudio (or PipeWire-pulse) server answers on this session's socket.
bool SoundServerRunning();

// Opens the outputs chosen in g_outputSelection in the mode of g_outputOptions, closing any
// open ones first; builds the device table if there is none. The open rules may change
// g_outputOptions.mode and g_outputSelection.secondary, as the settings should keep them.
// Something always runs the mix afterwards: a device, or the null back end.
void OpenAudioOutputs(int channels, int reserved);
// Closes all outputs, the secondary first; frees the device table when asked.
void CloseAudioOutputs(int freeDeviceTable);

// While a device is open a watchdog checks it four times a second. A device that stops (its
// stream died, no block for a second, the JACK server went away or changed rate) is closed,
// the null back end stands in so the decks keep time, and the same device is tried again on
// every check; when it will not open, the fallback order is tried once. The decks are never
// touched. Each loss and each return leaves one notice for the user.
// Returns the notice waiting to be shown, once; empty when there is none.
std::string TakeOutputNotice();
// Leaves a notice for the user beside the layer's own (a live-input device that would not
// open); the newest replaces one not yet shown. Main thread.
void PostOutputNotice(const std::string& text);

// What the layer is doing now, for `lumo` and the tests.
struct OutputStatus {
  bool primaryOpen = false;  // a real device (not the null back end) plays the mix
  bool secondaryOpen = false;
  bool nullBackend = false;
  std::string primaryName;  // "null" for the null back end
  int deviceRate = 0;       // the device's own rate; the output stage resamples to it
  int blockFrames = 0;
  int channels = 0;
  std::string fallback;  // when the chosen device failed: what was tried and what plays now
  bool recovering = false;  // the device stopped; the null back end stands in
  int recoveries = 0;       // times a stopped device was brought back
};
OutputStatus CurrentOutputStatus();
// Engine frames (44100 Hz) the primary output has pulled from MixAudioBlock since it opened.
uint64_t PrimaryFramesDelivered();
