#pragma once
// The table of contents of an audio CD: one entry per track and one for the lead-out, each a
// minute/second/frame address (frames are 1/75 s, and the addresses count the 2-second
// pre-gap, so sector 0 sits at 00:02:00). A sector holds 2352 bytes: 588 stereo frames.
//
// ParseCdToc reads the drive's own READ TOC reply (format 0, addresses as MSF): a 4-byte header
// (length, first track, last track) and an 8-byte descriptor per track, lead-out last. The
// bytes come from hardware or a disc image and are checked before anything trusts them.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

constexpr int kCdSectorBytes = 2352;
constexpr int kCdFramesPerSector = kCdSectorBytes / 4;
constexpr int kCdPregapSectors = 150;
constexpr int kCdSectorsPerSecond = 75;
constexpr int kCdLeadOutTrack = 0xAA;
// A raw READ TOC reply for 99 tracks and the lead-out fits in this many bytes.
constexpr size_t kCdRawTocBytes = 804;

struct CdMsf {
  int minute = 0, second = 0, frame = 0;
  int Seconds() const { return minute * 60 + second; }
  // Frame offset of the address, pre-gap included: what CDDB calls a track offset.
  int Offset() const { return Seconds() * kCdSectorsPerSecond + frame; }
};

struct CdToc {
  int firstTrack = 0;
  int lastTrack = 0;
  std::vector<CdMsf> entries;    // tracks first..last, then the lead-out
  std::vector<bool> audioTrack;  // per track: false for a data track

  int TrackCount() const { return entries.empty() ? 0 : static_cast<int>(entries.size()) - 1; }
  const CdMsf& LeadOut() const { return entries.back(); }
  // Sector address of a track (0-based index) and its length in sectors.
  int StartSector(int index) const { return entries[index].Offset() - kCdPregapSectors; }
  int SectorCount(int index) const { return entries[index + 1].Offset() - entries[index].Offset(); }
};

// Checks what any source of a table of contents must hold: 1 to 99 tracks numbered without
// gaps, valid addresses, strictly increasing, lead-out last. On failure *error says why.
bool ValidateCdToc(const CdToc& toc, std::string* error);

// Parses a raw READ TOC reply. Returns false, with the reason in *error, on anything that does
// not describe a playable disc.
bool ParseCdToc(const uint8_t* data, size_t size, CdToc* toc, std::string* error);

// The reverse, so tables built from other sources can be handed around in the drive's format.
std::vector<uint8_t> SerializeCdToc(const CdToc& toc);
