// Tags from real files of every format the library reads, made at test time (ffmpeg writes the
// audio, TagLib the tags), read back through the path a list takes: BuildRow.

#include "library/TagReader.h"

#include <gtest/gtest.h>

#include <taglib/aifffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/flacpicture.h>
#include <taglib/asffile.h>
#include <taglib/mp4file.h>
#include <taglib/commentsframe.h>
#include <taglib/fileref.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>

#include <cstdlib>
#include <string>

#include "LibraryFolderFixture.h"
#include "TestKeyNames.h"
#include "ToneFile.h"
#include "library/KeyNaming.h"
#include "library/ListRow.h"
#include "library/SongDatabase.h"
#include "support/TestFiles.h"

namespace {

void AddId3Frames(TagLib::ID3v2::Tag* tag) {
  auto* key = new TagLib::ID3v2::TextIdentificationFrame("TKEY", TagLib::String::UTF8);
  key->setText("Am");
  tag->addFrame(key);
  auto* mine = new TagLib::ID3v2::CommentsFrame(TagLib::String::UTF8);
  mine->setDescription("");
  mine->setText("peak time, AG# 01234567 tune");
  tag->addFrame(mine);
  // iTunes leaves its normalisation data in a comment frame of its own: never the comment.
  auto* itunes = new TagLib::ID3v2::CommentsFrame(TagLib::String::UTF8);
  itunes->setDescription("iTunNORM");
  itunes->setText(" 00000A1B 00000B2C 0000C3D4 0000D4E5");
  tag->addFrame(itunes);
}

void WriteTags(const std::string& path) {
  TagLib::FileRef file(path.c_str());
  ASSERT_FALSE(file.isNull()) << path;
  TagLib::Tag* tag = file.tag();
  tag->setArtist(TagLib::String("Zoë Artist", TagLib::String::UTF8));
  tag->setTitle("Night Drive");
  tag->setGenre("Techno");
  tag->setAlbum("Roads");
  tag->setTrack(3);
  tag->setYear(2019);
  TagLib::File* f = file.file();
  TagLib::ID3v2::Tag* id3 = nullptr;
  if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(f)) id3 = mpeg->ID3v2Tag(true);
  if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(f)) id3 = wav->ID3v2Tag();
  if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(f)) id3 = aiff->tag();
  if (id3) {
    AddId3Frames(id3);
  } else if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(f)) {
    tag->setComment("peak time, AG# 01234567 tune");
    mp4->tag()->setItem("----:com.apple.iTunes:initialkey", TagLib::StringList("Am"));
  } else if (auto* asf = dynamic_cast<TagLib::ASF::File*>(f)) {
    tag->setComment("peak time, AG# 01234567 tune");
    asf->tag()->setAttribute("WM/InitialKey", TagLib::ASF::Attribute(TagLib::String("Am")));
  } else {
    tag->setComment("peak time, AG# 01234567 tune");
    TagLib::PropertyMap properties = f->properties();
    properties.replace("INITIALKEY", TagLib::StringList("Am"));
    f->setProperties(properties);
  }
  ASSERT_TRUE(file.save()) << path;
}

class TagReaderFormats : public LibraryFolderFixture, public ::testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    UseTestKeyNames();
    LibraryFolderFixture::SetUp();
  }
};

TEST_P(TagReaderFormats, EveryColumnTheKeyAndTheCleanedComment) {
  const std::string path = folder.File(std::string("Name Artist - Name Title.") + GetParam());
  if (!MakeToneFile(path)) GTEST_SKIP() << "ffmpeg cannot write " << GetParam();
  WriteTags(path);

  ZQTagReader reader;
  TZQListElement row;
  ASSERT_EQ(BuildRow(path, row, false, reader), 1);
  EXPECT_EQ(row.column[kColArtist], "Zoë Artist");
  EXPECT_EQ(row.column[kColTitle], "Night Drive");
  EXPECT_EQ(row.column[kColGenre], "Techno");
  EXPECT_EQ(row.genre1, GenreIndex("Techno"));
  EXPECT_EQ(row.column[kColAlbum], "Roads");
  EXPECT_EQ(row.column[kColTrack], "3");
  EXPECT_EQ(row.column[kColYear], "2019");
  EXPECT_EQ(row.column[kColKey], "Am");
  EXPECT_EQ(row.column[kColComment], "peak time tune");
  TSongRecord record;
  ASSERT_TRUE(FindSong(path.substr(path.find_last_of('/') + 1), record)) << "the tag's key is stored";
  EXPECT_EQ(record.pitchKey, TestKeyIndex("Am"));
}

INSTANTIATE_TEST_SUITE_P(Formats, TagReaderFormats,
                         ::testing::Values("mp3", "flac", "ogg", "opus", "m4a", "wma", "wav", "aiff"));

TEST(TagReader, NamesWithoutTagsVirtualPathsAndGenres) {
  TempFolder folder;
  const std::string untagged = folder.File("Some Artist - Some Title.wav");
  ASSERT_TRUE(MakeToneFile(untagged) || (WriteStereo16(untagged, MakeTestSignal(100)), true));
  ZQTagReader reader;
  ASSERT_EQ(reader.Open(untagged, 1), 1);
  std::string artist, title;
  reader.GetColumn(kColArtist, artist);
  reader.GetColumn(kColTitle, title);
  EXPECT_EQ(artist, "Some Artist");
  EXPECT_EQ(title, "Some Title");
  EXPECT_EQ(reader.Open(folder.File("absent.mp3"), 1), 0);
  EXPECT_EQ(reader.Open("/cd/Track 02.cda$", 1), 1) << "virtual paths are taken on trust";
  EXPECT_EQ(GenreIndex("  techno "), GenreIndex("Techno"));
  EXPECT_EQ(GenreIndex(""), -1);
  EXPECT_EQ(GenreIndex("No Such Genre"), -1);
}

TEST(TagReader, CoverArtComesFromId3AndFlacPicturesWithoutDecoding) {
  TempFolder folder;
  const TagLib::ByteVector picture("\xff\xd8\xff\xe0 not really a jpeg", 25);
  const std::string mp3 = folder.File("cover.mp3"), flac = folder.File("cover.flac");
  if (!MakeToneFile(mp3) || !MakeToneFile(flac)) GTEST_SKIP() << "ffmpeg is needed";
  {
    TagLib::MPEG::File file(mp3.c_str());
    auto* frame = new TagLib::ID3v2::AttachedPictureFrame;
    frame->setMimeType("image/jpeg");
    frame->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
    frame->setPicture(picture);
    file.ID3v2Tag(true)->addFrame(frame);
    ASSERT_TRUE(file.save());
  }
  {
    TagLib::FLAC::File file(flac.c_str());
    auto* art = new TagLib::FLAC::Picture;
    art->setMimeType("image/png");
    art->setData(picture);
    file.addPicture(art);
    ASSERT_TRUE(file.save());
  }
  std::vector<unsigned char> bytes;
  std::string mime;
  ASSERT_TRUE(ZQTagReader::ReadCoverArt(mp3, bytes, mime));
  EXPECT_EQ(mime, "image/jpeg");
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), std::string(picture.data(), picture.size()));
  ASSERT_TRUE(ZQTagReader::ReadCoverArt(flac, bytes, mime));
  EXPECT_EQ(mime, "image/png");
  EXPECT_EQ(bytes.size(), 25u);
  EXPECT_FALSE(ZQTagReader::ReadCoverArt(folder.File("none.mp3"), bytes, mime));
}

}  // namespace
