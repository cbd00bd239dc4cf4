#pragma once
// Small text rules shared by the decoders: file names are bytes, so only ASCII is folded.

#include <string>
#include <string_view>

std::string ToLowerAscii(std::string_view text);
bool EndsWith(std::string_view text, std::string_view suffix);
bool FileExists(const std::string& path);
