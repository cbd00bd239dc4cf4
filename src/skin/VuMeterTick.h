#pragma once
// The main tick's work for the meters: each meter point of the mixer is read once a tick (a
// read resets its sums) and handed to every placed meter that shows it; the CPU meters show
// the program's share of one core (vm_cpu) and of the whole machine (vm_cpu2).
//
// Threads: GUI thread; the mixer's meters are atomics, nothing waits.

class CZQMixer;

void RefreshVuMeters(CZQMixer* mixer);

// CPU time used by this process since the last call, as a percentage of one core's wall time;
// 0 on the first call.
float ProcessCpuPercent();
