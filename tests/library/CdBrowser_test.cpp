// Audio CDs in the browser: the drive row a scan finds, and the disc's tracks as list rows with
// the titles a CDDB server gave, or plain track names without one.

#include <gtest/gtest.h>

#include <filesystem>

#include "codecs/CdDrive.h"
#include "codecs/CdImage.h"
#include "codecs/FakeCddbServer.h"
#include "library/Browser.h"
#include "library/CdDriveScan.h"
#include "support/WaitFor.h"
#include "LibraryFolderFixture.h"

namespace {

using namespace fake_cddb;

class CdBrowserTest : public LibraryFolderFixture {
 protected:
  // Scans the test's disc image as the only drive, shows its row and returns the rows' titles
  // and artists.
  std::vector<std::string> ScanAndShow(const std::string& server, std::string* rowLabel, std::string* firstPath) {
    CCdDriveScan scan(server, [this] { return std::vector<CdDriveInfo>{DescribeCdSource(cue)}; });
    EXPECT_TRUE(WaitFor([&] { return scan.Done(); }));
    CZQBrowser browser(db, playlists);
    browser.LoadLists();
    EXPECT_TRUE(scan.ApplyTo(browser));
    std::vector<std::string> texts;
    for (size_t i = 0; i < browser.nodes.size(); ++i) {
      if (browser.nodes[i].nodeType != kNodeCdDrive) continue;
      *rowLabel = browser.nodes[i].label;
      browser.SelectNode(static_cast<int>(i));
      CZQAbstractList* list = browser.List(browser.mainList);
      TZQListElement row;
      for (int r = 0; list->GetRow(r, row); ++r) {
        if (r == 0) *firstPath = row.column[kColPath];
        texts.push_back(row.column[kColArtist] + "|" + row.column[kColTitle]);
      }
    }
    return texts;
  }

  std::string cue = WriteCdImage(folder.path(), {75 * 3, 75 * 2});
};

TEST_F(CdBrowserTest, ADiscShowsItsTracksWithTheServersTitles) {
  FakeCddbServer server(Conversation("\r\n", {"200 rock 0200b201 Some Band / Some Album\r\n"}, {Entry("\r\n")}));
  std::string label, path;
  const auto rows = ScanAndShow(server.address(), &label, &path);
  EXPECT_EQ(label, "<DISK>" + std::filesystem::path(cue).filename().string() + " (audio-CD)");
  EXPECT_EQ(rows, (std::vector<std::string>{"Some Band|Opening", "Some Band|Closing"}));
  // The row's path plays: the list's "$" mark takes it past the file system to the CD decoder.
  EXPECT_EQ(path, CdTrackPathFor(cue, 1) + "$");
}

TEST_F(CdBrowserTest, WithoutAServerTheTracksKeepPlainNames) {
  std::string label, path;
  const auto rows = ScanAndShow("", &label, &path);
  EXPECT_EQ(rows, (std::vector<std::string>{"|Track 01", "|Track 02"}));
}

}  // namespace
