#include "library/ListFile.h"

#include <sys/stat.h>

#include "app/base/PathNames.h"
#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "library/AbstractList.h"
#include "library/ListRow.h"
#include "library/M3uFile.h"
#include "library/TagReader.h"
#include "library/XmlWalk.h"

namespace {

const char* const kHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\n";

void AppendRow(std::string& text, const TZQListElement& row, int number, bool withAux) {
  text += "<song ";
  AppendIntAttribute(text, "numb", number);
  for (int c = 1; c < kColumnCount; ++c) AppendTextAttribute(text, kColumnKeys[c], row.column[c]);
  const int genre1 = row.genre1 < 0 ? GenreIndex(row.column[kColGenre]) : row.genre1;
  AppendIntAttribute(text, "gnr1", genre1);
  AppendIntAttribute(text, "gnr2", row.genre2);
  AppendIntAttribute(text, "gnr3", row.genre3);
  AppendIntAttribute(text, "duration_ms", row.durationMs);
  if (row.highlight >= 0) AppendIntAttribute(text, "highlight", row.highlight);
  if (row.mediaType >= 0) AppendIntAttribute(text, "mediatype", row.mediaType);
  if (withAux) AppendTextAttribute(text, "auxstr", row.auxString);
  text += row.isNew ? "isnew=\"true\" " : "isnew=\"false\" ";
  text += row.isExplicit ? "explicit=\"true\" " : "explicit=\"false\" ";
  text += "/>\n";
}

TZQListElement RowFrom(const XmlAttributes& a) {
  TZQListElement row;
  for (int c = 0; c < kColumnCount; ++c) row.column[c] = ReadTextAttribute(a, kColumnKeys[c]);
  row.genre1 = a.Int("gnr1");
  row.genre2 = a.Int("gnr2");
  row.genre3 = a.Int("gnr3");
  row.durationMs = std::max(0, a.Int("duration_ms", 0));
  row.highlight = a.Int("highlight");
  row.mediaType = std::max(0, a.Int("mediatype", 0));
  row.isExplicit = ListBoolean(a.Text("explicit"));
  row.isNew = ListBoolean(a.Text("isnew"));
  row.auxString = ReadTextAttribute(a, "auxstr");
  if (row.genre1 < 0) row.genre1 = GenreIndex(row.column[kColGenre]);
  return row;
}

}  // namespace

std::string SafeListFileName(const std::string& name) {
  static const std::string kAllowed =
      "-_.() abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  std::string safe;
  for (char c : name) {
    if (kAllowed.find(c) != std::string::npos) safe += c;
  }
  // Nothing left, or only dots, would name no file or a folder.
  if (safe.find_first_not_of(". ") == std::string::npos) safe = "list" + safe;
  return safe;
}

std::string ListFileText(const CZQAbstractList& list, bool withAuxStrings) {
  const std::vector<TZQListElement> rows = list.AllRows();
  std::string text = kHeader;
  text += "<list version=\"100\" ";
  AppendTextAttribute(text, "name", list.name);
  AppendTextAttribute(text, "imgfile", list.imageFile);
  AppendIntAttribute(text, "overrideduration", list.overrideDuration);
  AppendIntAttribute(text, "shuffleonload", list.shuffleOnLoad);
  text += "count=\"" + std::to_string(rows.size()) + "\">\n";
  int number = 0;
  for (const TZQListElement& row : rows) AppendRow(text, row, ++number, withAuxStrings);
  text += "</list>\n";
  return text;
}

int ParseListFileText(const std::string& bytes, CZQAbstractList& list, const std::string& path) {
  std::vector<TZQListElement> rows;
  std::string why;
  const XmlWalkResult result = WalkXmlElements(
      bytes, "list",
      [&](const XmlAttributes& a) {
        list.imageFile = ReadTextAttribute(a, "imgfile");
        list.overrideDuration = a.Int("overrideduration", list.overrideDuration);
        list.shuffleOnLoad = std::max(0, a.Int("shuffleonload", 0));
      },
      [&](std::string_view element, const XmlAttributes& a) {
        if (element == "song") rows.push_back(RowFrom(a));
      },
      &why);
  switch (result) {
    case XmlWalkResult::kNotParsed:
      TraceLine("CZQAbstractList::LoadListContents -- XML not parsed successfully (%s: %s)", path.c_str(), why.c_str());
      return 0;
    case XmlWalkResult::kEmpty:
      TraceLine("CZQAbstractList::LoadListContents -- XML is empty (%s)", path.c_str());
      return 0;
    case XmlWalkResult::kWrongRoot:
      TraceLine("CZQAbstractList::LoadListContents -- XML root node is NOT 'list' (%s)", path.c_str());
      return 0;
    case XmlWalkResult::kOk:
      break;
  }
  list.AddRows(std::move(rows));
  return 1;
}

int CZQAbstractList::SaveToFile(const std::string& path, bool withAuxStrings) {
  return WriteFileAtomically(path, ListFileText(*this, withAuxStrings)) ? 1 : 0;
}

int CZQAbstractList::LoadFromFile(const std::string& path, bool clearFirst) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    TraceLine("CZQAbstractList::LoadListContents -- file not found (%s)", path.c_str());
    return 0;
  }
  if (clearFirst) Clear();
  if (IsM3uPath(path)) return LoadM3u(path);
  std::string bytes;
  if (!ReadWholeFile(path, bytes)) {
    TraceLine("CZQAbstractList::LoadListContents -- cannot read %s", path.c_str());
    return 0;
  }
  return ParseListFileText(bytes, *this, path);
}

int CZQAbstractList::LoadM3u(const std::string& path) {
  std::string bytes;
  if (!ReadWholeFile(path, bytes)) {
    TraceLine("CZQAbstractList::LoadListContents -- cannot read %s", path.c_str());
    return 0;
  }
  const std::string folder = FolderPartOf(path, "./");
  for (const std::string& song : ParseM3u(bytes, folder)) AddFile(song, 1);
  FlushJobs();
  return 1;
}
