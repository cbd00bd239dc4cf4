#pragma once
// Audio CD images made at test time: a BIN file of raw sectors (16-bit little-endian stereo,
// 2352 bytes each) and the CUE sheet that cuts it into tracks. Every frame of the disc carries a
// value computed from its position, so any read can be checked against the frames it claims.

#include <cstdint>
#include <string>
#include <vector>

// The sample of the disc image at a frame counted from the start of the disc (sector 0).
int16_t CdImageSample(long long discFrame, int channel);
// Frames [first, first + count) of the disc as interleaved samples.
std::vector<int16_t> CdImageFrames(long long first, int count);

// Writes folder/disc.bin and folder/disc.cue with tracks of these lengths in sectors, audio
// unless listed in dataTracks (1-based). Returns the path of the .cue file.
std::string WriteCdImage(const std::string& folder, const std::vector<int>& trackSectors,
                         const std::vector<int>& dataTracks = {});
