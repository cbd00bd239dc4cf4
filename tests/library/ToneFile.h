#pragma once
// A short 440 Hz tone in the format the file name's extension asks for, written by ffmpeg;
// false when ffmpeg cannot write that format here.

#include <cstdlib>
#include <string>

inline bool MakeToneFile(const std::string& path) {
  const std::string command = "ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=frequency=440:duration=0.3 " +
                              std::string(path.ends_with(".opus") ? "-ar 48000 " : "-ar 44100 ") + "'" + path + "'";
  return std::system(command.c_str()) == 0;
}
