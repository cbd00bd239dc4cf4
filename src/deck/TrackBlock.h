#pragma once
// One second of a track in memory: 44100 stereo frames of signed 16-bit samples.

constexpr int kTrackBlockFrames = 44100;
constexpr int kMaxTrackBlocks = 20000;  // 5 h 33 min 20 s per track

struct TrackBlock {
  short samples[2 * kTrackBlockFrames];
  int framesRead = 0;
  int pinned = 0;  // never evicted
  int hasBpm = 0;  // streaming decks keep a tempo per ten seconds in their blocks
  float bpm = 0.0f;
};
