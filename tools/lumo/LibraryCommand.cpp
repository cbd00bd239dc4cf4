#include "LibraryCommand.h"

#include <cstdio>

#include "JsonText.h"
#include "analysis/KeyNotation.h"
#include "app/base/Trace.h"
#include "library/KeyNaming.h"
#include "library/SongDatabase.h"

LibrarySession::LibrarySession() : folders_(DataFolders::Compute()) {
  if (!folders_.Create()) {
    std::fprintf(stderr, "lumo: cannot create the data folder %s\n", folders_.root.c_str());
    return;
  }
  SetFolders(folders_);
  SetTraceLogFile(folders_.root + "log.txt");
  SetTraceQuiet(true);
  SetKeyNaming(KeyIndexName, KeyIndexFromName);
  LoadSongDatabase(folders_.database + "db.knx");
  browser_ = std::make_unique<CZQBrowser>(folders_.database, folders_.playlists);
  browser_->LoadLists();
  ok_ = true;
}

LibrarySession::~LibrarySession() { DropSongDatabase(); }

bool LibrarySession::Save(const char* command) {
  if (!browser_->SaveLists()) {
    std::fprintf(stderr, "lumo %s: cannot save the lists in %s (library in use or not writable)\n", command,
                 folders_.database.c_str());
    return false;
  }
  if (!FlushSongDatabase(folders_.database + "db.knx")) {
    std::fprintf(stderr, "lumo %s: cannot save %sdb.knx (library in use or not writable)\n", command,
                 folders_.database.c_str());
    return false;
  }
  return true;
}

void PrintRow(int number, const TZQListElement& row, bool json) {
  const std::string* c = row.column;
  if (json) {
    std::printf("{\"number\":%d,\"artist\":%s,\"title\":%s,\"bpm\":%s,\"time\":%s,\"key\":%s,\"genre\":%s,"
                "\"album\":%s,\"year\":%s,\"duration_ms\":%d,\"path\":%s}\n",
                number, JsonString(c[kColArtist]).c_str(), JsonString(c[kColTitle]).c_str(),
                JsonString(c[kColTempo]).c_str(), JsonString(c[kColTime]).c_str(), JsonString(c[kColKey]).c_str(),
                JsonString(c[kColGenre]).c_str(), JsonString(c[kColAlbum]).c_str(), JsonString(c[kColYear]).c_str(),
                row.durationMs, JsonString(c[kColPath]).c_str());
    return;
  }
  const std::string song = c[kColArtist].empty() ? c[kColTitle] : c[kColArtist] + " - " + c[kColTitle];
  std::printf("%5d  %5s  %5s  %-4s  %-40s  %s\n", number, c[kColTempo].empty() ? "-" : c[kColTempo].c_str(),
              c[kColTime].empty() ? "-" : c[kColTime].c_str(), c[kColKey].empty() ? "-" : c[kColKey].c_str(),
              song.c_str(), c[kColPath].c_str());
}
