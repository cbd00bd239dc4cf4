#include "app/net/HttpSimpleServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "app/base/Trace.h"
#include "app/net/HttpRequest.h"
#include "audio/Threads.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kBacklog = 5;
constexpr int kPollMs = 250;
constexpr int kSendTimeoutMs = 1000;
constexpr int kIdleClass = 0;

void CloseFd(int& fd) {
  if (fd >= 0) close(fd);
  fd = -1;
}

}  // namespace

struct CZQHttpSimpleServer::Connection {
  int fd = -1;
  int filled = 0;
  Clock::time_point deadline;
  char buffer[kRequestBytes];
};

CZQHttpSimpleServer::CZQHttpSimpleServer(int port, std::string address)
    : address_(std::move(address)), port_(port), connections_(new Connection[kMaxConnections]) {}

CZQHttpSimpleServer::~CZQHttpSimpleServer() { Stop(); }

bool CZQHttpSimpleServer::Start() {
  if (started_) return true;
  sockaddr_in where{};
  where.sin_family = AF_INET;
  where.sin_port = htons(static_cast<uint16_t>(port_));
  if (inet_pton(AF_INET, address_.c_str(), &where.sin_addr) != 1) {
    TraceLine("http server: \"%s\" is not an IPv4 address", address_.c_str());
    return false;
  }
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (listener_ < 0) {
    TraceLine("error: socket was not created ok");
    return false;
  }
  const int yes = 1;
  setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  if (bind(listener_, reinterpret_cast<sockaddr*>(&where), sizeof where) != 0) {
    TraceLine("Eroare la bind().\n");
    CloseFd(listener_);
    return false;
  }
  if (listen(listener_, kBacklog) != 0 || pipe2(wake_, O_NONBLOCK | O_CLOEXEC) != 0) {
    TraceLine("Eroare la listen().\n");
    CloseFd(listener_);
    return false;
  }
  socklen_t length = sizeof where;
  getsockname(listener_, reinterpret_cast<sockaddr*>(&where), &length);
  port_ = ntohs(where.sin_port);
  stop_ = false;
  running_ = true;
  started_ = StartThread(thread_, &CZQHttpSimpleServer::Entry, this);
  if (!started_) {
    running_ = false;
    CloseFd(listener_);
    CloseFd(wake_[0]);
    CloseFd(wake_[1]);
    return false;
  }
  TraceLine("http server: listening on %s:%d", address_.c_str(), port_);
  return true;
}

void CZQHttpSimpleServer::Stop() {
  if (!started_) return;
  stop_ = true;
  const char byte = 1;
  (void)!write(wake_[1], &byte, 1);
  pthread_join(thread_, nullptr);
  started_ = false;
  CloseFd(wake_[0]);
  CloseFd(wake_[1]);
}

void* CZQHttpSimpleServer::Entry(void* self) {
  pthread_setname_np(pthread_self(), "http server");
  ApplyThreadPriorityClass(kIdleClass);
  static_cast<CZQHttpSimpleServer*>(self)->Loop();
  return nullptr;
}

void CZQHttpSimpleServer::Loop() {
  pollfd fds[kMaxConnections + 2];
  while (!stop_.load()) {
    int count = 0, free = 0;
    fds[count++] = {wake_[0], POLLIN, 0};
    for (int i = 0; i < kMaxConnections; ++i) free += connections_[i].fd < 0;
    // With every slot busy new clients wait in the backlog instead of costing memory.
    fds[count++] = {free ? listener_ : -1, POLLIN, 0};
    for (int i = 0; i < kMaxConnections; ++i) fds[count++] = {connections_[i].fd, POLLIN, 0};
    poll(fds, static_cast<nfds_t>(count), kPollMs);
    if (stop_.load()) break;
    if (fds[1].revents & POLLIN) Accept();
    const auto now = Clock::now();
    for (int i = 0; i < kMaxConnections && !stop_.load(); ++i) {
      Connection& c = connections_[i];
      if (c.fd < 0) continue;
      if (fds[i + 2].revents & (POLLIN | POLLHUP | POLLERR)) {
        Read(c);
      } else if (now > c.deadline) {
        // A slow sender is served what it managed to send; a silent one is dropped.
        if (c.filled > 0) Serve(c); else Drop(c);
      }
    }
  }
  for (int i = 0; i < kMaxConnections; ++i) Drop(connections_[i]);
  CloseFd(listener_);
  running_ = false;
}

void CZQHttpSimpleServer::Accept() {
  for (int i = 0; i < kMaxConnections; ++i) {
    Connection& c = connections_[i];
    if (c.fd >= 0) continue;
    c.fd = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (c.fd < 0) {
      if (errno != EAGAIN && errno != EWOULDBLOCK) TraceLine("Eroare la accept()");
      return;
    }
    c.filled = 0;
    c.deadline = Clock::now() + std::chrono::milliseconds(kRequestTimeoutMs);
  }
}

void CZQHttpSimpleServer::Read(Connection& c) {
  const ssize_t n = recv(c.fd, c.buffer + c.filled, static_cast<size_t>(kReadLimit - c.filled), 0);
  if (n < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (n <= 0) {  // closed or failed: serve what came, if anything
    if (c.filled > 0) Serve(c); else Drop(c);
    return;
  }
  c.filled += static_cast<int>(n);
  if (c.filled >= kReadLimit || HttpHeadComplete(c.buffer, static_cast<size_t>(c.filled))) Serve(c);
}

void CZQHttpSimpleServer::Serve(Connection& c) {
  HttpRequestLine request = ParseHttpRequest(c.buffer, static_cast<size_t>(c.filled));
  // The reply is short; a client that does not read it is given a second, then dropped.
  const int flags = fcntl(c.fd, F_GETFL);
  fcntl(c.fd, F_SETFL, flags & ~O_NONBLOCK);
  timeval limit{kSendTimeoutMs / 1000, (kSendTimeoutMs % 1000) * 1000};
  setsockopt(c.fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  client_ = c.fd;
  char path[kHttpMaxPath + 1];
  std::memcpy(path, request.path.c_str(), request.path.size() + 1);
  HandleRequest(path, request.kind);
  client_ = -1;
  shutdown(c.fd, SHUT_WR);
  Drop(c);
  served_.fetch_add(1);
  if (request.kind == kHttpPost && request.path == "/stopServer") stop_ = true;
}

void CZQHttpSimpleServer::Drop(Connection& c) {
  CloseFd(c.fd);
  c.filled = 0;
}

void CZQHttpSimpleServer::HandleRequest(char* path, int kind) {
  if (kind == kHttpGet)
    TraceLine("client GET path '%s', echo back to client", path);
  else if (kind == kHttpPost)
    TraceLine("client POST path '%s', echo back to client", path);
  else
    TraceLine("unknown request type - path '%s', echo back to client", path);
  SendReply(std::string(path) + "\n<br/>\nMerge destul bine!");
}

void CZQHttpSimpleServer::SendReply(const std::string& body, const char* contentType) {
  if (client_ < 0) return;
  // The dates are constants: with no-cache nothing ever uses them.
  std::string reply =
      "HTTP/1.1 200 OK\r\n"
      "Date: Mon, 08 Jun 2009 19:21:18 GMT\r\n"
      "Server: Kelvane/1.3.x (Win32)\r\n"
      "Expires: -1\r\n"
      "Cache-Control: no-cache, must-revalidate\r\n"
      "Pragma: no-cache\r\n"
      "Last-Modified: Mon, 08 Jun 2009 19:21:18 GMT\r\n"
      "Content-Type: ";
  reply += contentType;
  reply += "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  for (size_t sent = 0; sent < reply.size();) {
    const ssize_t n = send(client_, reply.data() + sent, reply.size() - sent, MSG_NOSIGNAL);
    if (n <= 0) return;
    sent += static_cast<size_t>(n);
  }
}
