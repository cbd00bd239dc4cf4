#pragma once
// One function per lumo command; argv[0] is the command's name.

#include <optional>
#include <string>

int RunDevicesCommand(int argc, char** argv);
int RunPlayCommand(int argc, char** argv);
int RunRenderCommand(int argc, char** argv);
int RunDemoCommand(int argc, char** argv);
int RunProbeCommand(int argc, char** argv);
int RunListCommand(int argc, char** argv);
int RunSearchCommand(int argc, char** argv);
int RunCdCommand(int argc, char** argv);
int RunServeCommand(int argc, char** argv);
int RunAutoMixCommand(int argc, char** argv);

// --device: an index, a device name, "jack" (the JACK server) or "null" (no device). Empty:
// the settings' device (audio0), else the desktop's default. Returns -1 for the null back end.
// `count` is the number of devices enumerated.
int ChooseDevice(const std::string& wanted, int count);
int RunControllersCommand(int argc, char** argv);
int RunMidiMonitorCommand(int argc, char** argv);

// Plays a file on deck 0 through the chosen device until it ends or `seconds` have passed
// (0: no limit). Shared by play and demo.
class RecordSamplerOptions;
// players: the recorder and sampler options, or null. input: the live-input device in place of
// the settings' (a name of SystemCaptureDevices or "none"), heard on the microphone channel.
int PlayFile(const std::string& path, const std::string& device, double seconds,
             RecordSamplerOptions* players = nullptr, const std::optional<std::string>& input = std::nullopt);
