#pragma once
// .kn2 stripe files: little-endian 32-bit floats, 441 entries per second of the song, no header.
// The file is named after the song's bare file name ("Track.mp3.kn2"), so two songs of one
// name share a stripe, as they share a song record.
//
// Values are checked both ways: NaN and anything beyond the reserved mark band become 0, so a
// damaged file can never turn into beat marks.
//
// Threads: the functions keep no state except the stripes folder, which is set once at start-up.

#include <string>
#include <string_view>

constexpr int kStripeEntriesPerSecond = 441;
constexpr int kFramesPerStripeEntry = 100;
constexpr int kMaxAnalysisSeconds = 1200;  // longer songs are never analysed in the background

// Whole seconds of a song, the part second counted as one.
int StripeSeconds(long long frames);
// Entries of a song's stripe: 441 per started second.
int StripeEntries(long long frames);
// The length the record keeps, rounded to the millisecond: the same figure whichever path
// (background pass or deck) analysed the song.
int SongDurationMs(long long frames);

void SetStripesFolder(const std::string& folder);  // ends in '/'
const std::string& StripesFolder();
std::string StripePathFor(std::string_view songPath);

// Writes n entries atomically; false when the file could not be written.
bool WriteStripeFile(const std::string& path, const float* entries, int n);
// Turns the bytes of a stripe file into entries (whole entries only, at most n), made sane.
// Returns the number of entries written.
int DecodeStripeBytes(const unsigned char* bytes, size_t size, float* entries, int n);
// Reads up to n entries into entries; returns the number of bytes read, -1 when the file
// cannot be opened. Entries past what the file holds are left as they were.
long ReadStripeFile(const std::string& path, float* entries, int n);

struct StripeLoad {
  float bpm = 0.0f;
  float gain = 0.0f;
};
// The reader the decks use: the song must be in the database with a gain and a tempo of at
// least 1, and its stripe must hold at least n bytes (a stripe is accepted down to a quarter of
// its size; the rest of the array keeps what it had). 1 with the entries in place, 0 otherwise;
// every refusal is logged.
int LoadStripes(std::string_view songPath, float* entries, int n, StripeLoad& out);
