#include "codecs/CdDrive.h"

#include <cdio/cdio.h>
#include <cdio/logging.h>
#include <cdio/mmc.h>
#include <cdio/mmc_ll_cmds.h>

#include <cstdio>
#include <map>
#include <mutex>

#include "codecs/Cddb.h"
#include "codecs/PathRules.h"
#include "codecs/SongKey.h"

namespace {

constexpr unsigned kMmcTimeoutMs = 10000;

CdMsf MsfFromLba(int lba) {
  return CdMsf{lba / (60 * kCdSectorsPerSecond), (lba / kCdSectorsPerSecond) % 60, lba % kCdSectorsPerSecond};
}

// The drive's own reply, asked for directly; only real drives understand the command.
bool ReadRawToc(CdIo_t* cdio, CdToc* toc, std::string* error) {
  uint8_t reply[kCdRawTocBytes] = {};
  mmc_cdb_t cdb = {{0}};
  CDIO_MMC_SET_COMMAND(cdb.field, CDIO_MMC_GPCMD_READ_TOC);
  cdb.field[1] = CDIO_CDROM_MSF;
  CDIO_MMC_SET_READ_LENGTH16(cdb.field, sizeof reply);
  if (mmc_run_cmd(cdio, kMmcTimeoutMs, &cdb, SCSI_MMC_DATA_READ, sizeof reply, reply) != DRIVER_OP_SUCCESS) {
    if (error) *error = "drive did not answer READ TOC";
    return false;
  }
  return ParseCdToc(reply, sizeof reply, toc, error);
}

// The table as libcdio's driver keeps it (images, and drives without MMC).
bool ReadDriverToc(CdIo_t* cdio, CdToc* toc, std::string* error) {
  *toc = CdToc{};
  track_t first = cdio_get_first_track_num(cdio);
  track_t count = cdio_get_num_tracks(cdio);
  if (first == CDIO_INVALID_TRACK || count == CDIO_INVALID_TRACK || count == 0) {
    if (error) *error = "no tracks";
    return false;
  }
  toc->firstTrack = first;
  toc->lastTrack = first + count - 1;
  for (int track = first; track <= toc->lastTrack + 1; ++track) {
    bool leadOut = track > toc->lastTrack;
    lba_t lba = cdio_get_track_lba(cdio, leadOut ? CDIO_CDROM_LEADOUT_TRACK : track);
    if (lba == CDIO_INVALID_LBA) {
      if (error) *error = "track without an address";
      return false;
    }
    toc->entries.push_back(MsfFromLba(lba));
    if (!leadOut) toc->audioTrack.push_back(cdio_get_track_format(cdio, track) == TRACK_FORMAT_AUDIO);
  }
  return ValidateCdToc(*toc, error);
}

// libcdio warns on the console about every odd sector and image line unless told not to.
void QuietCdio() {
  static std::once_flag once;
  std::call_once(once, [] { cdio_loglevel_default = CDIO_LOG_ERROR; });
}

}  // namespace

bool ParseCdTrackPath(const std::string& path, CdTrackPath* out) {
  std::string bare = EndsWith(path, "$") ? path.substr(0, path.size() - 1) : path;
  if (!EndsWith(ToLowerAscii(bare), ".cda") || bare.size() < 7) return false;
  char tens = bare[bare.size() - 6], ones = bare[bare.size() - 5];
  size_t slash = bare.rfind('/');
  if (tens < '0' || tens > '9' || ones < '0' || ones > '9' || slash == std::string::npos || slash == 0)
    return false;
  out->source = bare.substr(0, slash);
  out->trackNumber = (tens - '0') * 10 + (ones - '0');
  return true;
}

std::string CdTrackPathFor(const std::string& source, int trackNumber) {
  char name[16];
  std::snprintf(name, sizeof name, "/Track%02d.cda", trackNumber);
  return source + name;
}

CdIo_t* OpenCdSource(const std::string& source) {
  QuietCdio();
  return cdio_open(source.c_str(), DRIVER_UNKNOWN);
}

void CloseCdSource(CdIo_t* cdio) {
  if (cdio) cdio_destroy(cdio);
}

bool LockCdDoor(CdIo_t* cdio, bool locked) {
  if (cdio_get_driver_id(cdio) != DRIVER_LINUX) return true;
  // A deck and its analysis may have the same disc open: the door opens with the last of them.
  static std::mutex mutex;
  static std::map<std::string, int> holders;
  std::lock_guard<std::mutex> hold(mutex);
  const char* device = cdio_get_arg(cdio, "source");
  int& count = holders[device ? device : ""];
  bool ok = true;
  if ((locked && count == 0) || (!locked && count == 1))
    ok = mmc_prevent_allow_medium_removal(cdio, false, locked, kMmcTimeoutMs) == DRIVER_OP_SUCCESS;
  if (ok) count += locked ? 1 : -1;
  return ok;
}

bool ReadCdToc(CdIo_t* cdio, CdToc* toc, std::string* error) {
  if (!cdio) return false;
  if (cdio_get_driver_id(cdio) == DRIVER_LINUX && ReadRawToc(cdio, toc, error)) return true;
  return ReadDriverToc(cdio, toc, error);
}

CdDriveInfo DescribeCdSource(const std::string& source) {
  CdDriveInfo info;
  info.devicePath = source;
  info.name = source.substr(source.rfind('/') + 1);
  CdIo_t* cdio = OpenCdSource(source);
  if (!cdio) return info;
  cdio_hwinfo_t hw;
  if (cdio_get_driver_id(cdio) == DRIVER_LINUX && cdio_get_hwinfo(cdio, &hw) && hw.psz_vendor[0])
    info.name = std::string(hw.psz_vendor) + " " + hw.psz_model;
  CdToc toc;
  if (ReadCdToc(cdio, &toc, nullptr)) {
    for (bool audio : toc.audioTrack) info.hasAudioDisc = info.hasAudioDisc || audio;
    info.discId = CddbDiscIdText(CddbDiscId(toc));
    info.queryLine = CddbQueryLine(toc);
    info.trackCount = toc.TrackCount();
  }
  CloseCdSource(cdio);
  RememberCdDiscId(source, info.discId);
  return info;
}

std::vector<CdDriveInfo> ListCdDrives() {
  std::vector<CdDriveInfo> drives;
  QuietCdio();
  char** devices = cdio_get_devices(DRIVER_DEVICE);
  for (char** device = devices; device && *device; ++device) drives.push_back(DescribeCdSource(*device));
  cdio_free_device_list(devices);
  return drives;
}
