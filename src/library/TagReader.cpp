#include "library/TagReader.h"

#include <strings.h>
#include <sys/stat.h>
#include <taglib/aifffile.h>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/commentsframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v1genres.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

#include <algorithm>
#include <regex>

#include "app/base/PathNames.h"
#include "library/ListElement.h"

namespace {

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string Utf8(const TagLib::String& text) { return text.to8Bit(true); }

TagLib::ID3v2::Tag* Id3v2Of(TagLib::File* file) {
  if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) return mpeg->ID3v2Tag();
  if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) return wav->hasID3v2Tag() ? wav->ID3v2Tag() : nullptr;
  if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(file)) return aiff->hasID3v2Tag() ? aiff->tag() : nullptr;
  if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) return flac->hasID3v2Tag() ? flac->ID3v2Tag() : nullptr;
  return nullptr;
}

// The last comment frame that is not an iTunes or CDDB one.
std::string Id3v2Comment(TagLib::ID3v2::Tag* tag) {
  std::string result;
  for (TagLib::ID3v2::Frame* frame : tag->frameList("COMM")) {
    auto* comment = dynamic_cast<TagLib::ID3v2::CommentsFrame*>(frame);
    if (!comment) continue;
    const std::string description = Lower(Utf8(comment->description()));
    if (description.find("itun") != std::string::npos || description.find("cddb") != std::string::npos) continue;
    result = Utf8(comment->text());
  }
  return result;
}

// Key fields outside ID3v2: TagLib maps the Xiph and APE ones to INITIALKEY; MP4 and ASF files
// carry them in items of their own.
std::string KeyOutsideId3(TagLib::File* file) {
  if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) {
    if (mp4->tag() && mp4->tag()->contains("----:com.apple.iTunes:initialkey")) {
      const TagLib::StringList keys = mp4->tag()->item("----:com.apple.iTunes:initialkey").toStringList();
      return keys.isEmpty() ? "" : Utf8(keys.front());
    }
  }
  if (auto* asf = dynamic_cast<TagLib::ASF::File*>(file)) {
    if (asf->tag() && asf->tag()->contains("WM/InitialKey")) {
      const auto attributes = asf->tag()->attribute("WM/InitialKey");
      return attributes.isEmpty() ? "" : Utf8(attributes.front().toString());
    }
  }
  const TagLib::PropertyMap properties = file->properties();
  auto key = properties.find("INITIALKEY");
  return key != properties.end() && !key->second.isEmpty() ? Utf8(key->second.front()) : "";
}

std::string Trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

}  // namespace

ZQTagReader::ZQTagReader() = default;
ZQTagReader::~ZQTagReader() = default;

int ZQTagReader::FileKind(const std::string& path) {
  static const struct {
    const char* extension;
    int kind;
  } kKinds[] = {{"mp3", 1},  {"cdg", 1},  {"ogg", 1},  {"opus", 1}, {"wma", 3},  {"aif", 4},   {"aiff", 4},
                {"wav", 5},  {"au", 6},   {"m4a", 7},  {"m4p", 7},  {"mp4", 7},  {"aac", 7},   {"flac", 8},
                {"avi", 9},  {"wmv", 9},  {"mov", 9},  {"asf", 9},  {"mkv", 9},  {"mpg", 9},   {"mpeg", 9},
                {"mpe", 9},  {"m3e", 9},  {"cda", 10}, {"cda$", 10}, {"aif$", 10}, {"aiff$", 10}};
  const std::string extension = LowerExtensionOf(path);
  for (const auto& k : kKinds) {
    if (extension == k.extension) return k.kind;
  }
  return 0;
}

int ZQTagReader::Open(const std::string& path, int wantTagsFlag, int /*flags*/) {
  Close();
  path_ = path;
  wantTags = wantTagsFlag;
  fileKind = FileKind(path);
  const bool virtualPath = path.find('$') != std::string::npos;
  struct stat info {};
  if (!virtualPath && ::stat(path.c_str(), &info) != 0) return 0;

  bareName_ = TitleFromFileName(path);
  const size_t split = bareName_.find(" - ");
  if (split == std::string::npos) {
    nameTitle_ = bareName_;
  } else {
    nameArtist_ = bareName_.substr(0, split);
    nameTitle_ = bareName_.substr(split + 3);
  }
  valid = 1;
  if (wantTags && !virtualPath && fileKind != 9 && fileKind != 10) ReadTags();
  if (columns_[kColArtist].empty() && columns_[kColTitle].empty()) {
    columns_[kColArtist] = nameArtist_;
    columns_[kColTitle] = nameTitle_;
  }
  columns_[kColPath] = path;
  return 1;
}

void ZQTagReader::ReadTags() {
  std::string tagPath = path_;
  // A karaoke .cdg file has its sound, and its tags, in the .mp3 of the same name.
  if (LowerExtensionOf(tagPath) == "cdg") tagPath.replace(tagPath.size() - 3, 3, "mp3");
  try {
    TagLib::FileRef file(tagPath.c_str(), false);
    if (file.isNull() || !file.tag()) return;
    const TagLib::Tag* tag = file.tag();
    tagged_ = true;
    columns_[kColArtist] = Utf8(tag->artist());
    columns_[kColTitle] = Utf8(tag->title());
    columns_[kColGenre] = Utf8(tag->genre());
    columns_[kColAlbum] = Utf8(tag->album());
    if (tag->track()) columns_[kColTrack] = std::to_string(tag->track());
    if (tag->year()) columns_[kColYear] = std::to_string(tag->year());
    std::string comment;
    if (TagLib::ID3v2::Tag* id3 = Id3v2Of(file.file())) {
      comment = Id3v2Comment(id3);
      const auto& keys = id3->frameList("TKEY");
      if (!keys.isEmpty()) columns_[kColKey] = Utf8(keys.front()->toString());
    } else {
      comment = Utf8(tag->comment());
      columns_[kColKey] = KeyOutsideId3(file.file());
    }
    columns_[kColComment] = CleanComment(comment);
  } catch (...) {
    // A library exception on a damaged file leaves the texts from the name.
  }
}

void ZQTagReader::GetColumn(int column, std::string& out) const {
  out = column >= 0 && column < 12 ? columns_[column] : std::string();
}

void ZQTagReader::Close() {
  valid = 0;
  tagged_ = false;
  path_.clear();
  nameTitle_.clear(), nameArtist_.clear(), bareName_.clear();
  for (auto& c : columns_) c.clear();
}

bool ZQTagReader::ReadCoverArt(const std::string& path, std::vector<unsigned char>& bytes, std::string& mime) {
  auto take = [&](const TagLib::ByteVector& data, const TagLib::String& type) {
    bytes.assign(data.data(), data.data() + data.size());
    mime = Utf8(type);
    return !bytes.empty();
  };
  try {
    TagLib::FileRef ref(path.c_str(), false);
    if (ref.isNull()) return false;
    TagLib::File* file = ref.file();
    if (TagLib::ID3v2::Tag* id3 = Id3v2Of(file)) {
      TagLib::ID3v2::AttachedPictureFrame* chosen = nullptr;
      for (TagLib::ID3v2::Frame* frame : id3->frameList("APIC")) {
        auto* picture = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(frame);
        if (picture && (!chosen || picture->type() == TagLib::ID3v2::AttachedPictureFrame::FrontCover)) chosen = picture;
      }
      if (chosen) return take(chosen->picture(), chosen->mimeType());
    }
    if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
      const auto pictures = flac->pictureList();
      if (!pictures.isEmpty()) return take(pictures.front()->data(), pictures.front()->mimeType());
    }
    if (auto* vorbis = dynamic_cast<TagLib::Ogg::Vorbis::File*>(file)) {
      const auto pictures = vorbis->tag() ? vorbis->tag()->pictureList() : TagLib::List<TagLib::FLAC::Picture*>();
      if (!pictures.isEmpty()) return take(pictures.front()->data(), pictures.front()->mimeType());
    }
    if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) {
      if (mp4->tag() && mp4->tag()->contains("covr")) {
        const auto covers = mp4->tag()->item("covr").toCoverArtList();
        if (!covers.isEmpty()) {
          const bool png = covers.front().format() == TagLib::MP4::CoverArt::PNG;
          return take(covers.front().data(), png ? "image/png" : "image/jpeg");
        }
      }
    }
  } catch (...) {
  }
  return false;
}

int GenreIndex(const std::string& text) {
  const std::string name = Trimmed(text);
  if (name.empty()) return -1;
  int index = TagLib::ID3v1::genreIndex(TagLib::String(name, TagLib::String::UTF8));
  if (index >= 0 && index < 255) return index;
  const TagLib::StringList genres = TagLib::ID3v1::genreList();
  for (unsigned i = 0; i < genres.size(); ++i) {
    if (!strcasecmp(Utf8(genres[i]).c_str(), name.c_str())) return static_cast<int>(i);
  }
  return -1;
}

std::string CleanComment(std::string text) {
  for (const char* marker : {", AG# ", "CRC : "}) {
    const size_t at = text.find(marker);
    if (at != std::string::npos) text.erase(at, 14);
  }
  // Built once, then only read by every thread.
  static const std::regex kNoise("( ?[0-9A-Fa-f]{8}){4,}");
  return Trimmed(std::regex_replace(text, kNoise, ""));
}
