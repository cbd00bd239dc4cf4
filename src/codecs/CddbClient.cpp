#include "codecs/CddbClient.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "app/base/Trace.h"

std::string g_cddbServer;

namespace {

using Clock = std::chrono::steady_clock;

// Replies the client reads are small; anything larger is a broken or hostile server.
constexpr size_t kMaxReplyBytes = 256 * 1024;
constexpr size_t kReceivePiece = 1024;

class CddbConnection {
 public:
  CddbConnection(Clock::time_point deadline) : deadline_(deadline) {}
  ~CddbConnection() {
    if (fd_ >= 0) ::close(fd_);
  }

  bool Connect(const std::string& host, int port);
  // Sends text and waits for the complete reply to it.
  bool Command(const std::string& text, std::string* reply) { return Send(text) && Receive(reply); }
  bool Receive(std::string* reply);
  bool Send(const std::string& text);
  void Finish() {
    if (fd_ >= 0) ::shutdown(fd_, SHUT_WR);
  }

 private:
  // Waits for the socket to become ready for events; false at the deadline.
  bool Wait(short events);

  int fd_ = -1;
  Clock::time_point deadline_;
  std::string pending_;  // received bytes not yet handed out as a reply
};

bool CddbConnection::Wait(short events) {
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - Clock::now()).count();
  if (left <= 0) return false;
  pollfd p{fd_, events, 0};
  int ready;
  do {
    ready = ::poll(&p, 1, static_cast<int>(left));
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

bool CddbConnection::Connect(const std::string& host, int port) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0 || !found) {
    TraceLine("cddb error: freedb ip not found");
    return false;
  }
  bool connected = false, created = false;
  for (addrinfo* a = found; a && !connected; a = a->ai_next) {
    fd_ = ::socket(a->ai_family, a->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, a->ai_protocol);
    if (fd_ < 0) continue;
    created = true;
    int result = ::connect(fd_, a->ai_addr, a->ai_addrlen);
    if (result < 0 && errno == EINPROGRESS && Wait(POLLOUT)) {
      int error = 0;
      socklen_t size = sizeof error;
      ::getsockopt(fd_, SOL_SOCKET, SO_ERROR, &error, &size);
      result = error == 0 ? 0 : -1;
    }
    connected = result == 0;
    if (!connected) {
      ::close(fd_);
      fd_ = -1;
    }
  }
  ::freeaddrinfo(found);
  if (!created) TraceLine("cddb error: socket was not created ok");
  else if (!connected) TraceLine("cddb error: connect failed");
  return connected;
}

bool CddbConnection::Send(const std::string& text) {
  size_t sent = 0;
  while (sent < text.size()) {
    if (!Wait(POLLOUT)) break;
    ssize_t n = ::send(fd_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    if (n <= 0) break;
    sent += static_cast<size_t>(n);
  }
  if (sent != text.size()) TraceLine("cddb error: send() sent a different number of bytes than expected");
  return sent == text.size();
}

bool CddbConnection::Receive(std::string* reply) {
  char piece[kReceivePiece];
  for (;;) {
    // Line ends left over from the previous reply (the LF of a CR LF split across pieces).
    pending_.erase(0, pending_.find_first_not_of("\r\n"));
    if (size_t length = CddbCompleteReplyLength(pending_)) {
      *reply = pending_.substr(0, length);
      pending_.erase(0, length);
      return true;
    }
    if (pending_.size() > kMaxReplyBytes) {
      TraceLine("cddb error: reply longer than %zu bytes", kMaxReplyBytes);
      return false;
    }
    if (!Wait(POLLIN)) {
      TraceLine("cddb error: no reply in time");
      return false;
    }
    ssize_t n = ::recv(fd_, piece, sizeof piece, 0);
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    if (n <= 0) {
      TraceLine("cddb error: the server closed the connection in the middle of a reply");
      return false;
    }
    pending_.append(piece, static_cast<size_t>(n));
  }
}

bool StartsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

// Greeting, hello and protocol level: each must be answered with a 2xx code.
bool OpenSession(CddbConnection& connection) {
  std::string reply;
  if (!connection.Receive(&reply) || !StartsWith(reply, "20")) {
    TraceLine("cddb server error: no connections allowed");
    return false;
  }
  // The user and host words identify nobody: the server only needs two words there.
  if (!connection.Command("cddb hello lumo localhost kelvane 1.0\n", &reply) || !StartsWith(reply, "20")) {
    TraceLine("cddb error: hello not ok");
    return false;
  }
  if (!connection.Command("proto 6\n", &reply) || !StartsWith(reply, "20")) {
    TraceLine("cddb error: proto 6 not ok");
    return false;
  }
  TraceLine("cddb: connection made ok");
  return true;
}

}  // namespace

bool ParseCddbServer(const std::string& server, std::string* host, int* port) {
  size_t colon = server.rfind(':');
  *host = server.substr(0, colon);
  *port = kCddbDefaultPort;
  if (colon != std::string::npos) {
    std::string digits = server.substr(colon + 1);
    if (digits.empty() || digits.size() > 5 || digits.find_first_not_of("0123456789") != std::string::npos)
      return false;
    *port = std::stoi(digits);
  }
  return !host->empty() && *port > 0 && *port < 65536;
}

int CddbLookup(const std::string& server, const std::string& queryLine, int trackCount, CddbDiscInfo* info,
               int timeoutMs) {
  *info = CddbDiscInfo{};
  std::string host;
  int port;
  if (server.empty()) return 0;
  if (!ParseCddbServer(server, &host, &port)) {
    TraceLine("cddb error: bad server \"%s\"", server.c_str());
    return 0;
  }
  CddbConnection connection(Clock::now() + std::chrono::milliseconds(timeoutMs));
  if (!connection.Connect(host, port) || !OpenSession(connection)) return 0;

  std::string reply;
  if (!connection.Command(queryLine, &reply)) return 0;
  std::string readCommand = CddbReadCommand(reply);
  int found = 0;
  if (readCommand.empty()) {
    TraceLine("cddb: no match (%.3s)", reply.c_str());
  } else if (connection.Command(readCommand, &reply) && ParseCddbEntry(reply, trackCount, info)) {
    TraceLine("cddb: %s / %s (%s, %s)", info->artist.c_str(), info->title.c_str(), info->year.c_str(),
              info->genre.c_str());
    found = 1;
  }
  // The goodbye is a courtesy: its answer is not waited for beyond the deadline.
  if (connection.Command("quit\n", &reply)) TraceLine("cddb: connection closed ok");
  connection.Finish();
  return found;
}

CCddbLookupWorker::CCddbLookupWorker(std::string server, std::string queryLine, int trackCount, int timeoutMs)
    : thread_([this, server = std::move(server), queryLine = std::move(queryLine), trackCount, timeoutMs] {
        found_ = CddbLookup(server, queryLine, trackCount, &info_, timeoutMs) != 0;
        done_.store(true, std::memory_order_release);
      }) {}

CCddbLookupWorker::~CCddbLookupWorker() = default;
