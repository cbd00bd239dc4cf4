#include "codecs/DecoderCda.h"

#include <cdio/cdio.h>

#include <algorithm>
#include <cstring>

#include "app/base/Trace.h"
#include "codecs/CdDrive.h"
#include "codecs/Cddb.h"
#include "codecs/SongKey.h"

CDecoderCda::CDecoderCda(int deckId)
    : CBaseCodec(deckId), group_(std::make_unique<unsigned char[]>(kGroupBytes)) {}

CDecoderCda::~CDecoderCda() { close(); }

int CDecoderCda::open(std::string path, AudioFormat* format, int write) {
  CdTrackPath where;
  if (isOpen || write || !format || !ParseCdTrackPath(path, &where)) return 0;
  int index = where.trackNumber - 1;
  if (index < 0) return 0;

  drive = OpenCdSource(where.source);
  if (!drive) {
    TraceLine("can not open CD-ROM");
    return 0;
  }
  doorLocked_ = LockCdDoor(drive, true);
  // Some drives (and all images) have no door to lock; the track plays all the same.
  if (!doorLocked_) TraceLine("can not lock CD");
  CdToc toc;
  std::string why;
  if (!ReadCdToc(drive, &toc, &why)) {
    ReleaseDrive();
    TraceLine("can not get CD tracks (TOC)");
    TraceLine("%s: %s", where.source.c_str(), why.c_str());
    return 0;
  }
  RememberCdDiscId(where.source, CddbDiscIdText(CddbDiscId(toc)));
  for (int i = 0; i < toc.TrackCount(); ++i) tracks.emplace_back(toc.StartSector(i), toc.SectorCount(i));
  if (index >= static_cast<int>(tracks.size()) || !toc.audioTrack[index]) {
    bool exists = index < static_cast<int>(tracks.size());
    ReleaseDrive();
    if (exists) TraceLine("CD track %d of %s is not audio", where.trackNumber, where.source.c_str());
    else TraceLine("CD track does not exist");
    return 0;
  }

  paranoia_.Open(drive);
  trackIndex = index;
  discEndSector_ = toc.LeadOut().Offset() - kCdPregapSectors;
  *format = AudioFormat{44100, 2, 16, 16, 0, tracks[index].second * kCdFramesPerSector};
  sampleRate = 44100;
  bytesPerFrame = 4;
  framesDone = 0;
  readErrors_ = 0;
  Reposition(0);
  isOpen = 1;
  return 1;
}

void CDecoderCda::Reposition(int position) {
  int group = position / kGroupFrames;
  nextFrame = position;
  nextSector = tracks[trackIndex].first + group * kGroupSectors;
  groupFill_ = 0;
  groupPos_ = 0;
  // The frames of the group before the position are read and dropped.
  int skip = position - group * kGroupFrames;
  if (skip > 0) {
    ReadGroup();
    groupPos_ = skip * 4;
  }
}

void CDecoderCda::ReadGroup() {
  std::memset(group_.get(), 0, kGroupBytes);
  // The last group of the disc is cut at the lead-out: drives refuse a request that runs past
  // it, which would silence the end of the last track.
  int wanted = std::clamp(discEndSector_ - nextSector, 0, kGroupSectors);
  bool ok = wanted == 0 || (paranoia_.IsOpen() ? paranoia_.ReadSectors(group_.get(), nextSector, wanted) == 0
                                                : ReadPlain(wanted));
  if (!ok) {
    ++readErrors_;
    TraceLine("KNP-ERROR: can not read from the CD track");
  }
  nextSector += kGroupSectors;
  groupFill_ = kGroupBytes;
  groupPos_ = 0;
}

bool CDecoderCda::ReadPlain(int sectors) {
  if (cdio_read_audio_sectors(drive, group_.get(), nextSector, sectors) == DRIVER_OP_SUCCESS) return true;
  // One bad sector should not silence its neighbours: go again sector by sector.
  for (int i = 0; i < sectors; ++i) {
    unsigned char* sector = group_.get() + i * kCdSectorBytes;
    if (cdio_read_audio_sectors(drive, sector, nextSector + i, 1) != DRIVER_OP_SUCCESS)
      std::memset(sector, 0, kCdSectorBytes);
  }
  return false;
}

int CDecoderCda::read(void* destination, int frames, int position) {
  if (!isOpen || !destination || frames <= 0 || position < -1) return 0;
  if (position != -1 && position != nextFrame) Reposition(position);
  auto* out = static_cast<unsigned char*>(destination);
  int wanted = frames * 4;
  while (wanted > 0) {
    if (groupPos_ == groupFill_) ReadGroup();
    int piece = std::min(wanted, groupFill_ - groupPos_);
    std::memcpy(out, group_.get() + groupPos_, piece);
    out += piece;
    groupPos_ += piece;
    wanted -= piece;
  }
  nextFrame += frames;
  framesDone += frames;
  return frames;
}

double CDecoderCda::durationSeconds() {
  return isOpen ? TrackSeconds(trackIndex) : 0.0;
}

double CDecoderCda::TrackSeconds(int index) const {
  if (index < 0 || index >= static_cast<int>(tracks.size())) return 0.0;
  return tracks[index].second / double(kCdSectorsPerSecond);
}

long long CDecoderCda::TrackBytes(int index) const {
  if (index < 0 || index >= static_cast<int>(tracks.size())) return 0;
  return static_cast<long long>(tracks[index].second) * kCdSectorBytes;
}

void CDecoderCda::ReleaseDrive() {
  paranoia_.Close();
  if (drive && doorLocked_) LockCdDoor(drive, false);
  CloseCdSource(drive);
  drive = nullptr;
  doorLocked_ = false;
  tracks.clear();
  trackIndex = -1;
}

void CDecoderCda::close() {
  ReleaseDrive();
  isOpen = 0;
}
