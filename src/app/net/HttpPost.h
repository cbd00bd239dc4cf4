#pragma once
// HttpPost: the program's one HTTP client (crash reports, a server's stop request).
//
// Posts `bodyInOut` (a NUL-terminated text) to http://host:port/path and puts the reply in
// the same buffer: the whole reply, header lines included, when the status is 2xx, else the
// text "error". The reply is cut to fit `capacity` (always NUL-terminated). Returns 1 when
// the server was reached and answered, 0 on any failure before that (the buffer is then
// untouched). Blocks the caller for at most `timeoutMs`.

#include <string>

int HttpPost(const char* host, int port, const char* path, char* bodyInOut, int capacity,
             int plainText, int timeoutMs = 10000);

// Splits "http://host[:port][/path]" into its parts (port 80 and path "/" when absent);
// false for anything else.
bool SplitHttpAddress(const std::string& address, std::string* host, int* port, std::string* path);
