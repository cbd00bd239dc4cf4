// The tag editor's Update: new tags in the file and in every list row of it, the file's mode
// kept, and a file that cannot be written left exactly as it was.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "LibraryFolderFixture.h"
#include "ToneFile.h"
#include "app/base/AtomicFile.h"
#include "library/Browser.h"
#include "library/TagReader.h"
#include "library/TagWriter.h"
#include "support/FileSizeLimit.h"

namespace {

class TagWriterTest : public LibraryFolderFixture {
 protected:
  std::string Column(const std::string& path, int column) {
    ZQTagReader reader;
    EXPECT_EQ(reader.Open(path, 1), 1);
    std::string text;
    reader.GetColumn(column, text);
    return text;
  }
  std::string Bytes(const std::string& path) {
    std::string bytes;
    ReadWholeFile(path, bytes);
    return bytes;
  }
  int FilesIn(const std::string& dir) {
    int count = 0;
    for ([[maybe_unused]] auto& entry : std::filesystem::directory_iterator(dir)) ++count;
    return count;
  }
  TagEdit Edit() {
    TagEdit edit;
    edit.title = "Nächte am Fluss";
    edit.artist = "Zoë";
    edit.album = "Ufer";
    edit.key = "Am";
    edit.track = 3;
    edit.year = 2024;
    return edit;
  }
};

TEST_F(TagWriterTest, NewTagsReachTheFileAndTheListRowsAndTheModeIsKept) {
  for (const char* name : {"song.mp3", "song.flac"}) {
    const std::string path = folder.File(name);
    if (!MakeToneFile(path)) GTEST_SKIP() << "ffmpeg cannot write " << name;
    ::chmod(path.c_str(), 0640);
    CZQBrowser browser(db, playlists);
    browser.LoadLists();
    CZQAbstractList* list = browser.List(browser.CreateList("set"));
    ASSERT_EQ(list->AddFile(path, 0), 1);

    std::string error;
    ASSERT_TRUE(WriteTags(path, Edit(), &error)) << name << ": " << error;
    EXPECT_EQ(Column(path, kColTitle), "Nächte am Fluss") << name;
    EXPECT_EQ(Column(path, kColArtist), "Zoë") << name;
    EXPECT_EQ(Column(path, kColTrack), "3") << name;
    struct stat info {};
    ::stat(path.c_str(), &info);
    EXPECT_EQ(info.st_mode & 07777, 0640u) << name;

    EXPECT_EQ(browser.FileRetagged(path), 1);
    TZQListElement row;
    ASSERT_TRUE(list->GetRow(0, row));
    EXPECT_EQ(row.column[kColTitle], "Nächte am Fluss") << name;
    EXPECT_FALSE(row.column[kColKey].empty()) << name;
  }
  // Database, Playlists, the two songs: no temporary copy is left behind.
  EXPECT_EQ(FilesIn(folder.path()), 4);
}

TEST_F(TagWriterTest, AFileThatCannotBeWrittenIsLeftAsItWas) {
  const std::string path = folder.File("locked.mp3");
  if (!MakeToneFile(path)) GTEST_SKIP() << "ffmpeg is needed";
  const std::string before = Bytes(path);
  std::string error;

  ::chmod(path.c_str(), 0444);
  EXPECT_FALSE(WriteTags(path, Edit(), &error));
  EXPECT_EQ(error, "the file is read-only");
  ::chmod(path.c_str(), 0644);

  // A full disk: the copy cannot be written (a file-size limit stands in for it, which binds
  // root as well).
  {
    ScopedFileSizeLimit limit(1024);
    EXPECT_FALSE(WriteTags(path, Edit(), &error));
  }
  EXPECT_NE(error.find("can not copy the file"), std::string::npos) << error;

  EXPECT_FALSE(WriteTags(folder.File("gone.mp3"), Edit(), &error));
  EXPECT_EQ(Bytes(path), before);
  EXPECT_EQ(FilesIn(folder.path()), 3);
}

}  // namespace
