#pragma once
// A private jackd on the dummy driver for one test: started with posix_spawn, stopped by its
// process id, and named after the test process so parallel test programs never share one.
// JACK_DEFAULT_SERVER points every client of the process (the program's and the test's) at it.

#include <fcntl.h>
#include <jack/jack.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

extern char** environ;

class JackTestServer {
 public:
  JackTestServer() = default;
  JackTestServer(const JackTestServer&) = delete;
  JackTestServer& operator=(const JackTestServer&) = delete;
  ~JackTestServer() { Stop(); }

  static bool Installed() { return access("/usr/bin/jackd", X_OK) == 0; }

  // Starts the server and opens the test's own client on it once it answers (10 s at most);
  // null when it never did.
  jack_client_t* Start(int rate, const char* clientName) {
    jack_set_error_function([](const char*) {});  // "cannot connect" until the server is up
    const std::string name = "lumo-test-" + std::to_string(getpid());
    const std::string rateText = std::to_string(rate);
    const char* argv[] = {"jackd", "-n", name.c_str(), "-d", "dummy", "-r", rateText.c_str(), "-p", "256", nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&quiet, 2, "/dev/null", O_WRONLY, 0);
    const int spawned = posix_spawn(&pid_, "/usr/bin/jackd", &quiet, nullptr, const_cast<char**>(argv), environ);
    posix_spawn_file_actions_destroy(&quiet);
    if (spawned != 0) return pid_ = -1, nullptr;
    setenv("JACK_DEFAULT_SERVER", name.c_str(), 1);
    for (auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
         !client_ && std::chrono::steady_clock::now() < until; std::this_thread::sleep_for(std::chrono::milliseconds(50)))
      client_ = jack_client_open(clientName, JackNoStartServer, nullptr);
    return client_;
  }

  // Closes the test's client and ends the server; the environment keeps the name until the
  // next Start, so a server restarted by the test is found again.
  void Stop() {
    if (client_) jack_client_close(client_);
    client_ = nullptr;
    if (pid_ > 0) kill(pid_, SIGTERM), waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }

 private:
  pid_t pid_ = -1;
  jack_client_t* client_ = nullptr;
};
