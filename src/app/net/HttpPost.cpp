#include "app/net/HttpPost.h"

#include <curl/curl.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <mutex>

#include "app/base/Trace.h"

namespace {

constexpr const char* kUserAgent = "Kelvane/1.1";

// The reply gathered header and body alike, never past the caller's capacity.
struct Reply {
  size_t capacity = 0;  // bytes of text, the NUL excluded
  size_t filled = 0;
  static size_t Take(char* data, size_t size, size_t count, void* self) {
    auto* r = static_cast<Reply*>(self);
    const size_t bytes = size * count;
    const size_t room = r->capacity - r->filled;
    std::memcpy(r->kept.data() + r->filled, data, std::min(bytes, room));
    r->filled += std::min(bytes, room);
    return bytes;  // the rest is read and dropped, so a long reply still completes
  }
  std::string kept;
};

void InitCurlOnce() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

}  // namespace

int HttpPost(const char* host, int port, const char* path, char* bodyInOut, int capacity,
             int plainText, int timeoutMs) {
  if (!host || !path || !bodyInOut || capacity <= 0) return 0;
  const size_t length = strnlen(bodyInOut, static_cast<size_t>(capacity));
  TraceLine("we must send a %d bytes message", static_cast<int>(length));
  InitCurlOnce();
  CURL* curl = curl_easy_init();
  if (!curl) return 0;
  const std::string url = "http://" + std::string(host) + ":" + std::to_string(port) + path;
  const std::string body(bodyInOut, length);
  Reply reply;
  reply.capacity = static_cast<size_t>(capacity) - 1;
  reply.kept.assign(reply.capacity, '\0');
  curl_slist* headers = nullptr;
  headers = curl_slist_append(headers, "Accept: text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8");
  headers = curl_slist_append(headers, "Accept-Language: en-us,en;q=0.5");
  headers = curl_slist_append(headers, "Accept-Charset: ISO-8859-1,utf-8;q=0.7,*;q=0.7");
  headers = curl_slist_append(headers, plainText ? "Content-Type: text/plain"
                                                 : "Content-Type: application/x-www-form-urlencoded");
  headers = curl_slist_append(headers, "Expect:");  // no 100-continue round trip
  curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http");
  curl_easy_setopt(curl, CURLOPT_USERAGENT, kUserAgent);
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.data());
  curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &Reply::Take);
  curl_easy_setopt(curl, CURLOPT_HEADERDATA, &reply);
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &Reply::Take);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(timeoutMs));
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);  // time-outs without SIGALRM
  const CURLcode result = curl_easy_perform(curl);
  long status = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  curl_slist_free_all(headers);
  curl_easy_cleanup(curl);
  if (result != CURLE_OK && status == 0) {
    TraceLine("http post to %s failed: %s", url.c_str(), curl_easy_strerror(result));
    return 0;
  }
  // Success is a status beginning "20", as the reply's characters 9 and 10 read.
  if (status >= 200 && status <= 209) {
    std::memcpy(bodyInOut, reply.kept.data(), reply.filled);
    bodyInOut[reply.filled] = '\0';
  } else {
    std::snprintf(bodyInOut, static_cast<size_t>(capacity), "error");
  }
  return 1;
}

bool SplitHttpAddress(const std::string& address, std::string* host, int* port, std::string* path) {
  constexpr std::string_view kScheme = "http://";
  if (address.compare(0, kScheme.size(), kScheme) != 0) return false;
  const std::string rest = address.substr(kScheme.size());
  const size_t slash = rest.find('/');
  std::string authority = rest.substr(0, slash);
  *path = slash == std::string::npos ? "/" : rest.substr(slash);
  *port = 80;
  if (const size_t colon = authority.rfind(':'); colon != std::string::npos) {
    const std::string digits = authority.substr(colon + 1);
    if (digits.empty() || digits.size() > 5 || digits.find_first_not_of("0123456789") != std::string::npos)
      return false;
    *port = std::stoi(digits);
    authority.resize(colon);
  }
  if (authority.empty() || *port <= 0 || *port > 65535) return false;
  *host = authority;
  return true;
}
