#pragma once
// Sector reads through cdparanoia, which reads overlapping spans and compares them to undo the
// drive's jitter and to retry scratched sectors. Real drives need it; a disc image is read
// exactly anyway, so there paranoia only costs time.
//
// Which sources go through paranoia: 0 none, 1 drives (the default), 2 drives and disc images.
// Set at start from the settings; read when a track opens.

typedef struct _CdIo CdIo_t;
struct cdrom_drive_s;
struct cdrom_paranoia_s;

extern int g_cdParanoiaMode;

class CCdParanoiaReader {
 public:
  CCdParanoiaReader() = default;
  ~CCdParanoiaReader() { Close(); }
  CCdParanoiaReader(const CCdParanoiaReader&) = delete;
  CCdParanoiaReader& operator=(const CCdParanoiaReader&) = delete;

  // Takes the source (not its ownership) when the mode asks for paranoia on it; false when
  // paranoia is not wanted or cannot run there, and plain reads should be used.
  bool Open(CdIo_t* cdio);
  void Close();
  bool IsOpen() const { return paranoia_ != nullptr; }

  // Reads count sectors from lsn into buffer (2352 bytes each). Sectors paranoia gave up on are
  // zeros; returns how many of them there were.
  int ReadSectors(unsigned char* buffer, int lsn, int count);

 private:
  cdrom_drive_s* drive_ = nullptr;
  cdrom_paranoia_s* paranoia_ = nullptr;
  int nextLsn_ = -1;  // where paranoia stands; any other start is a seek
};
