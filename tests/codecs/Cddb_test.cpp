// Disc ids and query lines against the published algorithm written out here, the drive's table
// of contents reply, and the reading of CDDB replies.

#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "codecs/CdImage.h"
#include "codecs/Cddb.h"
#include "codecs/CdToc.h"
#include "support/TestFiles.h"

namespace {

// The published CDDB id, from frame offsets (pre-gap included) and the lead-out offset.
uint32_t ReferenceDiscId(const std::vector<int>& offsets, int leadOut) {
  auto digitSum = [](int seconds) {
    int sum = 0;
    for (char c : std::to_string(seconds)) sum += c - '0';
    return sum;
  };
  int n = 0;
  for (int offset : offsets) n += digitSum(offset / 75);
  int t = leadOut / 75 - offsets.front() / 75;
  return static_cast<uint32_t>(n % 255) << 24 | static_cast<uint32_t>(t) << 8 | offsets.size();
}

CdMsf MsfOf(int offset) { return CdMsf{offset / 4500, offset / 75 % 60, offset % 75}; }

CdToc TocOf(const std::vector<int>& offsets, int leadOut, int firstTrack = 1) {
  CdToc toc;
  toc.firstTrack = firstTrack;
  toc.lastTrack = firstTrack + static_cast<int>(offsets.size()) - 1;
  for (int offset : offsets) toc.entries.push_back(MsfOf(offset));
  toc.entries.push_back(MsfOf(leadOut));
  toc.audioTrack.assign(offsets.size(), true);
  return toc;
}

// Random discs: 1 to 99 tracks of 4 s to 12 min, under 80 minutes in all where possible.
struct RandomDisc {
  std::vector<int> offsets;
  int leadOut;
};
RandomDisc MakeRandomDisc(std::mt19937& random) {
  RandomDisc disc;
  int count = 1 + static_cast<int>(random() % 99);
  int offset = 150 + static_cast<int>(random() % 300);
  int longest = std::max(300, (80 * 60 * 75 - offset) / count);
  for (int i = 0; i < count; ++i) {
    disc.offsets.push_back(offset);
    offset += 300 + static_cast<int>(random() % std::min(longest, 12 * 60 * 75));
  }
  disc.leadOut = offset;
  return disc;
}

TEST(CddbDiscId, OneTrackDiscByHand) {
  CdToc toc = TocOf({150}, 180 * 75);
  // Digit sum of 2 s is 2; the disc plays 178 s (0xb2); one track.
  EXPECT_EQ(CddbDiscIdText(CddbDiscId(toc)), "0200b201");
  EXPECT_EQ(CddbQueryLine(toc), "cddb query 0200b201 1 150 180\n");
}

TEST(CddbDiscId, GeneratedDiscsAgreeWithTheReferenceAndTheQueryLineCarriesEveryOffset) {
  std::mt19937 random(19);
  for (int disc = 0; disc < 200; ++disc) {
    RandomDisc d = MakeRandomDisc(random);
    CdToc toc = TocOf(d.offsets, d.leadOut);
    ASSERT_TRUE(ValidateCdToc(toc, nullptr));
    uint32_t id = ReferenceDiscId(d.offsets, d.leadOut);
    ASSERT_EQ(CddbDiscId(toc), id) << "disc " << disc;

    std::istringstream words(CddbQueryLine(toc));
    std::string cddb, query, idText;
    int count;
    words >> cddb >> query >> idText >> count;
    EXPECT_EQ(idText, CddbDiscIdText(id));
    ASSERT_EQ(count, static_cast<int>(d.offsets.size()));
    for (int offset : d.offsets) {
      int word;
      words >> word;
      ASSERT_EQ(word, offset);
    }
    int seconds;
    words >> seconds;
    EXPECT_EQ(seconds, d.leadOut / 75);
  }
}

TEST(CddbDiscId, ADiscImageGivesTheIdOfItsTrackLengths) {
  TempFolder folder;
  const std::vector<int> sectors = {75 * 61 + 3, 75 * 9, 75 * 20 + 74, 40};
  std::string cue = WriteCdImage(folder.path(), sectors);
  std::vector<int> offsets;
  int offset = 150;
  for (int s : sectors) offsets.push_back(offset), offset += s;
  std::string id, line;
  int count = 0;
  ASSERT_EQ(BuildCddbQuery(cue, &id, &line, &count), 1);
  EXPECT_EQ(id, CddbDiscIdText(ReferenceDiscId(offsets, offset)));
  EXPECT_EQ(count, 4);
  EXPECT_EQ(line, CddbQueryLine(TocOf(offsets, offset)));
  EXPECT_EQ(BuildCddbQuery(folder.File("missing.cue"), &id, &line, &count), 0);
}

TEST(CdTocReply, GeneratedTablesSurviveTheDriveFormat) {
  std::mt19937 random(4);
  for (int disc = 0; disc < 100; ++disc) {
    RandomDisc d = MakeRandomDisc(random);
    CdToc toc = TocOf(d.offsets, d.leadOut, d.offsets.size() <= 97 ? 1 + disc % 3 : 1);
    toc.audioTrack.back() = disc % 2 == 0;  // enhanced CDs end in a data track
    std::vector<uint8_t> reply = SerializeCdToc(toc);
    reply.resize(kCdRawTocBytes);  // drives pad the reply to what was asked for
    CdToc parsed;
    std::string why;
    ASSERT_TRUE(ParseCdToc(reply.data(), reply.size(), &parsed, &why)) << why;
    EXPECT_EQ(parsed.firstTrack, toc.firstTrack);
    EXPECT_EQ(parsed.audioTrack, toc.audioTrack);
    ASSERT_EQ(parsed.entries.size(), toc.entries.size());
    for (size_t i = 0; i < toc.entries.size(); ++i) ASSERT_EQ(parsed.entries[i].Offset(), toc.entries[i].Offset());
  }
}

TEST(CdTocReply, BrokenRepliesAreRefusedWithAReason) {
  const std::vector<uint8_t> good = SerializeCdToc(TocOf({150, 20000, 40000}, 60000));
  auto refuses = [](std::vector<uint8_t> reply, const char* reason) {
    CdToc toc;
    std::string why;
    bool ok = ParseCdToc(reply.data(), reply.size(), &toc, &why);
    EXPECT_FALSE(ok) << reason;
    EXPECT_FALSE(why.empty()) << reason;
    EXPECT_EQ(toc.TrackCount(), 0) << reason;
  };
  refuses({}, "empty");
  refuses(std::vector<uint8_t>(good.begin(), good.end() - 8), "lead-out cut off");
  std::vector<uint8_t> b = good;
  b[1] = 12;  // the length field claims only the first descriptor
  refuses(b, "length field shorter than the table");
  b = good, b[0] = 0, b[1] = 1;
  refuses(b, "length field below the header");
  b = good, b[3] = 0;
  refuses(b, "last track before the first");
  b = good, b[2] = 0, b[3] = 100;
  refuses(b, "track numbers beyond 99");
  b = good, b[4 + 8 + 2] = 3;
  refuses(b, "tracks out of order");
  b = good, b[4 + 24 + 2] = 4;
  refuses(b, "no lead-out marker");
  b = good, b[4 + 8 + 6] = 60;
  refuses(b, "second 60");
  b = good, b[4 + 16 + 5] = 0;
  refuses(b, "addresses going backwards");
  b = good, b[4 + 5] = 0, b[4 + 6] = 1;
  refuses(b, "first track inside the pre-gap");
}

TEST(CddbReply, CompleteRepliesWhateverTheLineEnds) {
  for (const char* end : {"\r\n", "\n", "\r"}) {
    std::string e = end;
    std::string single = "200 ok" + e;
    EXPECT_EQ(CddbCompleteReplyLength(single + "201 next" + e), single.size()) << e.size();
    EXPECT_EQ(CddbCompleteReplyLength("200 ok"), 0u) << "no line end yet";
    std::string list = "211 close matches" + e + "rock 0a0b0c0d A / B" + e + "jazz 0a0b0c0e C / D" + e + "." + e;
    EXPECT_EQ(CddbCompleteReplyLength(list + "230 bye" + e), list.size());
    EXPECT_EQ(CddbCompleteReplyLength(list.substr(0, list.size() - 1 - e.size())), 0u) << "no terminator";
    EXPECT_EQ(CddbReadCommand(list), "cddb read rock 0a0b0c0d\n");
    // A line that merely starts with a dot does not end the body.
    EXPECT_EQ(CddbCompleteReplyLength("210 x" + e + ".hidden" + e), 0u);
  }
  // The LF of a CR LF that arrived after the reply was taken is skipped before the next one.
  EXPECT_EQ(CddbCompleteReplyLength("\n201 ok\r\n"), 9u);
  EXPECT_EQ(CddbCompleteReplyLength("\n"), 0u);
}

TEST(CddbReply, TheReadCommandComesFromExactAndInexactMatchesOnly) {
  EXPECT_EQ(CddbReadCommand("200 misc 0200b201 Artist / Title\r\n"), "cddb read misc 0200b201\n");
  EXPECT_EQ(CddbReadCommand("210 Found exact matches\nfolk 12345678 X / Y\n.\n"), "cddb read folk 12345678\n");
  EXPECT_EQ(CddbReadCommand("202 No match found\r\n"), "");
  EXPECT_EQ(CddbReadCommand("403 Database entry is corrupt\r\n"), "");
  EXPECT_EQ(CddbReadCommand("211 matches\r\n.\r\n"), "") << "an empty list";
  EXPECT_EQ(CddbReadCommand("200 misc 0200b2\r\n"), "") << "a short id";
  EXPECT_EQ(CddbReadCommand("200 mi;sc 0200b201 x\r\n"), "") << "a category that would inject a command";
  EXPECT_EQ(CddbReadCommand("2"), "");
}

TEST(CddbReply, AnEntryGivesTitlesYearAndGenre) {
  const std::string entry =
      "210 rock 0200b201 CD database entry follows\r\n"
      "# xmcd\r\n"
      "DISCID=0200b201\r\n"
      "DTITLE=The Long Artist Name / A Title Long Enough \r\n"
      "DTITLE=To Be Split\r\n"
      "DYEAR=1999\r\n"
      "DGENRE=Rock\r\n"
      "TTITLE0=First\\tSong\r\n"
      "TTITLE1=Second = Song\r\n"
      "TTITLE10=Eleventh\r\n"
      "TTITLE99=Past the disc\r\n"
      "EXTD=\r\n"
      ".\r\n";
  CddbDiscInfo info;
  ASSERT_TRUE(ParseCddbEntry(entry, 11, &info));
  EXPECT_EQ(info.artist, "The Long Artist Name");
  EXPECT_EQ(info.title, "A Title Long Enough To Be Split");
  EXPECT_EQ(info.year, "1999");
  EXPECT_EQ(info.genre, "Rock");
  ASSERT_EQ(info.trackTitles.size(), 11u);
  EXPECT_EQ(info.trackTitles[0], "First\tSong");
  EXPECT_EQ(info.trackTitles[1], "Second = Song");
  EXPECT_EQ(info.trackTitles[10], "Eleventh");
  EXPECT_EQ(info.trackTitles[2], "");

  ASSERT_TRUE(ParseCddbEntry("210 x\nDTITLE=Only One Name\n.\n", 1, &info));
  EXPECT_EQ(info.artist, "Only One Name");
  EXPECT_EQ(info.title, "Only One Name");
  EXPECT_FALSE(ParseCddbEntry("401 not found\r\n", 1, &info));
}

}  // namespace
