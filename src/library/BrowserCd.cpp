// The browser's audio-CD rows: a drive's tracks as list rows, with the titles a CDDB lookup
// found for the disc.
#include <cstdio>

#include "library/Browser.h"
#include "library/ListRow.h"

void CZQBrowser::SetCdDrives(std::vector<CdDriveInfo> drives) { cdDrives_ = std::move(drives); }

void CZQBrowser::SetCdTitles(const std::string& discId, const CddbDiscInfo& titles) {
  if (discId.empty()) return;
  cdTitles_[discId] = titles;
  // The disc's list may be on screen already: show it again with the titles.
  if (currentItem < 0 || currentItem >= static_cast<int>(nodes.size())) return;
  const BrowserNode& node = nodes[static_cast<size_t>(currentItem)];
  if (node.nodeType != kNodeCdDrive) return;
  for (const CdDriveInfo& drive : cdDrives_) {
    if (drive.devicePath == node.path && drive.discId == discId) ShowCdTracks(drive);
  }
}

void CZQBrowser::ShowCdTracks(const CdDriveInfo& drive) {
  CZQAbstractList* main = List(mainList);
  if (!main) return;
  main->Clear();
  const auto found = cdTitles_.find(drive.discId);
  const CddbDiscInfo* titles = found == cdTitles_.end() ? nullptr : &found->second;
  std::vector<TZQListElement> rows;
  for (int track = 1; track <= drive.trackCount; ++track) {
    TZQListElement row;
    // The "$" lets a path that no file system holds through to the CD decoder.
    row.column[kColPath] = CdTrackPathFor(drive.devicePath, track) + "$";
    row.column[kColTrack] = std::to_string(track);
    const size_t index = static_cast<size_t>(track - 1);
    if (titles && index < titles->trackTitles.size() && !titles->trackTitles[index].empty()) {
      row.column[kColTitle] = titles->trackTitles[index];
      row.column[kColArtist] = titles->artist;
      row.column[kColAlbum] = titles->title;
      row.column[kColYear] = titles->year;
      row.column[kColGenre] = titles->genre;
    } else {
      char name[16];
      std::snprintf(name, sizeof name, "Track %02d", track);
      row.column[kColTitle] = name;
    }
    OverlayDatabase(row);
    rows.push_back(std::move(row));
  }
  main->AddRows(std::move(rows));
}
