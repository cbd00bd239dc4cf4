#pragma once
// The db.knx format: UTF-8 XML text, one <song .../> line per record, numbers in the C locale
// with four decimals for floats. Read with libxml2's streaming reader, so a library of 100,000
// songs never becomes a document tree in memory.

#include <functional>
#include <string>

#include "library/SongDatabase.h"

void BeginSongDatabaseText(std::string& text);
void AppendSongLine(std::string& text, const TSongRecord& record);
void EndSongDatabaseText(std::string& text);

// Writes atomically. With backupCurrent (only when the file in place was just read whole) the
// file being replaced becomes "<path>.bak" first.
bool WriteSongDatabaseFile(const std::string& path, const std::string& text, bool backupCurrent);

// Reads path, calling store for every record in file order (the last of two equal names wins
// in the caller's table). clear is called before records of a backup replace those already
// stored. Returns 1 when the file was read, 2 when its backup was read in its place, 0 when it is missing or damaged
// without a usable backup, -1 when it exists but cannot be read (left in place, reported).
// A file with a document type declaration is refused unparsed.
int ReadSongDatabaseFile(const std::string& path,
                         const std::function<void(const TSongRecord&)>& store,
                         const std::function<void()>& clear);

// Parses XML text held in memory (fuzzing, tests): 1 when the whole text parsed.
int ParseSongDatabaseText(const std::string& text,
                          const std::function<void(const TSongRecord&)>& store);
