// The simple HTTP server on loopback: one request (connect, GET, echo reply, close) at a
// time, and the config.xml text round trip the settings dialog pays on every save.

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "app/Settings.h"
#include "app/net/HttpSimpleServer.h"

namespace {

class QuietServer : public CZQHttpSimpleServer {
 public:
  QuietServer() : CZQHttpSimpleServer(0) {}

 protected:
  void HandleRequest(char* path, int) override { SendReply(path); }
};

void BM_EchoRequest(benchmark::State& state) {
  QuietServer server;
  if (!server.Start()) {
    state.SkipWithError("the server did not start");
    return;
  }
  sockaddr_in where{};
  where.sin_family = AF_INET;
  where.sin_port = htons(static_cast<uint16_t>(server.port()));
  where.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const std::string request = "GET /deck/1/play HTTP/1.1\r\nHost: x\r\n\r\n";
  char reply[1024];
  for (auto _ : state) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    connect(fd, reinterpret_cast<sockaddr*>(&where), sizeof where);
    send(fd, request.data(), request.size(), MSG_NOSIGNAL);
    while (recv(fd, reply, sizeof reply, 0) > 0) {
    }
    close(fd);
  }
  server.Stop();
}
BENCHMARK(BM_EchoRequest)->UseRealTime();

void BM_ConfigRoundTrip(benchmark::State& state) {
  Settings settings;
  settings.skinf1 = "Dark & \"Wide\".xml";
  settings.midiInputs = {"Controller MIDI 1", "Pads"};
  for (auto _ : state) {
    Settings back;
    benchmark::DoNotOptimize(ParseConfigText(ConfigText(settings), back));
  }
}
BENCHMARK(BM_ConfigRoundTrip);

}  // namespace

BENCHMARK_MAIN();
