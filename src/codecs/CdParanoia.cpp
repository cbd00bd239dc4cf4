#include "codecs/CdParanoia.h"

#include <cdio/cdio.h>
#include <cdio/paranoia/cdda.h>
#include <cdio/paranoia/paranoia.h>

#include <cstring>

#include "codecs/CdToc.h"

int g_cdParanoiaMode = 1;

namespace {

// A scratched sector is retried this often before it is given up as silence: enough to get
// past most dust, few enough that a ruined disc does not stall the deck's loader for minutes.
constexpr int kMaxRetries = 5;

// paranoia's callback carries no context; each read runs on one thread, so the count of
// sectors given up during the current read lives per thread.
thread_local int t_failedSectors = 0;

void CountFailures(long, paranoia_cb_mode_t mode) {
  if (mode == PARANOIA_CB_SKIP || mode == PARANOIA_CB_READERR) ++t_failedSectors;
}

}  // namespace

bool CCdParanoiaReader::Open(CdIo_t* cdio) {
  Close();
  bool isDrive = cdio_get_driver_id(cdio) == DRIVER_LINUX;
  if (g_cdParanoiaMode <= 0 || (g_cdParanoiaMode == 1 && !isDrive)) return false;
  drive_ = cdio_cddap_identify_cdio(cdio, CDDA_MESSAGE_FORGETIT, nullptr);
  if (!drive_ || cdio_cddap_open(drive_) != 0) {
    Close();
    return false;
  }
  // cdparanoia guesses the byte order of the samples from how smooth they look, and can guess
  // wrong on noise or near-silence. libcdio delivers little-endian audio, as the plain reads
  // assume too, so both ways of reading give the same bytes.
  drive_->bigendianp = 0;
  paranoia_ = cdio_paranoia_init(drive_);
  if (!paranoia_) {
    Close();
    return false;
  }
  cdio_paranoia_modeset(paranoia_, PARANOIA_MODE_FULL ^ PARANOIA_MODE_NEVERSKIP);
  nextLsn_ = -1;
  return true;
}

void CCdParanoiaReader::Close() {
  if (paranoia_) cdio_paranoia_free(paranoia_);
  if (drive_) cdio_cddap_close_no_free_cdio(drive_);
  paranoia_ = nullptr;
  drive_ = nullptr;
}

int CCdParanoiaReader::ReadSectors(unsigned char* buffer, int lsn, int count) {
  if (lsn != nextLsn_) cdio_paranoia_seek(paranoia_, lsn, SEEK_SET);
  int failed = 0;
  for (int i = 0; i < count; ++i) {
    t_failedSectors = 0;
    int16_t* sector = cdio_paranoia_read_limited(paranoia_, CountFailures, kMaxRetries);
    unsigned char* out = buffer + i * kCdSectorBytes;
    if (!sector || t_failedSectors > 0) {
      std::memset(out, 0, kCdSectorBytes);
      ++failed;
    } else {
      std::memcpy(out, sector, kCdSectorBytes);
    }
  }
  nextLsn_ = lsn + count;
  return failed;
}
