#pragma once
// Live input from a system capture device (ALSA, PulseAudio/PipeWire) through RtAudio: one
// input stream of up to four channels whose callback queues each period for the microphone
// and the deck line inputs (InputAudioBlock.h). While it is open it, not the JACK client,
// feeds the live inputs. A device that refuses 44100 Hz runs at its preferred rate; the queue
// converts. Main thread only.

#include <string>
#include <vector>

// Capture devices ("API: name") that have inputs.
std::vector<std::string> SystemCaptureDevices();
// name: one of SystemCaptureDevices(), or empty for the default input. viaJack opens it through
// RtAudio's JACK API instead (a machine without sound cards). False, traced, when it fails.
bool OpenSystemCapture(const std::string& name, bool viaJack = false);
void CloseSystemCapture();
bool SystemCaptureOpen();
