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

// Writes atomically; the file being replaced becomes "<path>.bak" first.
bool WriteSongDatabaseFile(const std::string& path, const std::string& text);

// Reads path, calling store for every record in file order (the last of two equal names wins
// in the caller's table). clear is called before records of a backup replace those already
// stored. Returns as LoadSongDatabase.
int ReadSongDatabaseFile(const std::string& path,
                         const std::function<void(const TSongRecord&)>& store,
                         const std::function<void()>& clear);

// Parses XML text held in memory (fuzzing, tests): 1 when the whole text parsed.
int ParseSongDatabaseText(const std::string& text,
                          const std::function<void(const TSongRecord&)>& store);
