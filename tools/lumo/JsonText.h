#pragma once
// JSON text for the commands' --json output.

#include <string>

// A JSON string literal; bytes that are not UTF-8 become U+FFFD, so the line always parses.
std::string JsonString(const std::string& text);
