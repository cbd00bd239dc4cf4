#pragma once
// The first line of a request as the simple HTTP server reads it. Pure; any thread.

#include <cstddef>
#include <string>

enum HttpRequestKind : int { kHttpOther = 0, kHttpGet = 1, kHttpPost = 2 };

constexpr size_t kHttpMaxPath = 1023;

struct HttpRequestLine {
  int kind = kHttpOther;
  std::string path;  // at most kHttpMaxPath bytes; "/404" for a method the server does not know
};

// The kind comes from the first word, "GET " or "POST"; the path follows it (after blanks)
// and ends at a blank, CR, LF or the end of the data.
HttpRequestLine ParseHttpRequest(const char* data, size_t size);

// True when `data` holds a whole request head: it ends at CR LF CR LF, LF LF or CR CR.
bool HttpHeadComplete(const char* data, size_t size);
