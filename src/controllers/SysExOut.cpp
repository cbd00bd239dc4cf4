#include "controllers/SysExOut.h"

#include "app/base/Trace.h"

const char kSysExTimeoutText[] = "sending sysex: out of time.";

SysExResult SendLong(MidiOutput& output, const unsigned char* bytes, size_t length,
                     const std::function<double()>& seconds) {
  if (length == 0) return SysExResult::kFailed;
  const double start = seconds();
  if (!output.Send(bytes, length)) {
    TraceLine("sysex of %d bytes not sent", static_cast<int>(length));
    return SysExResult::kFailed;
  }
  const double tookMs = (seconds() - start) * 1000.0;
  if (tookMs <= static_cast<double>(SysExWaitMs(length))) return SysExResult::kSent;
  TraceLine("sysex of %d bytes took %.0f ms (allowed %ld ms): resetting the port", static_cast<int>(length), tookMs,
            SysExWaitMs(length));
  output.Reset();
  return SysExResult::kTimedOut;
}
