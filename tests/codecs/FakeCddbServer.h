#pragma once
// A CDDBP server on 127.0.0.1 (never any other address) that plays a script to one client and
// records the lines it was sent. Every wait is bounded, and the thread is a jthread, so a
// failed assertion still joins it.

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace fake_cddb {

// One exchange: wait for a line from the client (none for the greeting), then send each piece
// as its own write, a moment apart so they travel as separate segments; then maybe hang up.
struct Step {
  bool expectLine;
  std::vector<std::string> pieces;
  bool hangUp = false;
};

class FakeCddbServer {
 public:
  explicit FakeCddbServer(std::vector<Step> script) : script_(std::move(script)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
    ::listen(listener_, 1);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::jthread([this](std::stop_token stop) { Serve(stop); });
  }
  ~FakeCddbServer() {
    thread_ = {};
    ::close(listener_);
  }
  std::string address() const { return "127.0.0.1:" + std::to_string(port_); }
  bool finished() const { return finished_.load(); }
  std::vector<std::string> received() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return lines_;
  }

 private:
  static bool Readable(int fd, std::stop_token& stop) {
    auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (pollfd p{fd, POLLIN, 0}; !stop.stop_requested() && std::chrono::steady_clock::now() < until;)
      if (::poll(&p, 1, 50) > 0) return true;
    return false;
  }
  // Records one line from the client; false when it went away.
  bool ReadLine(int fd, std::stop_token& stop) {
    std::string line;
    for (char c; Readable(fd, stop) && ::recv(fd, &c, 1, 0) == 1; line.push_back(c)) {
      if (c != '\n') continue;
      std::lock_guard<std::mutex> hold(mutex_);
      lines_.push_back(line);
      return true;
    }
    return false;
  }
  void Serve(std::stop_token stop) {
    int client = Readable(listener_, stop) ? ::accept(listener_, nullptr, nullptr) : -1;
    if (client < 0) return;
    int one = 1;
    ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    bool hungUp = false;
    for (const Step& step : script_) {
      if (step.expectLine && !ReadLine(client, stop)) break;
      for (const std::string& piece : step.pieces) {
        ::send(client, piece.data(), piece.size(), MSG_NOSIGNAL);
        if (step.pieces.size() > 1) std::this_thread::sleep_for(std::chrono::milliseconds(2));
      }
      if ((hungUp = step.hangUp)) break;
    }
    while (!hungUp && ReadLine(client, stop)) {
    }  // whatever the client still says, until it closes
    ::close(client);
    finished_.store(true);
  }

  std::vector<Step> script_;
  int listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  int port_ = 0;
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
  std::atomic<bool> finished_{false};
  std::jthread thread_;
};

// The read reply of a two-track disc, with the given line end.
inline std::string Entry(const std::string& e) {
  return "210 rock 0200b201 entry follows" + e + "DTITLE=Some Band / Some Album" + e + "DYEAR=2001" + e +
         "TTITLE0=Opening" + e + "TTITLE1=Closing" + e + "." + e;
}

// Greeting, hello, proto, then the given replies to the query and (if any) the read, then bye.
inline std::vector<Step> Conversation(const std::string& e, std::vector<std::string> queryReply,
                                      std::vector<std::string> readReply = {}) {
  std::vector<Step> script = {{false, {"201 fake server ready" + e}},
                              {true, {"200 Hello and welcome" + e}},
                              {true, {"201 OK, CDDB protocol level now: 6" + e}},
                              {true, std::move(queryReply)}};
  if (!readReply.empty()) script.push_back({true, std::move(readReply)});
  script.push_back({true, {"230 bye" + e}});
  return script;
}

}  // namespace fake_cddb
