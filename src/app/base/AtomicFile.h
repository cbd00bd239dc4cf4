#pragma once
// Files the user owns (the song database, lists, settings, shortcuts, effect chains) are never
// written in place: the text goes to a temporary file of a unique name in the same folder, is
// synced, and is renamed over the old file, so a crash leaves either the old file or the new
// one, never half of one. The new file keeps the old one's permission bits.

#include <string>
#include <string_view>

// Returns true when the new file is in place. On failure the old file is untouched, the
// temporary file is removed and the reason goes to the trace.
bool WriteFileAtomically(const std::string& path, std::string_view contents);

// Reads a whole file; false when it cannot be opened.
bool ReadWholeFile(const std::string& path, std::string& contents);
