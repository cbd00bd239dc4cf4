// lumo demo: the headless demonstration `scripts/run` starts where there is no display. It
// writes a short generated track and plays it through JACK when a server runs, otherwise the
// first device, otherwise the null back end, and says what it did.

#include <cstdio>
#include <cstdlib>

#include "Commands.h"
#include "DemoTrack.h"
#include "LumoSession.h"
#include "audio/devices/OutputLayer.h"

int RunDemoCommand(int argc, char** argv) {
  ParsedArgs args = ParseArgs(argc, argv, {});
  double seconds = 0;
  if (!ParseSeconds(args.Get("seconds"), seconds)) return 2;
  const char* tmp = std::getenv("TMPDIR");
  std::string path = std::string(tmp && *tmp ? tmp : "/tmp") + "/zorvik-lumo-demo.wav";
  if (!WriteDemoTrack(path, 8.0)) {
    std::fprintf(stderr, "lumo: can not write the demo track to %s\n", path.c_str());
    return 1;
  }
  std::string device = args.Get("device").value_or("");
  if (device.empty()) {
    int count = EnumerateOutputDevices();
    for (int i = 0; i < count && device.empty(); ++i) {
      if (OutputDevice(i)->pro) device = "jack";
    }
  }
  std::printf("demo: generated an 8-second 124 BPM track at %s and plays it on deck A%s\n", path.c_str(),
              device.empty() ? "" : (" through " + device).c_str());
  int result = PlayFile(path, device, seconds);
  std::printf("demo: done. Run build/zorvik-lumo on a desktop for the window, build/lumo --help for more.\n");
  return result;
}
