#pragma once
// Where an unattended mix goes: the master bus written to a file. Opened before any other work,
// so an unwritable path fails at once. WAV is written here as 16-bit at the system output's
// conversion, the way lumo render writes it; MP3 needs the recorder's encoder.

#include <memory>
#include <string>

class CDecoderWAV;

class MixOutput {
 public:
  MixOutput();
  ~MixOutput();
  // False, with the reason in `error`, when the file cannot be created or the format is not
  // one this program writes.
  bool Open(const std::string& path, std::string* error);
  // One block of the master bus, interleaved stereo float.
  bool Write(const float* master, int frames);
  bool Close();

 private:
  std::unique_ptr<CDecoderWAV> wav_;
};
