#include "library/ITunesLibrary.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>

#include "app/base/PathNames.h"
#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "library/AbstractList.h"
#include "library/ListRow.h"
#include "library/M3uFile.h"
#include "library/TagReader.h"

namespace {

// Entities are never expanded and the external DTD the file names is never fetched.
constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

bool Exists(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0;
}

bool Named(const xmlNode* node, const char* name) {
  return node && node->type == XML_ELEMENT_NODE && !std::strcmp(reinterpret_cast<const char*>(node->name), name);
}

std::string Content(const xmlNode* node) {
  xmlChar* text = xmlNodeGetContent(node);
  std::string out = text ? reinterpret_cast<const char*>(text) : "";
  xmlFree(text);
  return out;
}

const xmlNode* NextElement(const xmlNode* node) {
  while (node && node->type != XML_ELEMENT_NODE) node = node->next;
  return node;
}

// Walks a dict: each key with the element behind it.
void ForEachEntry(const xmlNode* dict, const std::function<void(const std::string&, const xmlNode*)>& visit) {
  for (const xmlNode* key = NextElement(dict->children); key; key = NextElement(key->next)) {
    if (!Named(key, "key")) continue;
    const xmlNode* value = NextElement(key->next);
    if (!value) return;
    visit(Content(key), value);
    key = value;
  }
}

bool IsTrue(const xmlNode* value) { return Named(value, "true"); }

// The parsed document, or nullptr with the reason logged under the caller's prefix.
struct Document {
  xmlDocPtr doc = nullptr;
  const xmlNode* rootDict = nullptr;
  ~Document() { xmlFreeDoc(doc); }
};

bool OpenDocument(const std::string& bytes, const char* who, Document& d) {
  if (bytes.find("<!ENTITY") != std::string::npos || bytes.size() > 0x7fffffff) {
    TraceLine("%s - XML not parsed successfully", who);
    return false;
  }
  d.doc = xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr, kParseOptions);
  if (!d.doc) {
    TraceLine("%s - XML not parsed successfully", who);
    return false;
  }
  const xmlNode* root = xmlDocGetRootElement(d.doc);
  if (!root) {
    TraceLine("%s - XML is empty", who);
    return false;
  }
  if (!Named(root, "plist")) {
    TraceLine("%s - XML root node not OK", who);
    return false;
  }
  d.rootDict = NextElement(root->children);
  if (!Named(d.rootDict, "dict")) {
    TraceLine("%s - XML root dict not found", who);
    return false;
  }
  return true;
}

ITunesPlaylist ReadPlaylist(const xmlNode* dict, std::deque<int>* items, int targetId) {
  ITunesPlaylist p;
  const xmlNode* itemArray = nullptr;
  ForEachEntry(dict, [&](const std::string& key, const xmlNode* value) {
    if (key == "Name") p.name = Content(value);
    else if (key == "Playlist ID") p.id = std::atoi(Content(value).c_str());
    else if (key == "Playlist Persistent ID") p.persistentId = Content(value);
    else if (key == "Visible") p.visible = p.visible && IsTrue(value);
    else if (key == "Master") p.visible = p.visible && !IsTrue(value);
    else if (key == "Folder") p.folder = IsTrue(value);
    else if (key == "Distinguished Kind") p.system = true;
    else if (key == "Smart Info" || key == "Smart Criteria") p.smart = true;
    else if (key == "Playlist Items") itemArray = value;
  });
  p.displayName = p.smart ? p.name + " (smart list)" : p.name;
  if (items && itemArray && p.id == targetId) {
    for (const xmlNode* item = NextElement(itemArray->children); item; item = NextElement(item->next)) {
      ForEachEntry(item, [&](const std::string& key, const xmlNode* value) {
        if (key == "Track ID") items->push_back(std::atoi(Content(value).c_str()));
      });
    }
  }
  return p;
}

// A location on the old machine, mapped: the path itself, the path without its drive letter, or
// the part below "iTunes Media/" or "iTunes Music/" under the library file's own folder.
std::string MapLocation(const std::string& location, const std::string& folder) {
  std::string path = MapForeignPath(location, folder);
  if (Exists(path)) return path;
  std::string url = FileUrlToPath(location);
  for (char& c : url) c = c == '\\' ? '/' : c;
  for (const char* media : {"/iTunes Media/", "/iTunes Music/"}) {
    const size_t at = url.find(media);
    if (at == std::string::npos) continue;
    const std::string candidate = folder + (media + 1) + url.substr(at + std::strlen(media));
    if (Exists(candidate)) return candidate;
  }
  return path;
}

}  // namespace

std::string FindITunesLibrary() {
  const char* home = std::getenv("HOME");
  if (!home || !*home) return "";
  for (const char* folder : {"/Music/iTunes/", "/Music/", "/"}) {
    for (const char* name : {"iTunes Music Library.xml", "iTunes Library.xml"}) {
      const std::string path = std::string(home) + folder + name;
      if (Exists(path)) return path;
    }
  }
  return "";
}

int ScanITunesText(const std::string& bytes, std::vector<ITunesPlaylist>& playlists) {
  Document d;
  if (!OpenDocument(bytes, "ScanForPlaylists", d)) return 0;
  ForEachEntry(d.rootDict, [&](const std::string& key, const xmlNode* value) {
    if (key != "Playlists" || !Named(value, "array")) return;
    for (const xmlNode* dict = NextElement(value->children); dict; dict = NextElement(dict->next)) {
      if (Named(dict, "dict")) playlists.push_back(ReadPlaylist(dict, nullptr, 0));
    }
  });
  return 1;
}

int ParseITunesText(const std::string& bytes, const std::string& folder, CZQAbstractList& list, int playlistId) {
  Document d;
  if (!OpenDocument(bytes, "parseITunesXML", d)) return -1;
  const xmlNode* tracks = nullptr;
  std::deque<int> queue;
  ForEachEntry(d.rootDict, [&](const std::string& key, const xmlNode* value) {
    if (key == "Tracks" && Named(value, "dict")) tracks = value;
    if (key == "Playlists" && Named(value, "array") && playlistId >= 1) {
      for (const xmlNode* dict = NextElement(value->children); dict; dict = NextElement(dict->next)) {
        if (Named(dict, "dict")) ReadPlaylist(dict, &queue, playlistId);
      }
    }
  });
  if (!tracks) return 0;
  int added = 0;
  ZQTagReader unused;
  ForEachEntry(tracks, [&](const std::string&, const xmlNode* track) {
    if (!Named(track, "dict")) return;
    TZQListElement row;
    int trackId = -1;
    std::string location;
    ForEachEntry(track, [&](const std::string& key, const xmlNode* value) {
      const std::string text = Content(value);
      if (key == "Track ID") trackId = std::atoi(text.c_str());
      else if (key == "Name") row.column[kColTitle] = text;
      else if (key == "Artist") row.column[kColArtist] = text;
      else if (key == "Genre") row.column[kColGenre] = text;
      else if (key == "Comments") row.column[kColComment] = CleanComment(text);
      else if (key == "Location") location = text;
      else if (key == "Album") row.column[kColAlbum] = text;
      else if (key == "Track Number") row.column[kColTrack] = text;
      else if (key == "Year") row.column[kColYear] = text;
      else if (key == "BPM") row.column[kColTempo] = TempoText(static_cast<float>(std::atof(text.c_str())));
    });
    // With a playlist, the tracks are taken in the playlist's order as far as the "Tracks"
    // section follows it: a track that is not next in the queue is passed over.
    if (playlistId >= 1) {
      if (queue.empty() || queue.front() != trackId) return;
      queue.pop_front();
    }
    if (location.empty()) return;
    const std::string path = MapLocation(location, folder);
    if (!Exists(path) || !IsAcceptedListFile(path)) return;
    if (BuildRow(path, row, true, unused)) {
      list.AddRow(row);
      ++added;
    }
  });
  return added;
}

int ScanForPlaylists(const std::string& path, std::vector<ITunesPlaylist>& playlists) {
  std::string bytes;
  if (!ReadWholeFile(path, bytes)) return 0;
  return ScanITunesText(bytes, playlists);
}

int ParseITunesXML(const std::string& path, CZQAbstractList& list, int playlistId) {
  std::string bytes;
  if (!ReadWholeFile(path, bytes)) return -1;
  return ParseITunesText(bytes, FolderPartOf(path, "./"), list, playlistId);
}
