#pragma once
// Running the packaged analysers the accuracy programs compare against.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

// What `command` printed on its standard output.
inline std::string RunForText(const std::string& command) {
  std::string out;
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  if (!pipe) return out;
  char buffer[512];
  while (std::fgets(buffer, sizeof buffer, pipe.get())) out += buffer;
  return out;
}

inline bool HaveProgram(const char* name) {
  return std::system((std::string("command -v ") + name + " >/dev/null 2>&1").c_str()) == 0;
}
