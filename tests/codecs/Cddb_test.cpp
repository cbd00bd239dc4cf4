// Disc ids against the published algorithm written out here, the drive's table of contents
// reply, and the reading of CDDB replies.

#include <gtest/gtest.h>

#include <random>

#include "codecs/CdDrive.h"
#include "codecs/CdImage.h"
#include "codecs/Cddb.h"
#include "support/TestFiles.h"

namespace {

// The published CDDB id, from frame offsets (pre-gap included) and the lead-out offset.
uint32_t ReferenceDiscId(const std::vector<int>& offsets, int leadOut) {
  int n = 0;
  for (int offset : offsets) {
    for (char c : std::to_string(offset / 75)) n += c - '0';
  }
  return uint32_t(n % 255) << 24 | uint32_t(leadOut / 75 - offsets[0] / 75) << 8 | uint32_t(offsets.size());
}

CdToc TocOf(const std::vector<int>& offsets, int leadOut) {
  CdToc toc{1, static_cast<int>(offsets.size()), {}, std::vector<bool>(offsets.size(), true)};
  for (int o : offsets) toc.entries.push_back(CdMsf{o / 4500, o / 75 % 60, o % 75});
  toc.entries.push_back(CdMsf{leadOut / 4500, leadOut / 75 % 60, leadOut % 75});
  return toc;
}

TEST(CddbDiscId, MatchesTheReferenceForHandMadeGeneratedAndImagedDiscs) {
  // One track at 2 s, lead-out at 180 s: digit sum 2, 178 s (0xb2), one track.
  EXPECT_EQ(CddbQueryLine(TocOf({150}, 180 * 75)), "cddb query 0200b201 1 150 180\n");

  std::mt19937 random(19);
  for (int disc = 0; disc < 200; ++disc) {
    std::vector<int> offsets = {150 + static_cast<int>(random() % 300)};
    int count = 1 + static_cast<int>(random() % 99);
    for (int i = 1; i <= count; ++i) offsets.push_back(offsets.back() + 300 + static_cast<int>(random() % 3000));
    int leadOut = offsets.back();
    offsets.pop_back();
    CdToc toc = TocOf(offsets, leadOut);
    ASSERT_TRUE(ValidateCdToc(toc, nullptr));
    ASSERT_EQ(CddbDiscId(toc), ReferenceDiscId(offsets, leadOut)) << "disc " << disc;
  }

  TempFolder folder;
  const std::vector<int> sectors = {75 * 61 + 3, 75 * 9, 75 * 20 + 74, 40};
  std::vector<int> offsets = {150};
  for (int s : sectors) offsets.push_back(offsets.back() + s);
  int leadOut = offsets.back();
  offsets.pop_back();
  std::string id, line;
  int count = 0;
  ASSERT_EQ(BuildCddbQuery(WriteCdImage(folder.path(), sectors), &id, &line, &count), 1);
  EXPECT_EQ(id, CddbDiscIdText(ReferenceDiscId(offsets, leadOut)));
  EXPECT_EQ(line, "cddb query " + id + " 4 150 4728 5403 6977 " + std::to_string(leadOut / 75) + "\n");
  EXPECT_EQ(BuildCddbQuery(folder.File("missing.cue"), &id, &line, &count), 0);
  // The browser's row of a drive (here an image) says "(audio-CD)" only when an audio disc is in.
  CdDriveInfo dataOnly = DescribeCdSource(WriteCdImage(folder.path(), {300}, {1}));
  EXPECT_EQ(dataOnly.DisplayName() + " " + std::to_string(dataOnly.trackCount), "disc.cue 1");
}

TEST(CdTocReply, BrokenRepliesAreRefusedWithAReason) {
  const std::vector<uint8_t> good = SerializeCdToc(TocOf({150, 20000, 40000}, 60000));
  CdToc toc;
  std::vector<uint8_t> padded = good;
  padded.resize(kCdRawTocBytes);  // drives pad the reply to what was asked for
  ASSERT_TRUE(ParseCdToc(padded.data(), padded.size(), &toc, nullptr));
  EXPECT_EQ(CddbDiscId(toc), CddbDiscId(TocOf({150, 20000, 40000}, 60000)));
  struct Break {
    size_t at;
    uint8_t value;
    const char* what;
  };
  for (Break b : {Break{1, 12, "length field shorter than the table"}, {1, 1, "length field below the header"},
                  {3, 0, "last track before the first"}, {3, 100, "track numbers beyond 99"},
                  {4 + 8 + 2, 3, "tracks out of order"}, {4 + 24 + 2, 4, "no lead-out marker"},
                  {4 + 8 + 6, 60, "second 60"}, {4 + 16 + 5, 0, "addresses going backwards"},
                  {4 + 6, 1, "first track inside the pre-gap"}, {good.size(), 0, "lead-out cut off"}}) {
    std::vector<uint8_t> reply = good;
    if (b.at < reply.size()) reply[b.at] = b.value;
    if (b.at == good.size()) reply.resize(good.size() - 8);
    std::string why;
    EXPECT_FALSE(ParseCdToc(reply.data(), reply.size(), &toc, &why)) << b.what;
    EXPECT_FALSE(why.empty()) << b.what;
    EXPECT_EQ(toc.TrackCount(), 0) << b.what;
  }
}

TEST(CddbReply, RepliesEndWhereTheProtocolSaysWhateverTheLineEnds) {
  for (const std::string e : {"\r\n", "\n", "\r"}) {
    EXPECT_EQ(CddbCompleteReplyLength("200 ok" + e + "201 next" + e), 6 + e.size());
    EXPECT_EQ(CddbCompleteReplyLength("200 ok"), 0u) << "no line end yet";
    std::string list = "211 close" + e + "rock 0a0b0c0d A / B" + e + "jazz 0a0b0c0e C" + e + "." + e;
    EXPECT_EQ(CddbCompleteReplyLength(list + "230 bye" + e), list.size());
    EXPECT_EQ(CddbCompleteReplyLength(list.substr(0, list.size() - 1 - e.size())), 0u) << "no terminator";
    EXPECT_EQ(CddbCompleteReplyLength("210 x" + e + ".hidden" + e), 0u) << "a dot that starts a line is no end";
    EXPECT_EQ(CddbReadCommand(list), "cddb read rock 0a0b0c0d\n");
  }
  EXPECT_EQ(CddbReadCommand("200 misc 0200b201 Artist / Title\r\n"), "cddb read misc 0200b201\n");
  for (const char* nothing : {"202 No match\r\n", "403 corrupt\r\n", "211 matches\r\n.\r\n", "200 misc 0200b2\r\n",
                              "200 mi;sc 0200b201 x\r\n", "2"})
    EXPECT_EQ(CddbReadCommand(nothing), "") << nothing;
}

TEST(CddbReply, AnEntryGivesTitlesYearAndGenre) {
  CddbDiscInfo info;
  ASSERT_TRUE(ParseCddbEntry("210 rock 0200b201 entry\r\n# xmcd\r\nDTITLE=The Band / A Title Long \r\n"
                             "DTITLE=Enough\r\nDYEAR=1999\r\nDGENRE=Rock\r\nTTITLE0=First\\tSong\r\n"
                             "TTITLE1=Second = Song\r\nTTITLE10=Eleventh\r\nTTITLE99=Past the disc\r\n.\r\n",
                             11, &info));
  EXPECT_EQ(info.artist, "The Band");
  EXPECT_EQ(info.title, "A Title Long Enough") << "split lines of one key are joined";
  EXPECT_EQ(info.year + info.genre, "1999Rock");
  ASSERT_EQ(info.trackTitles.size(), 11u);
  EXPECT_EQ(info.trackTitles[0], "First\tSong");
  EXPECT_EQ(info.trackTitles[1], "Second = Song");
  EXPECT_EQ(info.trackTitles[10], "Eleventh");
  ASSERT_TRUE(ParseCddbEntry("210 x\nDTITLE=Only One Name\n.\n", 1, &info));
  EXPECT_EQ(info.artist + "|" + info.title, "Only One Name|Only One Name");
  EXPECT_FALSE(ParseCddbEntry("401 not found\r\n", 1, &info));
}

}  // namespace
