#pragma once
// Live input from a system capture device (ALSA, PulseAudio/PipeWire) through RtAudio: one
// input stream of up to four channels whose callback queues each period for the microphone
// and the deck line inputs (InputAudioBlock.h). While it is open it, not the JACK client,
// feeds the live inputs. A device that refuses 44100 Hz runs at its preferred rate; the queue
// converts. Main thread only.

#include <string>
#include <vector>

// Capture devices that have inputs, over every audio API this build has, as "API: name"
// ("ALSA: default", "Jack: system"): the API is part of the name, so a saved choice reopens
// through the same one.
std::vector<std::string> SystemCaptureDevices();
// name: one of SystemCaptureDevices(), or empty for the default input. A name without an API
// prefix, and the empty name, are looked up in the first API that has devices, or in RtAudio's
// JACK API with viaJack (a machine without sound cards). False, traced, when it fails; the JACK
// client's capture ports then feed the live inputs again.
bool OpenSystemCapture(const std::string& name, bool viaJack = false);
void CloseSystemCapture();
bool SystemCaptureOpen();
