#pragma once
// CDDB: the disc id and query line of a table of contents, and the reading of a CDDB server's
// replies. The conversation itself is in codecs/CddbClient.h.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "codecs/CdToc.h"

// The published CDDB disc id: the digit sums of the track start seconds (mod 255) in the top
// byte, the playing time in seconds in the middle, the track count in the low byte.
uint32_t CddbDiscId(const CdToc& toc);
std::string CddbDiscIdText(uint32_t id);  // "%08x"

// "cddb query <id> <count> <offset>... <seconds>\n"
std::string CddbQueryLine(const CdToc& toc);

// Reads the table of contents of a drive or disc image and gives its id, query line and track
// count. 0 when the disc cannot be read.
int BuildCddbQuery(const std::string& drive, std::string* discId, std::string* queryLine, int* trackCount);

// The lines of a reply; CR LF, LF and a lone CR each end a line.
std::vector<std::string_view> SplitCddbLines(std::string_view text);

// The three-digit code that starts a reply, or -1.
int CddbReplyCode(std::string_view reply);
// Codes 210 to 219 announce lines that follow, up to a line holding a single ".".
bool CddbReplyHasBody(int code);
// Bytes of buffer that make up the first complete reply (leading line ends skipped), or 0 when
// more must be received first.
size_t CddbCompleteReplyLength(std::string_view buffer);

// The "cddb read <category> <discid>\n" command for a query reply: the exact match (200) or the
// first of several (210, 211). Empty when the reply offers nothing to read.
std::string CddbReadCommand(std::string_view queryReply);

struct CddbDiscInfo {
  std::string artist;
  std::string title;
  std::string year;
  std::string genre;
  std::vector<std::string> trackTitles;
};

// Parses the reply to "cddb read" (code 210, then KEY=value lines). Values split over several
// lines of the same key are joined, the escapes \n \t \\ are undone. Returns false when the
// reply is not a 210 entry.
bool ParseCddbEntry(std::string_view reply, int trackCount, CddbDiscInfo* info);
