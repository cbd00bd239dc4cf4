#pragma once
// The library's CD drives: scanned once at start on a worker (with CDDB titles when a server is
// set), and shown in the tree when the scan is done.
//
// Threads: GUI thread.

void StartCdDriveScan();
// The tick's step: hands a finished scan to the library once.
void PollCdDriveScan();
void StopCdDriveScan();
