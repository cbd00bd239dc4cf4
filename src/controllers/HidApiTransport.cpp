// HID through hidapi's hidraw back end. Reports of devices without report ids come without a
// leading 0 byte on Linux, so nothing is stripped here. Access to /dev/hidraw* needs the udev
// rule in data/udev/.
#include <hidapi.h>

#include <cwchar>

#include "app/base/Trace.h"
#include "controllers/ControllerTransport.h"

namespace {

std::string Narrow(const wchar_t* text) {
  std::string result;
  for (; text && *text; ++text) result += *text < 0x80 ? static_cast<char>(*text) : '?';
  return result;
}

class HidApiDevice : public HidDevice {
 public:
  explicit HidApiDevice(hid_device* device) : device_(device) { hid_set_nonblocking(device_, 1); }
  ~HidApiDevice() override { hid_close(device_); }
  int Read(unsigned char* buffer, size_t length) override { return hid_read(device_, buffer, length); }
  int Write(const unsigned char* data, size_t length) override { return hid_write(device_, data, length); }

 private:
  hid_device* device_;
};

class HidApiSystem : public HidSystem {
 public:
  HidApiSystem() : ready_(hid_init() == 0) {}
  ~HidApiSystem() override {
    if (ready_) hid_exit();
  }

  std::vector<HidDeviceInfo> Enumerate() override {
    std::vector<HidDeviceInfo> list;
    if (!ready_) return list;
    hid_device_info* all = hid_enumerate(0, 0);
    for (hid_device_info* d = all; d; d = d->next) {
      list.push_back({d->path ? d->path : "", d->vendor_id, d->product_id, Narrow(d->product_string),
                      Narrow(d->manufacturer_string), d->usage_page, d->usage});
    }
    hid_free_enumeration(all);
    return list;
  }

  std::unique_ptr<HidDevice> Open(const HidDeviceInfo& info) override {
    if (!ready_) return nullptr;
    hid_device* device = hid_open_path(info.path.c_str());
    if (!device) {
      TraceLine("HID open '%s' failed: %s", info.path.c_str(), Narrow(hid_error(nullptr)).c_str());
      return nullptr;
    }
    return std::make_unique<HidApiDevice>(device);
  }

 private:
  bool ready_;
};

}  // namespace

std::unique_ptr<HidSystem> MakeHidApiSystem() { return std::make_unique<HidApiSystem>(); }
