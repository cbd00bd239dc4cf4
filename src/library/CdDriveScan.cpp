#include "library/CdDriveScan.h"

#include "codecs/CddbClient.h"
#include "library/Browser.h"

CCdDriveScan::CCdDriveScan(std::string cddbServer, DriveLister lister) {
  thread_ = std::jthread([this, server = std::move(cddbServer), lister = std::move(lister)] {
    drives_ = lister();
    for (const CdDriveInfo& drive : drives_) {
      if (server.empty() || !drive.hasAudioDisc || drive.queryLine.empty()) continue;
      CddbDiscInfo info;
      if (CddbLookup(server, drive.queryLine, drive.trackCount, &info)) titles_.emplace_back(drive.discId, info);
    }
    done_.store(true, std::memory_order_release);
  });
}

CCdDriveScan::~CCdDriveScan() = default;

bool CCdDriveScan::ApplyTo(CZQBrowser& browser) const {
  if (!Done()) return false;
  browser.SetCdDrives(drives_);
  for (const auto& [discId, info] : titles_) browser.SetCdTitles(discId, info);
  browser.Build();
  return true;
}
