#pragma once
// Where an unattended mix goes: the program's recorder on the master bus, as in the window, to
// a WAV file or (with LAME on the machine) an MP3. The path is checked before any other work,
// so an unwritable path fails at once.

#include <string>

class MixOutput {
 public:
  ~MixOutput();
  // The extension (.wav, or .mp3 when LAME is here) and that the file can be created; false,
  // with the reason in `error`. The file is left empty until Start.
  bool Check(const std::string& path, std::string* error);
  // Starts the engine's recorder on the checked path (the engine objects exist by now).
  bool Start(std::string* error);
  // Between blocks: false once the recording's disk failed (the recorder has stopped).
  bool Healthy();
  // Stops the recorder, writing what it still holds; false when the file is incomplete.
  bool Close();

 private:
  std::string path_;
  bool started_ = false;
};
