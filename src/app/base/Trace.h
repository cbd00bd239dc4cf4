#pragma once
// The program's one diagnostic channel. Every line goes to stderr and to log.txt in the data
// root, prefixed "-- xkn: ". There are no levels: anything the user need not see goes here.
//
// Threads: TraceLine may be called from any thread except the audio thread (where it counts as
// a blocking wait, so the real-time tests catch it). The audio thread
// calls TraceLineRT with a string literal; the pointer is queued without allocating or locking
// and written out by the next TraceLine or DrainRealtimeTrace on an ordinary thread.

#include <cstdarg>
#include <string>

void TraceLine(const char* format, ...) __attribute__((format(printf, 1, 2)));
void TraceLineV(const char* format, va_list args);

// Real-time safe: queues a constant line. Lines beyond the queue's 256 places are counted and
// dropped; their order across a full lap of the queue is not kept.
void TraceLineRT(const char* literal) noexcept;

// Real-time safe: copies a constant prefix and a changing text (a library's message; 255 bytes
// in all) into one of 32 fixed slots and queues the line like TraceLineRT. Dropped and counted
// when every slot is waiting to be written.
void TraceTextRT(const char* prefix, const char* text) noexcept;

// Writes out what the audio thread queued. Called by the tick and by command-line loops.
void DrainRealtimeTrace();

// Opens (appends to) the log file. Before this, and with an empty path, lines go to stderr only.
void SetTraceLogFile(const std::string& path);

// Silences stderr (the log file and the hook still get every line); the command-line tool
// uses it so its progress line stays readable.
void SetTraceQuiet(bool quiet);

// Tests watch the log through a hook; it sees each line without the prefix.
using TraceHook = void (*)(const char* line, void* context);
void SetTraceHook(TraceHook hook, void* context);

// Lines dropped because the real-time queue was full.
unsigned long DroppedRealtimeTraceLines();
