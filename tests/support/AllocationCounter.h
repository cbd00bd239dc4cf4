#pragma once
// Linking this replaces the global operator new and delete with versions that count every
// call made on a thread marked as the audio thread (rt::AudioThreadScope).

unsigned long AudioThreadAllocations();
unsigned long AudioThreadFrees();
void ResetAudioThreadCounts();
