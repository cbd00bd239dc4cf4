#pragma once
// The six numbers that describe PCM audio between a decoder and its caller.

struct AudioFormat {
  int sampleRate = 0;     // frames per second
  int channels = 0;       // interleaved channels
  int bitsPerSample = 0;  // declared sample width
  int storedBits = 0;     // width as stored: 8, 16, 24; anything else is 32-bit float
  int reserved = 0;       // always 0
  int frames = 0;         // length in frames
};

// The engine's own format: 44100 Hz, stereo, signed 16 bit.
inline AudioFormat EngineFormat() { return AudioFormat{44100, 2, 16, 16, 0, 0}; }
