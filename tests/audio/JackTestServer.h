#pragma once
// A private jackd on the dummy driver for one test, with the test's own client opened on it once
// it answers. Every client of the process (the program's and the test's) finds it through
// JACK_DEFAULT_SERVER, named after the test process so parallel test programs never share one.

#include <jack/jack.h>

#include <chrono>
#include <thread>

#include "support/DummyJackServer.h"

class JackTestServer {
 public:
  JackTestServer() = default;
  JackTestServer(const JackTestServer&) = delete;
  JackTestServer& operator=(const JackTestServer&) = delete;
  ~JackTestServer() { Stop(); }

  static bool Installed() { return DummyJackServer::Installed(); }

  // Starts the server and opens the test's own client on it once it answers (10 s at most);
  // null when it never did.
  jack_client_t* Start(int rate, const char* clientName) {
    jack_set_error_function([](const char*) {});  // "cannot connect" until the server is up
    if (!server_.Start("lumo-test", rate)) return nullptr;
    for (auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
         !client_ && std::chrono::steady_clock::now() < until; std::this_thread::sleep_for(std::chrono::milliseconds(50)))
      client_ = jack_client_open(clientName, JackNoStartServer, nullptr);
    return client_;
  }

  // Closes the test's client and ends the server; the next Start finds it under the same name.
  void Stop() {
    if (client_) jack_client_close(client_);
    client_ = nullptr;
    server_.Stop();
  }

 private:
  DummyJackServer server_;
  jack_client_t* client_ = nullptr;
};
