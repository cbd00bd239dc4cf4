#pragma once
// The CDDBP conversation (protocol level 6) with a CDDB server over one TCP connection, and a
// worker that runs it away from the window.
//
// Nothing leaves the machine unless the user names a server: with an empty server a lookup
// does nothing. Every wait has one deadline for the whole conversation, so a server that never
// answers, or answers slowly byte by byte, ends the lookup on time.

#include <atomic>
#include <string>
#include <thread>

#include "codecs/Cddb.h"

// The user's CDDB server, "host" or "host:port" (port 8880 when none is given). Empty: no
// lookups. Set at start from the settings; read by the lookup worker when it starts.
extern std::string g_cddbServer;

constexpr int kCddbDefaultPort = 8880;
constexpr int kCddbDefaultTimeoutMs = 10000;

// Splits "host[:port]"; false on an empty host or a bad port.
bool ParseCddbServer(const std::string& server, std::string* host, int* port);

// Asks the server for the titles of the disc with this query line. 1 with *info filled when the
// server knew the disc; 0 otherwise, with the reason on the trace. Blocks for at most
// timeoutMs (name resolution aside): call it on a worker.
int CddbLookup(const std::string& server, const std::string& queryLine, int trackCount, CddbDiscInfo* info,
               int timeoutMs = kCddbDefaultTimeoutMs);

// One lookup on its own thread. The owner polls Done() (the tick does) and then reads Result().
// The destructor waits for the thread, which the time-out bounds.
class CCddbLookupWorker {
 public:
  CCddbLookupWorker(std::string server, std::string queryLine, int trackCount,
                    int timeoutMs = kCddbDefaultTimeoutMs);
  ~CCddbLookupWorker();
  CCddbLookupWorker(const CCddbLookupWorker&) = delete;
  CCddbLookupWorker& operator=(const CCddbLookupWorker&) = delete;

  bool Done() const { return done_.load(std::memory_order_acquire); }
  // Valid once Done(): whether the server knew the disc, and what it said.
  bool Found() const { return found_; }
  const CddbDiscInfo& Result() const { return info_; }

 private:
  CddbDiscInfo info_;
  bool found_ = false;
  // Release on the worker's side, acquire in Done(): info_ and found_ are complete before it.
  std::atomic<bool> done_{false};
  std::jthread thread_;
};
