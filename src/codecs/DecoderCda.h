#pragma once
// CDecoderCda: one track of an audio CD (or of a disc image) as 44100 Hz 16-bit stereo, named by
// a track path such as "/dev/sr0/Track01.cda" (see codecs/CdDrive.h).
//
// The drive is read in groups of 20 sectors to keep its requests large. A seek starts at the
// group holding the position and drops the frames before it, so a seek delivers exactly the
// bytes a sequential read would. A sector the drive cannot read plays as silence.
//
// Threads: the deck's loader thread reads; open and close run under the codec lock. The group
// buffer is allocated once, with the decoder, so reads allocate nothing.

#include <memory>
#include <utility>
#include <vector>

#include "codecs/BaseCodec.h"
#include "codecs/CdParanoia.h"
#include "codecs/CdToc.h"

typedef struct _CdIo CdIo_t;

class CDecoderCda : public CBaseCodec {
 public:
  static constexpr int kGroupSectors = 20;
  static constexpr int kGroupFrames = kGroupSectors * kCdFramesPerSector;  // 11760
  static constexpr int kGroupBytes = kGroupSectors * kCdSectorBytes;       // 47040

  explicit CDecoderCda(int deckId);
  ~CDecoderCda() override;

  int open(std::string path, AudioFormat* format, int write) override;
  int read(void* destination, int frames, int position) override;
  double durationSeconds() override;
  void close() override;
  const char* codecName() override { return "cda"; }

  // Length of a track of the open disc (0-based index), in seconds and in bytes; 0 for an
  // index outside the table or when nothing is open.
  double TrackSeconds(int index) const;
  long long TrackBytes(int index) const;

  // Groups that could not be read in full since open.
  int ReadErrors() const { return readErrors_; }

 private:
  void Reposition(int position);
  void ReadGroup();
  bool ReadPlain(int sectors);
  void ReleaseDrive();

  int nextFrame = 0;   // the frame that the next byte of the group buffer stands for
  int nextSector = 0;  // the first sector of the group to read next
  int trackIndex = -1;
  std::vector<std::pair<int, int>> tracks;  // first sector, sector count
  CdIo_t* drive = nullptr;
  CCdParanoiaReader paranoia_;  // open only where paranoia is wanted (see g_cdParanoiaMode)
  bool doorLocked_ = false;
  int discEndSector_ = 0;  // the lead-out: nothing is read at or past it
  std::unique_ptr<unsigned char[]> group_;
  int groupFill_ = 0;  // bytes of the group buffer holding audio
  int groupPos_ = 0;   // bytes of it already delivered or skipped
  int readErrors_ = 0;
};
