#include "app/net/HttpRequest.h"

#include <cstring>
#include <string_view>

HttpRequestLine ParseHttpRequest(const char* data, size_t size) {
  HttpRequestLine line;
  const std::string_view text(data, size);
  size_t at = 0;
  if (text.substr(0, 4) == "GET ") {
    line.kind = kHttpGet;
  } else if (text.substr(0, 4) == "POST") {
    line.kind = kHttpPost;
  } else {
    line.path = "/404";
    return line;
  }
  at = 4;
  while (at < size && text[at] == ' ') ++at;
  size_t end = at;
  while (end < size && end - at < kHttpMaxPath && text[end] != ' ' && text[end] != '\r' && text[end] != '\n')
    ++end;
  line.path.assign(text.substr(at, end - at));
  return line;
}

bool HttpHeadComplete(const char* data, size_t size) {
  const std::string_view text(data, size);
  return text.find("\r\n\r\n") != std::string_view::npos || text.find("\n\n") != std::string_view::npos ||
         text.find("\r\r") != std::string_view::npos;
}
