#pragma once
// Compiles a skin's collected script with SpiderMonkey without running it.

#include <string>

// True when the text compiles; otherwise `error` says where and why.
bool CompileSkinScript(const std::string& name, const std::string& text, std::string& error);
