// lumo serve: runs the simple HTTP server in the foreground until a POST to /stopServer,
// Ctrl-C, or --seconds pass. It answers every request with the echo page.

#include <csignal>
#include <cstdio>
#include <chrono>
#include <thread>

#include "Commands.h"
#include "LumoSession.h"
#include "app/Engine.h"
#include "app/Settings.h"
#include "app/base/NumberText.h"
#include "app/base/Trace.h"
#include "app/net/HttpSimpleServer.h"

namespace {

constexpr int kDefaultPort = 8080;
constexpr const char* kUsage = "usage: lumo serve [--port N] [--address A] [--seconds S]\n";

volatile std::sig_atomic_t g_interrupted = 0;
void OnInterrupt(int) { g_interrupted = 1; }

}  // namespace

int RunServeCommand(int argc, char** argv) {
  ParsedArgs args = ParseArgs(argc, argv, {});
  double seconds = 0;
  for (const auto& option : args.options)
    if (option.first != "port" && option.first != "address" && option.first != "seconds") {
      std::fprintf(stderr, "lumo: unknown option --%s\n%s", option.first.c_str(), kUsage);
      return 2;
    }
  if (!args.positional.empty() || !ParseSeconds(args.Get("seconds"), seconds)) {
    std::fprintf(stderr, "%s", kUsage);
    return 2;
  }
  ReadConfig(SettingsFilePath());
  long long port = g_settings.httpsv > 0 ? g_settings.httpsv : kDefaultPort;
  if (auto text = args.Get("port"); text && (!ParseInt(*text, port) || port < 0 || port > 65535)) {
    std::fprintf(stderr, "lumo: --port wants 0 to 65535, not \"%s\"\n%s", text->c_str(), kUsage);
    return 2;
  }
  const std::string address = args.Get("address").value_or(g_settings.httpad);
  CZQHttpSimpleServer server(static_cast<int>(port), address);
  if (!server.Start()) {
    std::fprintf(stderr, "lumo: can not listen on %s:%lld\n", address.c_str(), port);
    return 1;
  }
  std::printf("serving on http://%s:%d/ (POST /stopServer or Ctrl-C stops it)\n", address.c_str(), server.port());
  std::fflush(stdout);
  std::signal(SIGINT, OnInterrupt);
  std::signal(SIGTERM, OnInterrupt);
  const auto start = std::chrono::steady_clock::now();
  while (server.running() && !g_interrupted &&
         (seconds <= 0 || std::chrono::steady_clock::now() - start < std::chrono::duration<double>(seconds)))
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  server.Stop();
  std::printf("served: requests=%llu\n", static_cast<unsigned long long>(server.requestsServed()));
  return 0;
}
