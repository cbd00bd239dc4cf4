#include "codecs/Cddb.h"

#include <algorithm>
#include <cstdio>

#include "codecs/CdDrive.h"

namespace {

int DigitSum(int value) {
  int sum = 0;
  for (; value > 0; value /= 10) sum += value % 10;
  return sum;
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// The first word of text and the rest after the blanks that follow it.
std::string_view NextWord(std::string_view& text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  size_t end = 0;
  while (end < text.size() && !IsBlank(text[end])) ++end;
  std::string_view word = text.substr(0, end);
  text.remove_prefix(end);
  return word;
}

bool IsCategory(std::string_view word) {
  if (word.empty() || word.size() > 32) return false;
  for (char c : word) {
    if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-'))
      return false;
  }
  return true;
}

bool IsDiscId(std::string_view word) {
  if (word.size() != 8) return false;
  for (char c : word) {
    if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'))) return false;
  }
  return true;
}

// "<category> <discid> ..." to the read command, if both words look right.
std::string ReadCommandFor(std::string_view match) {
  std::string_view category = NextWord(match);
  std::string_view id = NextWord(match);
  if (!IsCategory(category) || !IsDiscId(id)) return {};
  return "cddb read " + std::string(category) + " " + std::string(id) + "\n";
}

void AppendUnescaped(std::string_view value, std::string* out) {
  for (size_t i = 0; i < value.size(); ++i) {
    if (value[i] == '\\' && i + 1 < value.size()) {
      char next = value[++i];
      out->push_back(next == 'n' ? '\n' : next == 't' ? '\t' : next);
    } else {
      out->push_back(value[i]);
    }
  }
}

// Track titles past the disc's own count are ignored; 99 is the most a disc can hold.
constexpr int kMaxTracks = 99;

}  // namespace

uint32_t CddbDiscId(const CdToc& toc) {
  int count = toc.TrackCount();
  if (count < 1) return 0;
  uint32_t n = 0;
  for (int i = 0; i < count; ++i) n += DigitSum(toc.entries[i].Seconds());
  uint32_t t = static_cast<uint32_t>(toc.LeadOut().Seconds() - toc.entries[0].Seconds()) & 0xffff;
  return (n % 255) << 24 | t << 8 | (static_cast<uint32_t>(count) & 0xff);
}

std::string CddbDiscIdText(uint32_t id) {
  char text[9];
  std::snprintf(text, sizeof text, "%08x", id);
  return text;
}

std::string CddbQueryLine(const CdToc& toc) {
  int count = toc.TrackCount();
  std::string line = "cddb query " + CddbDiscIdText(CddbDiscId(toc)) + " " + std::to_string(count);
  for (int i = 0; i < count; ++i) line += " " + std::to_string(toc.entries[i].Offset());
  if (count > 0) line += " " + std::to_string(toc.LeadOut().Offset() / kCdSectorsPerSecond);
  return line + "\n";
}

int BuildCddbQuery(const std::string& drive, std::string* discId, std::string* queryLine, int* trackCount) {
  CdDriveInfo info = DescribeCdSource(drive);
  if (info.trackCount == 0) return 0;
  if (discId) *discId = info.discId;
  if (queryLine) *queryLine = info.queryLine;
  if (trackCount) *trackCount = info.trackCount;
  return 1;
}

std::vector<std::string_view> SplitCddbLines(std::string_view text) {
  std::vector<std::string_view> lines;
  size_t start = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r' && text[i] != '\n') continue;
    lines.push_back(text.substr(start, i - start));
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    start = i + 1;
  }
  if (start < text.size()) lines.push_back(text.substr(start));
  return lines;
}

int CddbReplyCode(std::string_view reply) {
  if (reply.size() < 3) return -1;
  int code = 0;
  for (int i = 0; i < 3; ++i) {
    if (reply[i] < '0' || reply[i] > '9') return -1;
    code = code * 10 + (reply[i] - '0');
  }
  return code;
}

bool CddbReplyHasBody(int code) { return code >= 210 && code <= 219; }

size_t CddbCompleteReplyLength(std::string_view buffer) {
  size_t start = 0;
  while (start < buffer.size() && (buffer[start] == '\r' || buffer[start] == '\n')) ++start;
  bool body = false;
  bool firstLine = true;
  size_t lineStart = start;
  for (size_t i = start; i < buffer.size(); ++i) {
    if (buffer[i] != '\r' && buffer[i] != '\n') continue;
    std::string_view line = buffer.substr(lineStart, i - lineStart);
    // A CR that ends the buffer may be the first half of a CR LF; the LF, when it comes, is
    // skipped as a leading line end of the next reply.
    if (buffer[i] == '\r' && i + 1 < buffer.size() && buffer[i + 1] == '\n') ++i;
    if (firstLine) {
      body = CddbReplyHasBody(CddbReplyCode(line));
      firstLine = false;
      if (!body) return i + 1;
    } else if (line == ".") {
      return i + 1;
    }
    lineStart = i + 1;
  }
  return 0;
}

std::string CddbReadCommand(std::string_view queryReply) {
  int code = CddbReplyCode(queryReply);
  std::vector<std::string_view> lines = SplitCddbLines(queryReply);
  if (lines.empty()) return {};
  if (code == 200) return ReadCommandFor(lines[0].substr(3));
  if ((code == 210 || code == 211) && lines.size() > 1 && lines[1] != ".") return ReadCommandFor(lines[1]);
  return {};
}

bool ParseCddbEntry(std::string_view reply, int trackCount, CddbDiscInfo* info) {
  *info = CddbDiscInfo{};
  if (CddbReplyCode(reply) != 210) return false;
  trackCount = std::min(std::max(trackCount, 0), kMaxTracks);
  info->trackTitles.resize(trackCount);
  std::string discTitle;
  std::vector<std::string_view> lines = SplitCddbLines(reply);
  for (size_t i = 1; i < lines.size(); ++i) {
    std::string_view line = lines[i];
    if (line == ".") break;
    size_t equals = line.find('=');
    if (line.empty() || line[0] == '#' || equals == std::string_view::npos) continue;
    std::string_view key = line.substr(0, equals), value = line.substr(equals + 1);
    if (key == "DTITLE") {
      AppendUnescaped(value, &discTitle);
    } else if (key == "DYEAR") {
      AppendUnescaped(value, &info->year);
    } else if (key == "DGENRE") {
      AppendUnescaped(value, &info->genre);
    } else if (key.substr(0, 6) == "TTITLE" && key.size() > 6 && key.size() <= 8) {
      int track = 0;
      for (char c : key.substr(6)) track = (c >= '0' && c <= '9' && track >= 0) ? track * 10 + (c - '0') : -1;
      if (track >= 0 && track < trackCount) AppendUnescaped(value, &info->trackTitles[track]);
    }
  }
  // "Artist / Title"; without the separator the artist and the title are the same.
  size_t slash = discTitle.find(" / ");
  info->artist = slash == std::string::npos ? discTitle : discTitle.substr(0, slash);
  info->title = slash == std::string::npos ? discTitle : discTitle.substr(slash + 3);
  return true;
}
