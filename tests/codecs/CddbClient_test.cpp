// The CDDBP conversation against a scripted server on 127.0.0.1 that the test starts.

#include <gtest/gtest.h>

#include "codecs/CddbClient.h"
#include "codecs/FakeCddbServer.h"
#include "support/TraceCapture.h"
#include "support/WaitFor.h"

namespace {

using namespace fake_cddb;
using namespace std::chrono_literals;

const std::string kQuery = "cddb query 0200b201 2 150 9000 180\n";

TEST(CddbLookup, TitlesArriveWhateverTheLineEndsAndHowTheRepliesAreCut) {
  for (const std::string e : {"\r\n", "\n", "\r"}) {
    std::string list = "211 close matches" + e + "rock 0200b201 A / B" + e + "jazz 0200b202 C / D" + e + "." + e;
    std::vector<std::string> bytes, triples;
    for (char c : list) bytes.emplace_back(1, c);
    for (size_t i = 0; i < Entry(e).size(); i += 3) triples.push_back(Entry(e).substr(i, 3));
    // An exact match, then a list of matches byte by byte with an entry in three-byte pieces.
    for (auto script : {Conversation(e, {"200 rock 0200b201 Some Band / Some Album" + e}, {Entry(e)}),
                        Conversation(e, bytes, triples)}) {
      FakeCddbServer server(script);
      TraceCapture trace;
      CddbDiscInfo info;
      ASSERT_EQ(CddbLookup(server.address(), kQuery, 2, &info), 1) << e.size();
      EXPECT_EQ(info.artist + "|" + info.title + "|" + info.year, "Some Band|Some Album|2001");
      ASSERT_EQ(info.trackTitles, (std::vector<std::string>{"Opening", "Closing"}));
      ASSERT_TRUE(WaitFor([&] { return server.finished(); }));
      EXPECT_EQ(server.received(),
                (std::vector<std::string>{"cddb hello lumo localhost kelvane 1.0", "proto 6", kQuery.substr(0, 34),
                                          "cddb read rock 0200b201", "quit"}));
      EXPECT_TRUE(trace.Saw("cddb: connection made ok") && trace.Saw("cddb: connection closed ok"));
    }
  }
}

TEST(CddbLookup, AReplyOfExactly1024BytesIsNotWaitedOn) {
  // A reader that takes a piece shorter than its 1024-byte buffer as the end of a reply waits
  // here for a piece that never comes.
  std::string body = Entry("\r\n").substr(0, Entry("\r\n").size() - 3);
  std::string exact = body + "# " + std::string(1024 - body.size() - 7, 'x') + "\r\n.\r\n";
  ASSERT_EQ(exact.size(), 1024u);
  FakeCddbServer server(Conversation("\r\n", {"200 rock 0200b201 X / Y\r\n"}, {exact}));
  CddbDiscInfo info;
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(CddbLookup(server.address(), kQuery, 2, &info, 15000), 1);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
}

TEST(CddbLookup, NoMatchRefusalsSilenceAndHangUpsEndTheLookupWithTheirReason) {
  std::vector<Step> hangUp = Conversation("\r\n", {"200 rock 0200b201 X / Y\r\n"});
  hangUp.back() = {true, {"210 rock 0200b201 entry follows\r\nDTITLE=Some Ba"}, true};
  struct Case {
    std::vector<Step> script;
    const char* trace;
    int timeoutMs = 15000;
    bool reads = false;  // the conversation got as far as the read command
  };
  for (const Case& c : std::vector<Case>{
           {Conversation("\r\n", {"202 No match for disc ID 0200b201.\r\n"}), "cddb: no match (202)"},
           {Conversation("\r\n", {"403 Database entry is corrupt.\r\n"}), "cddb: no match (403)"},
           {{{false, {"432 No connections allowed\r\n"}}}, "cddb server error: no connections allowed"},
           {{{false, {"201 ready\r\n"}}, {true, {"431 Handshake not successful\r\n"}}}, "cddb error: hello not ok"},
           {{{false, {"201 ready\r\n"}}, {true, {"200 hi\r\n"}}, {true, {"501 Illegal protocol level.\r\n"}}},
            "cddb error: proto 6 not ok"},
           {{{false, {}}}, "cddb error: no reply in time", 300},
           {hangUp, "closed the connection in the middle of a reply", 15000, true}}) {
    FakeCddbServer server(c.script);
    TraceCapture trace;
    CddbDiscInfo info;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(CddbLookup(server.address(), kQuery, 2, &info, c.timeoutMs), 0) << c.trace;
    auto took = std::chrono::steady_clock::now() - start;
    EXPECT_TRUE(trace.Saw(c.trace)) << c.trace;
    EXPECT_TRUE(info.title.empty());
    EXPECT_LT(took, 10s) << c.trace << ": waited for the time-out";
    if (c.timeoutMs < 1000) EXPECT_GE(took, 290ms) << "gave up before the time-out";
    for (const std::string& line : server.received())
      EXPECT_TRUE(c.reads || line.rfind("cddb read", 0) != 0) << c.trace;
  }
}

TEST(CddbLookup, WithoutAServerNothingIsSentAndAWorkerDeliversTheResult) {
  CddbDiscInfo info;
  for (const char* server : {"", "127.0.0.1:99999", ":8880"}) EXPECT_EQ(CddbLookup(server, kQuery, 2, &info), 0);
  std::string closedPort = FakeCddbServer(std::vector<Step>{}).address();  // nobody listens there now
  TraceCapture trace;
  EXPECT_EQ(CddbLookup(closedPort, kQuery, 2, &info), 0);
  EXPECT_TRUE(trace.Saw("cddb error: connect failed"));
  FakeCddbServer server(Conversation("\n", {"200 rock 0200b201 Some Band / Some Album\n"}, {Entry("\n")}));
  CCddbLookupWorker worker(server.address(), kQuery, 2, 15000);
  ASSERT_TRUE(WaitFor([&] { return worker.Done(); }));
  EXPECT_TRUE(worker.Found());
  EXPECT_EQ(worker.Result().trackTitles.at(1), "Closing");
}

}  // namespace
