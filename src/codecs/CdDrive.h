#pragma once
// Audio CDs through libcdio: drives, disc images and the ".cda" track paths that name a track.
//
// A track path is a drive (or a .cue/.toc/.nrg disc image) followed by "/TrackNN.cda", for
// example "/dev/sr0/Track01.cda" or "/home/dj/rips/disc.cue/Track03.cda". A trailing "$" (the
// list's mark of a path that no file system holds) is allowed. The track number is the two
// digits before ".cda"; track numbers start at 1.

#include <string>
#include <vector>

#include "codecs/CdToc.h"

typedef struct _CdIo CdIo_t;

struct CdTrackPath {
  std::string source;  // the drive or image, as given
  int trackNumber = 0;
};

// True when the path has the form above; 00 passes here and is refused by the decoder.
bool ParseCdTrackPath(const std::string& path, CdTrackPath* out);
// The path of a track on a source, without the trailing "$".
std::string CdTrackPathFor(const std::string& source, int trackNumber);

// Opens a drive or disc image for reading (libcdio's own console chatter is turned down to
// errors first). Null when the source cannot be opened. Close with CloseCdSource.
CdIo_t* OpenCdSource(const std::string& source);
void CloseCdSource(CdIo_t* cdio);
// Keeps the disc in a drive while a track plays; every lock is paired with an unlock, and the
// door opens again when the last holder lets go. Images have no door; a drive that refuses is
// reported and played anyway.
bool LockCdDoor(CdIo_t* cdio, bool locked);

// The table of contents of the disc in the drive or of the image. On real drives the drive's
// own READ TOC reply is parsed; image drivers give their table through libcdio.
bool ReadCdToc(CdIo_t* cdio, CdToc* toc, std::string* error);

// Optical drives as the browser shows them. Opening each drive to look for a disc takes a
// moment per drive: call from a worker, not from the window's event loop.
struct CdDriveInfo {
  std::string name;        // vendor and model, or the device name
  std::string devicePath;  // "/dev/sr0"
  bool hasAudioDisc = false;
  // With an audio disc in: what the browser keeps per disc, and what a CDDB lookup needs.
  std::string discId;
  std::string queryLine;
  int trackCount = 0;
  // The row's text: the name, and " (audio-CD)" when an audio disc is in.
  std::string DisplayName() const { return hasAudioDisc ? name + " (audio-CD)" : name; }
};
std::vector<CdDriveInfo> ListCdDrives();
// One drive or disc image, as ListCdDrives describes each drive.
CdDriveInfo DescribeCdSource(const std::string& source);
