#pragma once
// Child processes for tests: a program run with its output in a file, and a private jackd on
// the dummy driver (no sound card needed) that the test's own JACK clients and the program's
// share through JACK_DEFAULT_SERVER. Both are stopped and reaped when their guard goes, so a
// failed ASSERT leaves no process behind.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

extern char** environ;

// Starts `argv` (argv[0] a path) with stdout to `out` and stderr to /dev/null; -1 on failure.
inline pid_t SpawnQuiet(const std::vector<std::string>& argv, const std::string& out = "/dev/null") {
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&files, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  if (posix_spawn(&pid, args[0], &files, nullptr, args.data(), environ) != 0) pid = -1;
  posix_spawn_file_actions_destroy(&files);
  return pid;
}

// The exit status of a child, -1 when it did not exit normally.
inline int WaitExit(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Stops a child (SIGTERM) and reaps it when the guard goes, unless Release()d first.
struct ChildGuard {
  pid_t pid = -1;
  ~ChildGuard() { Stop(); }
  void Stop() {
    if (pid > 0) kill(pid, SIGTERM), waitpid(pid, nullptr, 0);
    pid = -1;
  }
  pid_t Release() {
    const pid_t p = pid;
    pid = -1;
    return p;
  }
};

// A private jackd named after the test process; clients find it through JACK_DEFAULT_SERVER.
class DummyJackServer {
 public:
  static bool Installed() { return access("/usr/bin/jackd", X_OK) == 0; }
  // False when jackd could not be started; the test then waits for its first client to open.
  bool Start(const std::string& prefix, int rate = 44100, int period = 256) {
    name_ = prefix + "-" + std::to_string(getpid());
    // A generous client time-out: on a busy test machine a starved client would otherwise be
    // thrown off the server (its default is half a second) and the test would see silence.
    server_.pid = SpawnQuiet({"/usr/bin/jackd", "-n", name_, "-t", "10000", "-d", "dummy", "-r", std::to_string(rate), "-p",
                              std::to_string(period)});
    setenv("JACK_DEFAULT_SERVER", name_.c_str(), 1);
    return server_.pid > 0;
  }
  ~DummyJackServer() {
    server_.Stop();
    unsetenv("JACK_DEFAULT_SERVER");
  }
  // Ends the server but keeps its name in the environment, so a Start with the same prefix
  // brings back the server clients look for (a test of a server that goes and comes back).
  void Stop() { server_.Stop(); }
  const std::string& Name() const { return name_; }

 private:
  std::string name_;
  ChildGuard server_;
};
