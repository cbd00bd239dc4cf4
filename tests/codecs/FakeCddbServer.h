#pragma once
// A CDDBP server on 127.0.0.1 (never any other address) that plays a script to one client and
// records the lines it was sent, and the scripts the tests share.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace fake_cddb {

using namespace std::chrono_literals;

// One exchange: wait for a command line starting with `expect` (none for the greeting), then
// send each piece as its own write, a moment apart so they travel as separate segments.
struct Step {
  std::string expect;
  std::vector<std::string> pieces;
  bool hangUp = false;  // close right after the pieces
};

// A CDDBP server that plays a script to one client and records the lines it was sent. Every
// wait is bounded; the thread is a jthread, so a failed assertion still joins it.
class FakeCddbServer {
 public:
  explicit FakeCddbServer(std::vector<Step> script) : script_(std::move(script)) {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(listener_, 1) != 0 ||
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0)
      return;
    port_ = ntohs(address.sin_port);
    thread_ = std::jthread([this](std::stop_token stop) { Serve(stop); });
  }
  ~FakeCddbServer() {
    thread_ = {};  // joins
    ::close(listener_);
  }
  std::string address() const { return "127.0.0.1:" + std::to_string(port_); }
  std::vector<std::string> received() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return lines_;
  }
  bool finished() const { return finished_.load(); }

 private:
  static constexpr auto kLimit = 20s;

  bool WaitReadable(int fd, std::stop_token& stop) {
    auto until = std::chrono::steady_clock::now() + kLimit;
    while (!stop.stop_requested() && std::chrono::steady_clock::now() < until) {
      pollfd p{fd, POLLIN, 0};
      if (::poll(&p, 1, 50) > 0) return true;
    }
    return false;
  }

  // One line the client sent, without its line feed; false when the client went away.
  bool ReadLine(int fd, std::stop_token& stop, std::string* line) {
    line->clear();
    char c;
    while (WaitReadable(fd, stop) && ::recv(fd, &c, 1, 0) == 1) {
      if (c == '\n') return true;
      line->push_back(c);
    }
    return false;
  }

  void Serve(std::stop_token stop) {
    if (!WaitReadable(listener_, stop)) return;
    int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) return;
    int one = 1;
    ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    for (const Step& step : script_) {
      if (!step.expect.empty()) {
        std::string line;
        if (!ReadLine(client, stop, &line)) break;
        std::lock_guard<std::mutex> hold(mutex_);
        lines_.push_back(line);
      }
      for (const std::string& piece : step.pieces) {
        ::send(client, piece.data(), piece.size(), MSG_NOSIGNAL);
        if (step.pieces.size() > 1) std::this_thread::sleep_for(2ms);  // separate segments
      }
      if (step.hangUp) {
        ::close(client);
        finished_.store(true);
        return;
      }
    }
    // Whatever the client still says is read until it closes, so its last send never fails.
    std::string rest;
    while (ReadLine(client, stop, &rest)) {
      std::lock_guard<std::mutex> hold(mutex_);
      lines_.push_back(rest);
    }
    ::close(client);
    finished_.store(true);
  }

  std::vector<Step> script_;
  int listener_ = -1;
  int port_ = 0;
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
  std::atomic<bool> finished_{false};
  std::jthread thread_;
};

inline const std::string kQuery = "cddb query 0200b201 2 150 9000 180\n";

// A read reply for two tracks, with the given line end.
inline std::string Entry(const std::string& e) {
  return "210 rock 0200b201 CD database entry follows" + e + "DTITLE=Some Band / Some Album" + e + "DYEAR=2001" + e +
         "DGENRE=Rock" + e + "TTITLE0=Opening" + e + "TTITLE1=Closing" + e + "." + e;
}

// Greeting, hello, proto, then the given query and read replies, then goodbye.
inline std::vector<Step> Conversation(const std::string& e, std::vector<std::string> queryReply,
                               std::vector<std::string> readReply) {
  std::vector<Step> script = {{"", {"201 fake CDDBP server v1.0 ready at now" + e}},
                              {"cddb hello", {"200 Hello and welcome lumo@localhost" + e}},
                              {"proto 6", {"201 OK, CDDB protocol level now: 6" + e}},
                              {"cddb query", std::move(queryReply)}};
  if (!readReply.empty()) script.push_back({"cddb read", std::move(readReply)});
  script.push_back({"quit", {"230 bye" + e}});
  return script;
}

}  // namespace fake_cddb

using fake_cddb::FakeCddbServer;
using fake_cddb::Step;
