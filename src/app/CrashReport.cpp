#include "app/CrashReport.h"

#include <execinfo.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "app/net/HttpPost.h"

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};
constexpr size_t kAltStackBytes = 256 * 1024;
constexpr int kMaxFrames = 64;
constexpr int kReportCapacity = 0x10000;

// Prepared by InstallCrashHandler; the handler only reads them.
char g_path[4096];
char g_fixedLines[1024];  // version, OS, CPU and byte order lines
std::unique_ptr<char[]> g_altStack;

void Put(int fd, const char* text) {
  size_t length = std::strlen(text);
  while (length > 0) {
    const ssize_t n = write(fd, text, length);
    if (n <= 0) return;
    text += n;
    length -= static_cast<size_t>(n);
  }
}

// Decimal and hexadecimal without printf, which is not async-signal-safe.
void PutNumber(int fd, unsigned long value, int base, int width, char pad) {
  char digits[32];
  int n = 0;
  do {
    digits[n++] = "0123456789abcdef"[value % static_cast<unsigned long>(base)];
    value /= static_cast<unsigned long>(base);
  } while (value && n < 30);
  char out[40];
  int k = 0;
  for (int i = n; i < width && k < 8; ++i) out[k++] = pad;
  while (n) out[k++] = digits[--n];
  out[k] = '\0';
  Put(fd, out);
}

// "%Y-%m-%d %H:%M:%S" in UTC from the epoch, by the civil calendar (no locale, no locks).
void PutDateTime(int fd) {
  const long now = static_cast<long>(time(nullptr));
  long days = now / 86400, seconds = now % 86400;
  days += 719468;
  const long era = days / 146097, doe = days - era * 146097;
  const long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const long doy = doe - (365 * yoe + yoe / 4 - yoe / 100), mp = (5 * doy + 2) / 153;
  const long day = doy - (153 * mp + 2) / 5 + 1, month = mp < 10 ? mp + 3 : mp - 9;
  const long year = yoe + era * 400 + (month <= 2);
  PutNumber(fd, static_cast<unsigned long>(year), 10, 4, '0');
  Put(fd, "-");
  PutNumber(fd, static_cast<unsigned long>(month), 10, 2, '0');
  Put(fd, "-");
  PutNumber(fd, static_cast<unsigned long>(day), 10, 2, '0');
  Put(fd, " ");
  PutNumber(fd, static_cast<unsigned long>(seconds / 3600), 10, 2, '0');
  Put(fd, ":");
  PutNumber(fd, static_cast<unsigned long>(seconds / 60 % 60), 10, 2, '0');
  Put(fd, ":");
  PutNumber(fd, static_cast<unsigned long>(seconds % 60), 10, 2, '0');
  Put(fd, " UTC\n");
}

void OnFatalSignal(int signal, siginfo_t*, void*) {
  const int fd = open(g_path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd >= 0) {
    Put(fd, g_fixedLines);
    Put(fd, "DateTime: ");
    PutDateTime(fd);
    struct sysinfo memory {};
    if (sysinfo(&memory) == 0) {
      Put(fd, "Free memory: ");
      PutNumber(fd, memory.freeram * memory.mem_unit / (1024 * 1024), 10, 0, ' ');
      Put(fd, " MB\n");
    }
    Put(fd, "Signal: ");
    PutNumber(fd, static_cast<unsigned long>(signal), 10, 0, ' ');
    Put(fd, "\n");
    void* frames[kMaxFrames];
    const int count = backtrace(frames, kMaxFrames);
    for (int i = 0; i < count; ++i) {
      Put(fd, "[");
      PutNumber(fd, static_cast<unsigned long>(i), 10, 2, ' ');
      Put(fd, "] ");
      backtrace_symbols_fd(&frames[i], 1, fd);  // "binary(function+offset)[address]\n"
    }
    fsync(fd);
    close(fd);
  }
  // SA_RESETHAND put the default action back: the signal now ends the process as it would
  // have, with its core dump and exit status.
  raise(signal);
}

}  // namespace

void InstallCrashHandler(const std::string& reportPath) {
  std::snprintf(g_path, sizeof g_path, "%s", reportPath.c_str());
  utsname os{};
  uname(&os);
  std::snprintf(g_fixedLines, sizeof g_fixedLines,
                "KNversion: v2.0.9\nOS: %s %s %s\nCPU: %ld\n%s%s\n", os.sysname, os.release, os.machine,
                sysconf(_SC_NPROCESSORS_ONLN),
                __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? "Endian: LittleEndian (Intel/Amd) "
                                                          : "Endian: BIG Endian (PPC) ",
                sizeof(void*) == 8 ? "64bits" : "32bits");
  // backtrace loads its unwinder on first use, which allocates: do that now, not in the handler.
  void* warm[2];
  backtrace(warm, 2);
  if (!g_altStack) {
    g_altStack = std::make_unique<char[]>(kAltStackBytes);
    stack_t stack{};
    stack.ss_sp = g_altStack.get();
    stack.ss_size = kAltStackBytes;
    sigaltstack(&stack, nullptr);
  }
  struct sigaction action {};
  action.sa_sigaction = &OnFatalSignal;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESETHAND;
  sigemptyset(&action.sa_mask);
  for (int signal : kSignals) sigaction(signal, &action, nullptr);
}

std::string TakePendingCrashReport(const std::string& reportPath) {
  std::string details;
  if (!ReadWholeFile(reportPath, details)) return "";
  const std::string offered = reportPath + ".offered";
  if (std::rename(reportPath.c_str(), offered.c_str()) != 0 && std::remove(reportPath.c_str()) != 0) {
    TraceLine("crash report: can not move %s aside; not offered", reportPath.c_str());
    return "";
  }
  TraceLine("crash report: the last run crashed; report kept as %s", offered.c_str());
  return details;
}

std::string ComposeCrashReport(const std::string& description, const std::string& email,
                               const std::string& details) {
  return "User description:\n" + description + "\n\nUser email:\n" + email + "\n\nOther details:\n" + details;
}

bool SendCrashReport(const std::string& address, const std::string& report) {
  if (address.empty()) {
    TraceLine("crash report: no address is set; nothing sent");
    return false;
  }
  std::string host, path;
  int port = 0;
  if (!SplitHttpAddress(address, &host, &port, &path)) {
    TraceLine("crash report: \"%s\" is not an http address; nothing sent", address.c_str());
    return false;
  }
  std::vector<char> buffer(kReportCapacity, '\0');
  std::snprintf(buffer.data(), buffer.size(), "%s", report.c_str());
  const bool sent = HttpPost(host.c_str(), port, path.c_str(), buffer.data(), kReportCapacity, 1) == 1 &&
                    std::strstr(buffer.data(), "error") != buffer.data();
  TraceLine(sent ? "The report was sent ok. Thank you."
                 : "Error - the report was NOT sent!\nMaybe you don't have an Intenet connection available?\nThank you for trying to help.");
  return sent;
}
