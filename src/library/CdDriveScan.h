#pragma once
// Finds the optical drives for the browser and, when the user named a CDDB server, the titles of
// the audio discs in them, on a thread of its own: a drive can take seconds to spin up and a
// lookup waits on the network, neither of which the window may wait for. The tick polls Done()
// and then hands the result to the browser.
//
// Threads: made, polled and applied on the GUI thread; the scan runs on its own thread. The
// destructor waits for it (each drive and each lookup has its own time-out).

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "codecs/CdDrive.h"
#include "codecs/Cddb.h"

class CZQBrowser;

class CCdDriveScan {
 public:
  using DriveLister = std::function<std::vector<CdDriveInfo>()>;

  // An empty server looks nothing up. The lister is ListCdDrives unless a test gives its own.
  explicit CCdDriveScan(std::string cddbServer, DriveLister lister = ListCdDrives);
  ~CCdDriveScan();
  CCdDriveScan(const CCdDriveScan&) = delete;
  CCdDriveScan& operator=(const CCdDriveScan&) = delete;

  bool Done() const { return done_.load(std::memory_order_acquire); }
  // Valid once Done(): the drives, and (disc id, titles) for each disc the server knew.
  const std::vector<CdDriveInfo>& Drives() const { return drives_; }
  const std::vector<std::pair<std::string, CddbDiscInfo>>& Titles() const { return titles_; }
  // Gives the browser the drives and titles and rebuilds its tree. False before Done().
  bool ApplyTo(CZQBrowser& browser) const;

 private:
  std::vector<CdDriveInfo> drives_;
  std::vector<std::pair<std::string, CddbDiscInfo>> titles_;
  // Release on the scan's side, acquire in Done(): the results are complete before it.
  std::atomic<bool> done_{false};
  std::jthread thread_;
};
