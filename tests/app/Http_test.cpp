// The HTTP pieces on loopback: the simple server as a client sees it, the POST client against
// canned replies, and the server under a bounded load of good and hostile clients.

#include <arpa/inet.h>
#include <dirent.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "app/net/HttpPost.h"
#include "app/net/HttpSimpleServer.h"

namespace {

using Clock = std::chrono::steady_clock;

// Joins on scope exit, so a failed assertion cannot leave a joinable thread behind.
struct ThreadGuard {
  std::vector<std::thread> threads;
  ~ThreadGuard() {
    for (std::thread& t : threads)
      if (t.joinable()) t.join();
  }
};

int Connect(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in where{};
  where.sin_family = AF_INET;
  where.sin_port = htons(static_cast<uint16_t>(port));
  where.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd, reinterpret_cast<sockaddr*>(&where), sizeof where) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

// Reads until the peer closes or `limit` passes.
std::string ReadAll(int fd, std::chrono::milliseconds limit = std::chrono::milliseconds(10000)) {
  std::string text;
  char buffer[4096];
  for (auto until = Clock::now() + limit; Clock::now() < until;) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, 50) <= 0) continue;
    const ssize_t n = recv(fd, buffer, sizeof buffer, 0);
    if (n <= 0) break;
    text.append(buffer, static_cast<size_t>(n));
  }
  return text;
}

std::string Exchange(int port, const std::string& request) {
  const int fd = Connect(port);
  if (fd < 0) return "";
  send(fd, request.data(), request.size(), MSG_NOSIGNAL);
  std::string reply = ReadAll(fd);
  close(fd);
  return reply;
}

std::string Body(const std::string& reply) {
  const size_t at = reply.find("\r\n\r\n");
  return at == std::string::npos ? "" : reply.substr(at + 4);
}

template <typename Condition>
bool WaitUntil(Condition done) {
  for (auto until = Clock::now() + std::chrono::seconds(10); !done();
       std::this_thread::sleep_for(std::chrono::milliseconds(5)))
    if (Clock::now() > until) return false;
  return true;
}

TEST(HttpSimpleServer, EchoesRefusesCutsAndStops) {
  CZQHttpSimpleServer server(0);
  ASSERT_TRUE(server.Start());
  const int port = server.port();

  const std::string reply = Exchange(port, "GET /deck/1/play HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ(reply.rfind("HTTP/1.1 200 OK\r\n", 0), 0u) << reply;
  const std::string body = "/deck/1/play\n<br/>\nMerge destul bine!";
  EXPECT_NE(reply.find("Content-Length: " + std::to_string(body.size()) + "\r\n"), std::string::npos);
  EXPECT_EQ(Body(reply), body);
  EXPECT_EQ(Body(Exchange(port, "DELETE /songs HTTP/1.1\n\n")).rfind("/404\n", 0), 0u);

  // Over 4000 bytes without an end of head: answered at the cut, not after the time-out.
  const auto start = Clock::now();
  const std::string oversized = "GET /cut HTTP/1.1\r\nX-Pad: " + std::string(6000, 'a');
  EXPECT_EQ(Body(Exchange(port, oversized)).rfind("/cut\n", 0), 0u);
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(CZQHttpSimpleServer::kRequestTimeoutMs));

  char stop[1000] = "stopServer=yes";
  ASSERT_EQ(HttpPost("127.0.0.1", port, "/stopServer", stop, sizeof stop, 1), 1);
  EXPECT_NE(std::string(stop).find("/stopServer\n<br/>"), std::string::npos) << "answered before stopping";
  EXPECT_TRUE(WaitUntil([&] { return !server.running(); }));
  EXPECT_EQ(Connect(port), -1) << "the port is closed";
}

// One connection, one canned reply; keeps what the client sent.
class CannedServer {
 public:
  explicit CannedServer(std::string reply, bool answer = true) : reply_(std::move(reply)), answer_(answer) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(listener_, reinterpret_cast<sockaddr*>(&where), sizeof where);
    listen(listener_, 1);
    socklen_t length = sizeof where;
    getsockname(listener_, reinterpret_cast<sockaddr*>(&where), &length);
    port_ = ntohs(where.sin_port);
    guard_.threads.emplace_back([this] { Serve(); });
  }
  ~CannedServer() {
    done_ = true;
    guard_.threads.front().join();
    close(listener_);
  }
  int port() const { return port_; }
  std::string received;

 private:
  void Serve() {
    pollfd p{listener_, POLLIN, 0};
    while (!done_ && poll(&p, 1, 50) <= 0) {
    }
    if (done_) return;
    const int fd = accept(listener_, nullptr, nullptr);
    char buffer[65536];
    for (auto until = Clock::now() + std::chrono::seconds(5); Clock::now() < until && !done_;) {
      pollfd c{fd, POLLIN, 0};
      if (poll(&c, 1, 20) <= 0) {
        if (received.find("\r\n\r\n") != std::string::npos) break;  // the body came with the head
        continue;
      }
      const ssize_t n = recv(fd, buffer, sizeof buffer, 0);
      if (n <= 0) break;
      received.append(buffer, static_cast<size_t>(n));
    }
    if (answer_) send(fd, reply_.data(), reply_.size(), MSG_NOSIGNAL);
    while (!answer_ && !done_) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    close(fd);
  }
  std::string reply_;
  bool answer_;
  int listener_ = -1, port_ = 0;
  std::atomic<bool> done_{false};
  ThreadGuard guard_;
};

TEST(HttpPost, JudgesTheStatusAndKeepsTheReplyInItsBuffer) {
  {
    CannedServer server("HTTP/1.1 201 Created\r\nContent-Length: 2\r\n\r\nok");
    char buffer[256] = "User description:\nit crashed";
    ASSERT_EQ(HttpPost("127.0.0.1", server.port(), "/services/crashreport.php", buffer, sizeof buffer, 1), 1);
    EXPECT_EQ(std::string(buffer), "HTTP/1.1 201 Created\r\nContent-Length: 2\r\n\r\nok");
    EXPECT_EQ(server.received.rfind("POST /services/crashreport.php HTTP/1.1\r\n", 0), 0u);
    EXPECT_NE(server.received.find("User-Agent: Kelvane/1.1\r\n"), std::string::npos);
    EXPECT_NE(server.received.find("Content-Type: text/plain\r\n"), std::string::npos);
    EXPECT_NE(server.received.find("Content-Length: 28\r\n"), std::string::npos);
    EXPECT_EQ(server.received.substr(server.received.size() - 28), "User description:\nit crashed");
  }
  {
    CannedServer server("HTTP/1.1 301 Moved Permanently\r\nLocation: /x\r\nContent-Length: 0\r\n\r\n");
    char buffer[256] = "a=1";
    ASSERT_EQ(HttpPost("127.0.0.1", server.port(), "/", buffer, sizeof buffer, 0), 1);
    EXPECT_STREQ(buffer, "error");
    EXPECT_NE(server.received.find("Content-Type: application/x-www-form-urlencoded"), std::string::npos);
  }
  {
    CannedServer server("HTTP/1.0 200 OK\r\n\r\nread until the peer closes");
    char buffer[256] = "x";
    ASSERT_EQ(HttpPost("127.0.0.1", server.port(), "/", buffer, sizeof buffer, 1), 1);
    EXPECT_EQ(Body(buffer), "read until the peer closes");
  }
}

TEST(HttpPost, NeverWritesPastItsBufferAndGivesUpInTime) {
  {
    CannedServer server("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n" + std::string(100000, 'z'));
    char buffer[1000 + 16];
    std::memset(buffer, '#', sizeof buffer);
    std::strcpy(buffer, "x");
    ASSERT_EQ(HttpPost("127.0.0.1", server.port(), "/", buffer, 1000, 1), 1);
    EXPECT_EQ(std::strlen(buffer), 999u) << "cut to the capacity, NUL included";
    for (size_t i = 1000; i < sizeof buffer; ++i) ASSERT_EQ(buffer[i], '#') << "written past the capacity";
  }
  {
    char buffer[64] = "untouched";
    const int closedPort = [] {
      CannedServer gone("");
      return gone.port();
    }();
    EXPECT_EQ(HttpPost("127.0.0.1", closedPort, "/", buffer, sizeof buffer, 1), 0);
    EXPECT_STREQ(buffer, "untouched");
  }
  {
    CannedServer silent("", false);
    char buffer[64] = "x";
    const auto start = Clock::now();
    EXPECT_EQ(HttpPost("127.0.0.1", silent.port(), "/", buffer, sizeof buffer, 1, 300), 0);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(3));
  }
}

// A server that answers without writing to the log, so the load stays about the server.
class QuietServer : public CZQHttpSimpleServer {
 public:
  QuietServer() : CZQHttpSimpleServer(0) {}

 protected:
  void HandleRequest(char* path, int) override { SendReply(path); }
};

int OpenDescriptors() {
  int count = 0;
  if (DIR* dir = opendir("/proc/self/fd")) {
    while (readdir(dir)) ++count;
    closedir(dir);
  }
  return count;
}

long ResidentKiB() {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word)
    if (word == "VmRSS:") {
      long kib = 0;
      status >> kib;
      return kib;
    }
  return 0;
}

TEST(HttpSimpleServer, KeepsAnsweringUnderLoadAndAbuse) {
  QuietServer server;
  ASSERT_TRUE(server.Start());
  const int port = server.port();
  Exchange(port, "GET /warm HTTP/1.1\r\n\r\n");
  const int descriptors = OpenDescriptors();
  const long residentBefore = ResidentKiB();

  constexpr int kClients = 4, kRequestsEach = 400;  // 1600 good requests, bounded
  std::atomic<int> answered{0};
  std::vector<int> halfOpen;
  for (int i = 0; i < 24; ++i) halfOpen.push_back(Connect(port));  // connect, send nothing
  {
    ThreadGuard guard;
    for (int c = 0; c < kClients; ++c)
      guard.threads.emplace_back([&, c] {
        for (int i = 0; i < kRequestsEach; ++i) {
          const std::string path = "/c" + std::to_string(c) + "/" + std::to_string(i);
          if (Body(Exchange(port, "GET " + path + " HTTP/1.1\r\n\r\n")) == path) answered++;
        }
      });
    guard.threads.emplace_back([&] {  // slow senders: a byte every 50 ms
      for (int s = 0; s < 3; ++s) {
        const int fd = Connect(port);
        for (char ch : std::string("GET /slow HTTP/1.1\r\n")) {
          send(fd, &ch, 1, MSG_NOSIGNAL);
          std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        ReadAll(fd, std::chrono::milliseconds(3000));
        close(fd);
      }
    });
    guard.threads.emplace_back([&] {  // garbage and oversized heads
      std::string garbage(5000, '\0');  // past the cut, so it is answered at once
      for (size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<char>(i * 131 + 7);
      for (int i = 0; i < 100; ++i) {
        Exchange(port, i % 2 ? garbage : "GET /big HTTP/1.1\r\nCookie: " + std::string(20000, 'c') + "\r\n\r\n");
      }
    });
  }
  for (int fd : halfOpen) close(fd);

  EXPECT_EQ(answered.load(), kClients * kRequestsEach) << "every good request got its echo";
  EXPECT_EQ(Body(Exchange(port, "GET /still-here HTTP/1.1\r\n\r\n")), "/still-here");
  EXPECT_TRUE(WaitUntil([&] { return OpenDescriptors() <= descriptors; })) << "connections leak";
  // The server's memory is fixed at start; the test's own threads and buffers come and go.
  EXPECT_LT(ResidentKiB() - residentBefore, 16 * 1024);
  const auto stopping = Clock::now();
  server.Stop();
  EXPECT_FALSE(server.running());
  EXPECT_LT(Clock::now() - stopping, std::chrono::seconds(2));
}

}  // namespace
