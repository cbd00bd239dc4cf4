// `lumo cd` and `lumo render` on CD tracks, run as a user would run them, on a disc image and
// against a scripted CDDB server on loopback.

#include <gtest/gtest.h>

#include "app/base/AtomicFile.h"
#include "codecs/CdDrive.h"
#include "codecs/CdImage.h"
#include "codecs/Cddb.h"
#include "codecs/DecoderWAV.h"
#include "codecs/FakeCddbServer.h"
#include "support/TestFiles.h"

namespace {

const std::vector<int> kTracks = {75 * 2 + 5, 75 * 3 + 11};

// Runs a lumo command; gives its standard output and sets *status to its exit code.
std::string RunLumo(const std::string& arguments, int* status) {
  std::string output;
  FILE* pipe = ::popen((std::string(LUMO_TOOL) + " " + arguments + " 2>/dev/null").c_str(), "r");
  char buffer[4096];
  while (size_t n = pipe ? std::fread(buffer, 1, sizeof buffer, pipe) : 0) output.append(buffer, n);
  int raw = pipe ? ::pclose(pipe) : -1;
  *status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return output;
}

TEST(LumoCd, RenderRipsATrackThroughTheDeckBitExact) {
  ScopedDataRoot root;
  std::string out = root.path() + "out.wav";
  int status = -1;
  RunLumo("render '" + CdTrackPathFor(WriteCdImage(root.path(), kTracks), 2) + "' -o '" + out + "' --float", &status);
  ASSERT_EQ(status, 0);
  CDecoderWAV reader(0);
  AudioFormat format;
  ASSERT_TRUE(reader.open(out, &format, 0));
  std::vector<int16_t> expected = CdImageFrames(kTracks[0] * 588LL, kTracks[1] * 588);
  ASSERT_GE(format.frames, kTracks[1] * 588);
  std::vector<float> rendered(2 * static_cast<size_t>(format.frames));
  ASSERT_EQ(reader.read(rendered.data(), format.frames, 0), format.frames);
  // The last 441 frames carry the deck's stop fade.
  for (size_t i = 0; i < expected.size() - 2 * 441; ++i) ASSERT_EQ(rendered[i], expected[i] * 3e-05f) << i;
}

TEST(LumoCd, ListsADiscWithTitlesFromTheServerItIsGivenAndRefusesBadInput) {
  ScopedDataRoot root;
  std::string cue = WriteCdImage(root.path(), kTracks);
  std::string id, query;
  ASSERT_EQ(BuildCddbQuery(cue, &id, &query, nullptr), 1);
  fake_cddb::FakeCddbServer server(
      fake_cddb::Conversation("\r\n", {"200 rock " + id + " Some Band / Some Album\r\n"}, {fake_cddb::Entry("\r\n")}));
  int status = -1;
  std::string listing = RunLumo("cd '" + cue + "' --server " + server.address() + " --timeout 15", &status);
  EXPECT_EQ(status, 0);
  EXPECT_NE(listing.find("disc " + id + ": 2 tracks, 0:05, Some Band / Some Album"), std::string::npos) << listing;
  EXPECT_NE(listing.find("02    0:03  " + CdTrackPathFor(cue, 2) + "  Closing"), std::string::npos) << listing;
  ASSERT_GE(server.received().size(), 3u);
  EXPECT_EQ(server.received()[2] + "\n", query) << "the disc's own query line";

  // Without --server, the program's own setting names the server.
  fake_cddb::FakeCddbServer configured(
      fake_cddb::Conversation("\n", {"200 rock " + id + " Some Band / Some Album\n"}, {fake_cddb::Entry("\n")}));
  const std::string config = root.path() + "config.xml";
  ASSERT_TRUE(WriteFileAtomically(config, "<settings version=\"100\">\n<setting name=\"cddbsv\" value=\"" +
                                              configured.address() + "\" type=\"1\"/>\n</settings>\n"));
  listing = RunLumo("--config '" + config + "' cd '" + cue + "' --timeout 15", &status);
  EXPECT_EQ(status, 0);
  EXPECT_NE(listing.find("Some Band / Some Album"), std::string::npos) << listing;

  for (const char* bad : {"--server", "--speed 4", "--server host:port", "a.cue b.cue"}) {
    RunLumo(std::string("cd ") + bad, &status);
    EXPECT_EQ(status, 2) << bad;
  }
  RunLumo("cd '" + root.path() + "missing.cue'", &status);
  EXPECT_EQ(status, 1);
}

}  // namespace
