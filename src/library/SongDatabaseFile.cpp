#include <algorithm>
#include "library/SongDatabaseFile.h"

#include <fcntl.h>
#include <libxml/xmlreader.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <ctime>
#include <vector>

#include "app/base/AtomicFile.h"
#include "app/base/NumberText.h"
#include "app/base/Trace.h"
#include "library/XmlNameText.h"

namespace {

enum class ParseOutcome { kOk, kMissing, kBroken, kUnreadable };

void AppendAttribute(std::string& text, const char* name, const std::string& value) {
  text += name;
  text += "=\"";
  text += value;
  text += "\" ";
}
void AppendFloat(std::string& text, const char* name, float value) {
  AppendAttribute(text, name, FormatFixed(value, 4));
}
void AppendInt(std::string& text, const char* name, int value) {
  AppendAttribute(text, name, std::to_string(value));
}

int IntOr(std::string_view text, int fallback) {
  long long v = 0;
  if (!ParseInt(text, v) || v < INT32_MIN || v > INT32_MAX) return fallback;
  return static_cast<int>(v);
}
// A float attribute; 0 when absent or not a finite number.
float FloatOr0(std::string_view text) {
  double v = 0;
  if (!ParseDouble(text, v) || !std::isfinite(v) || std::fabs(v) > 3.0e38) return 0.0f;
  return static_cast<float>(v);
}

struct SongAttributes {
  TSongRecord record;
  bool hasName = false;
  int durationSeconds = -1;

  SongAttributes() {
    for (int& c : record.cue) c = -1;
    record.cueIn = record.cueOut = record.pitchKey = -1;
    record.durationMs = -1;
  }

  void Take(std::string_view name, std::string_view value) {
    TSongRecord& r = record;
    if (name == "name") {
      if (!hasName) r.name = std::string(value);  // a raw name, when present, wins
      hasName = true;
    } else if (name == "name_raw") {
      std::string bytes;
      if (DecodeHexName(value, bytes)) r.name = bytes, hasName = true;
    } else if (name == "bpm") r.bpm = FloatOr0(value);
    else if (name == "bpm_confidence") r.bpmConfidence = std::clamp(FloatOr0(value), 0.0f, 1.0f);
    else if (name == "pgain") {
      double v = 0;
      if (ParseDouble(value, v) && std::isfinite(v)) r.gain = static_cast<float>(v), r.hasGain = 1;
    } else if (name == "eql") r.eqLow = FloatOr0(value);
    else if (name == "eqm") r.eqMid = FloatOr0(value);
    else if (name == "eqh") r.eqHigh = FloatOr0(value);
    else if (name == "duration_ms") r.durationMs = IntOr(value, -1);
    else if (name == "duration") durationSeconds = IntOr(value, -1);
    else if (name == "currentcue") {
      // Wider than the five stored cues; anything else selects the first.
      int v = IntOr(value, 0);
      r.currentCue = (v >= 1 && v <= 20) ? v - 1 : 0;
    } else if (name.size() == 4 && name.substr(0, 3) == "cue" && name[3] >= '1' && name[3] <= '5') {
      r.cue[name[3] - '1'] = IntOr(value, -1);
    } else if (name == "cue_in") r.cueIn = IntOr(value, -1);
    else if (name == "cue_out") r.cueOut = IntOr(value, -1);
    else if (name == "pitch_key") r.pitchKey = IntOr(value, -1);
  }

  void Finish() {
    // Files of an older version give the length in whole seconds; the writer never does.
    if (record.durationMs < 1 && durationSeconds > 0 && durationSeconds < INT32_MAX / 1000) {
      record.durationMs = durationSeconds * 1000;
    }
  }
};

struct ReaderErrors {
  std::string first;
};

void OnReaderError(void* context, const char* message, xmlParserSeverities severity,
                   xmlTextReaderLocatorPtr) {
  auto* errors = static_cast<ReaderErrors*>(context);
  if (severity >= XML_PARSER_SEVERITY_ERROR && errors->first.empty() && message) {
    errors->first = message;
    while (!errors->first.empty() && errors->first.back() == '\n') errors->first.pop_back();
  }
}

std::string_view Text(const xmlChar* text) {
  return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

// Walks the document; songs go to store as they are read.
ParseOutcome ParseReader(xmlTextReaderPtr reader, const std::function<void(const TSongRecord&)>& store,
                         std::string& why) {
  if (!reader) return ParseOutcome::kBroken;
  ReaderErrors errors;
  xmlTextReaderSetErrorHandler(reader, OnReaderError, &errors);
  bool sawRoot = false;
  int ret;
  while ((ret = xmlTextReaderRead(reader)) == 1) {
    if (xmlTextReaderNodeType(reader) != XML_READER_TYPE_ELEMENT) continue;
    const int depth = xmlTextReaderDepth(reader);
    std::string_view element = Text(xmlTextReaderConstLocalName(reader));
    if (depth == 0) {
      if (element != "songdatabase") {
        why = "root element is not songdatabase";
        xmlFreeTextReader(reader);
        return ParseOutcome::kBroken;
      }
      sawRoot = true;
      continue;
    }
    if (depth != 1 || element != "song") continue;
    SongAttributes song;
    while (xmlTextReaderMoveToNextAttribute(reader) == 1) {
      song.Take(Text(xmlTextReaderConstLocalName(reader)), Text(xmlTextReaderConstValue(reader)));
    }
    xmlTextReaderMoveToElement(reader);
    if (!song.hasName) continue;  // a song without a name is dropped
    song.Finish();
    store(song.record);
  }
  xmlFreeTextReader(reader);
  if (ret != 0 || !sawRoot) {
    why = !errors.first.empty() ? errors.first : (sawRoot ? "parse error" : "no root element");
    return ParseOutcome::kBroken;
  }
  return ParseOutcome::kOk;
}

// Entities are never expanded, nothing is fetched from the network, and libxml2's limits on
// entity amplification stay on.
constexpr int kReaderOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

// Reads the file with plain system calls, so a failure to open or read (permissions, I/O) is
// told apart from a file that is missing or damaged.
ParseOutcome ReadFileBytes(const std::string& path, std::string& bytes, std::string& why) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    if (errno == ENOENT) return ParseOutcome::kMissing;
    why = std::strerror(errno);
    return ParseOutcome::kUnreadable;
  }
  bytes.clear();
  char buffer[65536];
  for (;;) {
    ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      why = std::strerror(errno);
      ::close(fd);
      return ParseOutcome::kUnreadable;
    }
    if (n == 0) break;
    bytes.append(buffer, static_cast<size_t>(n));
  }
  ::close(fd);
  return ParseOutcome::kOk;
}

ParseOutcome ParseBytes(const std::string& bytes, const std::function<void(const TSongRecord&)>& store,
                        std::string& why) {
  // The writer never declares a document type; one in the file can only be an attempt to make
  // the parser expand entities, so the file is refused before parsing.
  if (bytes.find("<!DOCTYPE") != std::string::npos || bytes.find("<!ENTITY") != std::string::npos) {
    why = "a document type declaration is not allowed";
    return ParseOutcome::kBroken;
  }
  if (bytes.size() > static_cast<size_t>(INT32_MAX)) {
    why = "file too large";
    return ParseOutcome::kBroken;
  }
  xmlTextReaderPtr reader =
      xmlReaderForMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr, kReaderOptions);
  return ParseReader(reader, store, why);
}

ParseOutcome ParseFile(const std::string& path, const std::function<void(const TSongRecord&)>& store,
                       std::string& why) {
  std::string bytes;
  ParseOutcome read = ReadFileBytes(path, bytes, why);
  if (read != ParseOutcome::kOk) return read;
  return ParseBytes(bytes, store, why);
}

std::string CorruptName(const std::string& path) {
  char stamp[32];
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
  // Never over an earlier damaged file: each one may hold songs the others lack.
  std::string name = path + ".corrupt-" + stamp;
  struct stat info {};
  for (int n = 2; ::stat(name.c_str(), &info) == 0; ++n) name = path + ".corrupt-" + stamp + "-" + std::to_string(n);
  return name;
}

// Keeps the file being replaced as the backup, by a hard link where the file system has them
// (instant, and atomic through the rename), else by a copy.
void KeepBackup(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return;
  const std::string backup = path + ".bak";
  const std::string staging = backup + ".tmp";
  ::unlink(staging.c_str());
  if (::link(path.c_str(), staging.c_str()) == 0) {
    if (::rename(staging.c_str(), backup.c_str()) != 0) ::unlink(staging.c_str());
    return;
  }
  std::string old;
  if (ReadWholeFile(path, old)) WriteFileAtomically(backup, old);
}

}  // namespace

void BeginSongDatabaseText(std::string& text) {
  text += "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\n";
  text += "<songdatabase version=\"100\">\n";
}

void AppendSongLine(std::string& text, const TSongRecord& r) {
  text += "<song ";
  text += "name=\"";
  AppendEscapedName(text, r.name);
  text += "\" ";
  if (!IsXmlSafeText(r.name)) AppendAttribute(text, "name_raw", EncodeHexName(r.name));
  AppendFloat(text, "bpm", r.bpm);
  if (r.bpmConfidence > 0.0f) AppendFloat(text, "bpm_confidence", r.bpmConfidence);
  AppendInt(text, "duration_ms", r.durationMs);
  if (r.hasGain) AppendFloat(text, "pgain", r.gain);
  AppendFloat(text, "eql", r.eqLow);
  AppendFloat(text, "eqm", r.eqMid);
  AppendFloat(text, "eqh", r.eqHigh);
  AppendInt(text, "currentcue", r.currentCue + 1);
  static const char* const kCueNames[5] = {"cue1", "cue2", "cue3", "cue4", "cue5"};
  for (int i = 0; i < 5; ++i) AppendInt(text, kCueNames[i], r.cue[i]);
  AppendInt(text, "cue_in", r.cueIn);
  AppendInt(text, "cue_out", r.cueOut);
  AppendInt(text, "pitch_key", r.pitchKey);
  text += "/>\n";
}

void EndSongDatabaseText(std::string& text) { text += "</songdatabase>\n"; }

bool WriteSongDatabaseFile(const std::string& path, const std::string& text, bool backupCurrent) {
  if (backupCurrent) KeepBackup(path);
  if (WriteFileAtomically(path, text)) return true;
  TraceLine("SongDatabase: cannot write %s", path.c_str());
  return false;
}

int ReadSongDatabaseFile(const std::string& path,
                         const std::function<void(const TSongRecord&)>& store,
                         const std::function<void()>& clear) {
  std::string why;
  ParseOutcome outcome = ParseFile(path, store, why);
  if (outcome == ParseOutcome::kOk) return 1;
  if (outcome == ParseOutcome::kMissing) return 0;
  if (outcome == ParseOutcome::kUnreadable) {
    // Not damage: the file may be perfectly good once the disk or its permissions are.
    TraceLine("SongDatabase: cannot read %s (%s); it is left in place and not saved over", path.c_str(),
              why.c_str());
    return -1;
  }

  // A damaged database must never silently empty the library: keep the file for the user and
  // fall back to the copy the last good save left behind.
  const std::string aside = CorruptName(path);
  TraceLine("SongDatabase: %s does not parse (%s); kept as %s", path.c_str(), why.c_str(),
            aside.c_str());
  if (::rename(path.c_str(), aside.c_str()) != 0) TraceLine("SongDatabase: cannot move it aside");
  std::vector<TSongRecord> fromBackup;
  std::string backupWhy;
  ParseOutcome backup = ParseFile(path + ".bak", [&](const TSongRecord& r) { fromBackup.push_back(r); },
                                  backupWhy);
  if (backup == ParseOutcome::kOk) {
    TraceLine("SongDatabase: loaded the backup, %zu songs", fromBackup.size());
    clear();
    for (const TSongRecord& r : fromBackup) store(r);
    return 2;
  }
  TraceLine("SongDatabase: no usable backup; keeping the songs read before the damage");
  return 0;
}

int ParseSongDatabaseText(const std::string& text,
                          const std::function<void(const TSongRecord&)>& store) {
  std::string why;
  return ParseBytes(text, store, why) == ParseOutcome::kOk ? 1 : 0;
}
