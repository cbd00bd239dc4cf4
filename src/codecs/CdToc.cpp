#include "codecs/CdToc.h"

#include <algorithm>

namespace {

constexpr size_t kHeaderBytes = 4;
constexpr size_t kDescriptorBytes = 8;
constexpr uint8_t kDataTrackControlBit = 0x04;

}  // namespace

bool ValidateCdToc(const CdToc& toc, std::string* error) {
  auto fail = [&](const char* why) {
    if (error) *error = why;
    return false;
  };
  if (toc.firstTrack < 1 || toc.lastTrack > 99 || toc.firstTrack > toc.lastTrack)
    return fail("track numbers out of range");
  if (toc.TrackCount() != toc.lastTrack - toc.firstTrack + 1) return fail("wrong number of entries");
  if (toc.audioTrack.size() != static_cast<size_t>(toc.TrackCount())) return fail("missing track kinds");
  for (size_t i = 0; i < toc.entries.size(); ++i) {
    const CdMsf& msf = toc.entries[i];
    if (msf.minute < 0 || msf.minute > 99 || msf.second < 0 || msf.second > 59 || msf.frame < 0 ||
        msf.frame > 74)
      return fail("address out of range");
    if (i == 0 && msf.Offset() < kCdPregapSectors) return fail("first track inside the pre-gap");
    if (i > 0 && msf.Offset() <= toc.entries[i - 1].Offset()) return fail("addresses not increasing");
  }
  return true;
}

bool ParseCdToc(const uint8_t* data, size_t size, CdToc* toc, std::string* error) {
  *toc = CdToc{};
  if (!data || size < kHeaderBytes) {
    if (error) *error = "reply too short";
    return false;
  }
  // The length field counts the bytes after itself; trust it only as far as the reply goes.
  size_t length = std::min(size, (size_t(data[0]) << 8 | data[1]) + 2);
  if (length < kHeaderBytes) {
    if (error) *error = "length field too small";
    return false;
  }
  toc->firstTrack = data[2];
  toc->lastTrack = data[3];
  size_t descriptors = (length - kHeaderBytes) / kDescriptorBytes;
  int expected = toc->lastTrack - toc->firstTrack + 1;
  if (expected < 1 || expected > 99 || descriptors < static_cast<size_t>(expected) + 1) {
    if (error) *error = expected < 1 || expected > 99 ? "track numbers out of range" : "reply too short";
    return false;
  }
  for (int i = 0; i <= expected; ++i) {
    const uint8_t* d = data + kHeaderBytes + i * kDescriptorBytes;
    int number = i < expected ? toc->firstTrack + i : kCdLeadOutTrack;
    if (d[2] != number) {
      if (error) *error = i < expected ? "tracks out of order" : "no lead-out after the last track";
      *toc = CdToc{};
      return false;
    }
    toc->entries.push_back(CdMsf{d[5], d[6], d[7]});
    if (i < expected) toc->audioTrack.push_back((d[1] & kDataTrackControlBit) == 0);
  }
  if (!ValidateCdToc(*toc, error)) {
    *toc = CdToc{};
    return false;
  }
  return true;
}

std::vector<uint8_t> SerializeCdToc(const CdToc& toc) {
  std::vector<uint8_t> bytes(kHeaderBytes + kDescriptorBytes * toc.entries.size());
  size_t length = bytes.size() - 2;
  bytes[0] = static_cast<uint8_t>(length >> 8);
  bytes[1] = static_cast<uint8_t>(length);
  bytes[2] = static_cast<uint8_t>(toc.firstTrack);
  bytes[3] = static_cast<uint8_t>(toc.lastTrack);
  for (size_t i = 0; i < toc.entries.size(); ++i) {
    uint8_t* d = bytes.data() + kHeaderBytes + i * kDescriptorBytes;
    bool last = i + 1 == toc.entries.size();
    bool audio = last || (i < toc.audioTrack.size() && toc.audioTrack[i]);
    d[1] = static_cast<uint8_t>(0x10 | (audio ? 0 : kDataTrackControlBit));  // ADR 1: position
    d[2] = static_cast<uint8_t>(last ? kCdLeadOutTrack : toc.firstTrack + static_cast<int>(i));
    d[5] = static_cast<uint8_t>(toc.entries[i].minute);
    d[6] = static_cast<uint8_t>(toc.entries[i].second);
    d[7] = static_cast<uint8_t>(toc.entries[i].frame);
  }
  return bytes;
}
