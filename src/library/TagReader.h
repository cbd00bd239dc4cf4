#pragma once
// ZQTagReader gives a list row its column texts. Tags are read with TagLib from every format it
// knows (MP3, FLAC, Ogg Vorbis, Opus, M4A, WMA, WAV and AIFF with ID3); a file without tags is
// titled from its name, split at " - " into artist and title. The comment is the last ID3v2
// comment frame whose description is not an iTunes or CDDB one, cleaned of ripper noise.
//
// Threads: one object per thread (each list worker has its own). Exceptions of TagLib stop here.

#include <memory>
#include <string>
#include <vector>

namespace TagLib {
class FileRef;
}

class ZQTagReader {
 public:
  ZQTagReader();
  ~ZQTagReader();

  // 1 if usable. A path that does not exist and has no '$' opens nothing and gives 0. With
  // wantTags 0 nothing is opened: the texts come from the name.
  int Open(const std::string& path, int wantTags, int flags = 0);
  // The text of a column (ListColumn numbering), "" when there is none.
  void GetColumn(int column, std::string& out) const;
  void Close();

  // The file kind by extension (1 MPEG and Ogg, 3 WMA, 4 AIFF, 5 WAV, 6 AU, 7 MP4, 8 FLAC,
  // 9 video, 10 CD and virtual), 0 for anything else.
  static int FileKind(const std::string& path);

  // The embedded cover picture (front cover when marked), without decoding audio; false when
  // there is none. mime is "image/jpeg" or the like.
  static bool ReadCoverArt(const std::string& path, std::vector<unsigned char>& bytes, std::string& mime);

  int fileKind = 0;
  int wantTags = 0;
  int valid = 0;

 private:
  void ReadTags();

  std::string path_;
  std::string nameTitle_, nameArtist_, bareName_;
  std::string columns_[12];
  bool tagged_ = false;
};

// The ID3v1 genre number of a genre name (trimmed, exact case first, then any case), or -1.
int GenreIndex(const std::string& text);

// Removes ripper noise from a comment: ", AG# " and "CRC : " blocks of 14 characters and
// runs of eight-digit hex words (iTunes normalisation data).
std::string CleanComment(std::string text);
