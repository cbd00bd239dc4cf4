#pragma once
// One function per lumo command; argv[0] is the command's name.

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
int RunControllersCommand(int argc, char** argv);
int RunMidiMonitorCommand(int argc, char** argv);

// Plays a file on deck 0 through the chosen device until it ends or `seconds` have passed
// (0: no limit). Shared by play and demo.
int PlayFile(const std::string& path, const std::string& device, double seconds);
