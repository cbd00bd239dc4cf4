// The CDDBP conversation against a scripted server on 127.0.0.1 that the test starts: line ends,
// replies in pieces, a reply of exactly 1024 bytes, refusals, a silent server and a server
// that hangs up in the middle of a reply.

#include <gtest/gtest.h>

#include <chrono>

#include "codecs/FakeCddbServer.h"
#include "codecs/CddbClient.h"
#include "support/TraceCapture.h"
#include "support/WaitFor.h"

namespace {

using namespace fake_cddb;

using namespace std::chrono_literals;

void ExpectTitles(const CddbDiscInfo& info) {
  EXPECT_EQ(info.artist, "Some Band");
  EXPECT_EQ(info.title, "Some Album");
  EXPECT_EQ(info.year, "2001");
  ASSERT_EQ(info.trackTitles.size(), 2u);
  EXPECT_EQ(info.trackTitles[1], "Closing");
}

TEST(CddbLookup, AnExactMatchWithEachLineEndGivesTheTitles) {
  for (const std::string e : {"\r\n", "\n", "\r"}) {
    FakeCddbServer server(Conversation(e, {"200 rock 0200b201 Some Band / Some Album" + e}, {Entry(e)}));
    TraceCapture trace;
    CddbDiscInfo info;
    ASSERT_EQ(CddbLookup(server.address(), kQuery, 2, &info), 1) << e.size();
    ExpectTitles(info);
    ASSERT_TRUE(WaitFor([&] { return server.finished(); }));
    std::vector<std::string> sent = server.received();
    ASSERT_EQ(sent.size(), 5u);
    EXPECT_EQ(sent[0], "cddb hello lumo localhost kelvane 1.0");
    EXPECT_EQ(sent[1], "proto 6");
    EXPECT_EQ(sent[2] + "\n", kQuery);
    EXPECT_EQ(sent[3], "cddb read rock 0200b201");
    EXPECT_EQ(sent[4], "quit");
    EXPECT_TRUE(trace.Saw("cddb: connection made ok"));
    EXPECT_TRUE(trace.Saw("cddb: connection closed ok"));
  }
}

TEST(CddbLookup, InexactMatchesReadTheFirstAndRepliesMayComeInAnyPieces) {
  for (const std::string e : {"\r\n", "\n", "\r"}) {
    std::string list = "211 close matches found" + e + "rock 0200b201 Some Band / Some Album" + e +
                       "jazz 0200b202 Other / Album" + e + "." + e;
    // The list byte by byte, the entry in three-byte pieces: no piece is a whole line.
    std::vector<std::string> bytes, triples;
    for (char c : list) bytes.emplace_back(1, c);
    std::string entry = Entry(e);
    for (size_t i = 0; i < entry.size(); i += 3) triples.push_back(entry.substr(i, 3));
    FakeCddbServer server(Conversation(e, bytes, triples));
    CddbDiscInfo info;
    ASSERT_EQ(CddbLookup(server.address(), kQuery, 2, &info), 1) << e.size();
    ExpectTitles(info);
    ASSERT_TRUE(WaitFor([&] { return server.finished(); }));
    ASSERT_GE(server.received().size(), 4u);
    EXPECT_EQ(server.received()[3], "cddb read rock 0200b201");
  }
}

TEST(CddbLookup, AReplyOfExactly1024BytesIsNotWaitedOnForever) {
  // A comment line pads the entry to 1024 bytes, the size of one receive: a reader that takes
  // a short piece as the end of a reply would wait here for a piece that never comes.
  std::string entry = Entry("\r\n");
  std::string body = entry.substr(0, entry.size() - 3);  // without ".\r\n"
  std::string exact = body + "# " + std::string(1024 - body.size() - 2 - 2 - 3, 'x') + "\r\n.\r\n";
  ASSERT_EQ(exact.size(), 1024u);
  FakeCddbServer server(
      Conversation("\r\n", {"200 rock 0200b201 Some Band / Some Album\r\n"}, {exact}));
  CddbDiscInfo info;
  auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(CddbLookup(server.address(), kQuery, 2, &info, 15000), 1);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
  ExpectTitles(info);
}

TEST(CddbLookup, NoMatchAndRefusalsEndTheLookupWithTheirReason) {
  struct Case {
    std::vector<Step> script;
    const char* trace;
  };
  std::vector<Case> cases = {
      {Conversation("\r\n", {"202 No match for disc ID 0200b201.\r\n"}, {}), "cddb: no match (202)"},
      {Conversation("\r\n", {"403 Database entry is corrupt.\r\n"}, {}), "cddb: no match (403)"},
      {{{"", {"432 No connections allowed: permission denied\r\n"}}}, "cddb server error: no connections allowed"},
      {{{"", {"201 ready\r\n"}}, {"cddb hello", {"431 Handshake not successful, closing connection\r\n"}}},
       "cddb error: hello not ok"},
      {{{"", {"201 ready\r\n"}}, {"cddb hello", {"200 hi\r\n"}}, {"proto 6", {"501 Illegal protocol level.\r\n"}}},
       "cddb error: proto 6 not ok"},
  };
  for (Case& c : cases) {
    FakeCddbServer server(c.script);
    TraceCapture trace;
    CddbDiscInfo info;
    EXPECT_EQ(CddbLookup(server.address(), kQuery, 2, &info, 15000), 0) << c.trace;
    EXPECT_TRUE(trace.Saw(c.trace)) << c.trace;
    EXPECT_TRUE(info.title.empty());
    ASSERT_TRUE(WaitFor([&] { return server.finished(); }));
    for (const std::string& line : server.received()) EXPECT_NE(line.rfind("cddb read", 0), 0u) << c.trace;
  }
}

TEST(CddbLookup, ASilentServerTimesOutAndAHangUpMidReplyEndsAtOnce) {
  {
    FakeCddbServer silent(std::vector<Step>{{"", {}}});  // accepts and never says a word
    TraceCapture trace;
    CddbDiscInfo info;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(CddbLookup(silent.address(), kQuery, 2, &info, 300), 0);
    auto took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took, 290ms);
    EXPECT_LT(took, 10s);
    EXPECT_TRUE(trace.Saw("cddb error: no reply in time"));
  }
  {
    std::vector<Step> script = Conversation("\r\n", {"200 rock 0200b201 Some Band / Some Album\r\n"}, {});
    script.back() = {"cddb read", {"210 rock 0200b201 entry follows\r\nDTITLE=Some Ba"}, true};
    FakeCddbServer server(script);
    TraceCapture trace;
    CddbDiscInfo info;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(CddbLookup(server.address(), kQuery, 2, &info, 15000), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s) << "did not wait for the time-out";
    EXPECT_TRUE(trace.Saw("closed the connection in the middle of a reply"));
    EXPECT_TRUE(info.title.empty());
  }
}

TEST(CddbLookup, WithoutAServerNothingIsSentAndAWorkerDeliversTheResult) {
  CddbDiscInfo info;
  EXPECT_EQ(CddbLookup("", kQuery, 2, &info), 0);
  EXPECT_EQ(CddbLookup("127.0.0.1:99999", kQuery, 2, &info), 0);
  EXPECT_EQ(CddbLookup(":8880", kQuery, 2, &info), 0);

  FakeCddbServer server(Conversation("\n", {"200 rock 0200b201 Some Band / Some Album\n"}, {Entry("\n")}));
  CCddbLookupWorker worker(server.address(), kQuery, 2, 15000);
  ASSERT_TRUE(WaitFor([&] { return worker.Done(); }));
  EXPECT_TRUE(worker.Found());
  ExpectTitles(worker.Result());
}

}  // namespace
