// lumo devices: the device table, numbered as --device and the audio0 setting count it.

#include <cstdio>

#include "Commands.h"
#include "audio/devices/OutputLayer.h"

int RunDevicesCommand(int, char**) {
  int count = EnumerateOutputDevices();
  if (count == 0) {
    std::printf("No output devices. lumo play runs on the null back end (silent, real time).\n");
    return 0;
  }
  std::printf("%-5s %-8s %-4s %s\n", "index", "kind", "ch", "name");
  for (int i = 0; i < count; ++i) {
    const OutputDeviceInfo* device = OutputDevice(i);
    if (!device) continue;
    std::printf("%-5d %-8s %-4d %s\n", i, device->pro ? "jack" : "system", device->channels,
                device->name.c_str());
  }
  return 0;
}
