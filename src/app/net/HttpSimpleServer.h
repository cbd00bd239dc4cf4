#pragma once
// CZQHttpSimpleServer: a very small HTTP server with a virtual request handler, a base for
// remote control. Nothing starts one by default: the `httpsv` setting or `lumo serve` does.
//
// It listens on 127.0.0.1 unless given another address. One worker thread polls the listening
// socket and up to 16 connections; a request head is read up to 4000 bytes (more is cut) and
// must arrive within 2 seconds of the connection, else what came is served or the connection
// dropped. Handlers run on the worker thread one request at a time. Memory is fixed at start:
// one 4096-byte buffer per connection slot.
//
// Start and Stop run on the owner's thread; Stop returns within a second or so whatever the
// clients do. A POST to "/stopServer" is answered, then stops the server.

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

class CZQHttpSimpleServer {
 public:
  static constexpr int kMaxConnections = 16;
  static constexpr int kRequestBytes = 4096;
  static constexpr int kReadLimit = 4000;
  static constexpr int kRequestTimeoutMs = 2000;

  // port 0 takes any free port (see port()).
  explicit CZQHttpSimpleServer(int port, std::string address = "127.0.0.1");
  virtual ~CZQHttpSimpleServer();
  CZQHttpSimpleServer(const CZQHttpSimpleServer&) = delete;
  CZQHttpSimpleServer& operator=(const CZQHttpSimpleServer&) = delete;

  // Creates, binds and listens, then starts the worker; false (logged) when the socket could
  // not be set up.
  bool Start();
  void Stop();
  bool running() const { return running_.load(); }
  int port() const { return port_; }
  uint64_t requestsServed() const { return served_.load(); }

 protected:
  // kind: 1 GET, 2 POST, 0 anything else (the path is then "/404"). The base echoes the path.
  virtual void HandleRequest(char* path, int kind);
  // For HandleRequest: sends a 200 reply with the server's fixed header lines.
  void SendReply(const std::string& body, const char* contentType = "text/html; charset=UTF-8");

 private:
  struct Connection;
  static void* Entry(void* self);
  void Loop();
  void Accept();
  void Read(Connection& c);
  void Serve(Connection& c);
  void Drop(Connection& c);

  std::string address_;
  int port_;
  int listener_ = -1;
  int wake_[2] = {-1, -1};
  int client_ = -1;  // the connection being answered
  pthread_t thread_{};
  bool started_ = false;
  std::atomic<bool> running_{false};
  std::atomic<bool> stop_{false};
  std::atomic<uint64_t> served_{0};
  std::unique_ptr<Connection[]> connections_;
};
