#pragma once
// Test media made once per test binary from one generated source, by the sox, lame and ffmpeg
// command-line tools, in a temporary folder removed at exit. Source(): 6 s of 44100 Hz 16-bit
// stereo, silent for the first half second, then a rising sweep on the left and a steady tone
// on the right (different channels catch swaps; the sweep makes every moment distinct).

#include <cstdint>
#include <string>
#include <vector>

namespace media {

constexpr int kSourceFrames = 6 * 44100;
constexpr int kFirstSoundFrame = 22050;

// Path of the named file ("source.wav", "flac.flac", "mp3.mp3", ...), made on first use; empty
// when the tool that makes it is missing. Names are listed in MediaFiles.cpp.
std::string Path(const std::string& name);
// The source's interleaved samples.
const std::vector<int16_t>& Source();
// A folder for a test's own files, inside the shared one.
std::string Folder();
// Runs a shell command quietly; true when it succeeded.
bool Run(const std::string& command);

// Every frame of a file through a fresh chain, in the deck's one-second reads.
std::vector<int16_t> DecodeWhole(const std::string& path, int* frames, std::string* codec = nullptr);
// The first frame whose left sample reaches a quarter of the source's level.
int FirstSound(const std::vector<int16_t>& stereo);

}  // namespace media
