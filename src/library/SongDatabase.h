#pragma once
// The song database: what the program has learnt about each song (tempo, gain, stored EQ, cue
// points, key, length), one table in memory keyed by the bare file name with its extension
// ("Track.mp3"), read from db.knx at start-up and written back at shutdown. Two files of one
// name in two folders share one record: that is the identity rule.
//
// Threads: loaders, the file worker, list workers and the GUI all call FindSong and StoreSong.
// One short mutex is held only while a whole record is copied in or out; callers always take
// the whole record by value and there are no partial updates.
//
// Saving merges: the names stored since the last save are this process's changes, and a save
// takes the library lock (LibraryLock.h), reads the file again, lays those records over it and
// writes the result, so programs sharing a data root never lose each other's records. Where
// two programs changed the same song, the later save wins for that whole record.
//
// Names are bytes: invalid UTF-8 and any control character survive a save and load.

#include <string>

struct TSongRecord {
  std::string name;  // the key; UTF-8 in practice, bytes in law
  int reserved0 = 0;
  int durationMs = 0;
  int reserved1 = 0, reserved2 = 0, reserved3 = 0, reserved4 = 0;
  int pitchKey = 0;  // 0 none, 1..12 major A..G#, 13..24 minor
  float bpm = 0.0f;
  float bpmConfidence = 0.0f;  // 0..1 from the analysis: how clearly the music keeps a beat
  float gain = 0.0f;  // perceptual gain in dB; valid when hasGain
  int hasGain = 0;
  float eqLow = 0.0f, eqMid = 0.0f, eqHigh = 0.0f;
  int currentCue = 0;  // 0-based
  int cue[5] = {};
  int cueSpare[5] = {};  // not stored
  int cueIn = 0, cueOut = 0;
  // Deck run-time data, filled while the song is loaded; never stored.
  unsigned char runtime[3][64] = {};
  int runtimeEnd = 0;
};

// Empties a record: empty name, every field zero.
void ClearSongRecord(TSongRecord& record);

// Creates the table (always, even when the file is absent) and reads db.knx into it.
// 1 on success; 0 for a missing file (empty usable table) or one that cannot be read. A file
// that does not parse is logged and moved aside as "<path>.corrupt-<date>", and the backup
// "<path>.bak" is loaded in its place when it parses (then 1); without a usable backup the
// records read before the damage are kept.
int LoadSongDatabase(const std::string& path);

// Merges this process's changes into the file at path (atomically; the file replaced is kept
// as "<path>.bak" when it was read whole) and takes in what other programs saved. 1 on success
// or when there was nothing to save; 0 when there is no table, the lock cannot be had, or the
// file in place cannot be read or written: the changes are then kept for the next try.
int FlushSongDatabase(const std::string& path);

// FlushSongDatabase, then destroys the table: saving is the last thing done to it.
int SaveSongDatabase(const std::string& path);

// Copies the record out; 1 when found, 0 otherwise or when there is no table.
int FindSong(const std::string& name, TSongRecord& out);
// Assigns the record under record.name, inserting it if new. Does nothing without a table.
void StoreSong(const TSongRecord& record);

// Number of records; 0 without a table.
size_t SongCount();
// Destroys the table without writing it (tests, tools that only read).
void DropSongDatabase();

// Records stored since the last successful save.
size_t UnsavedSongCount();

// Called after every StoreSong, on the storing thread, outside the table's lock; the debounced
// saver listens here. One hook; nullptr removes it, and returns only once no call of the old
// hook is still running.
using SongChangeHook = void (*)(void* context);
void SetSongChangeHook(SongChangeHook hook, void* context);
