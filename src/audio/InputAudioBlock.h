#pragma once
// The road of live input. A back end with capture (the JACK client's input ports, a system
// capture stream) hands each period to CaptureInputFrames on its own audio thread; the frames
// are brought to 44100 Hz and queued. MixAudioBlock then takes one block of them first thing
// (PullCapturedInput) and InputAudioBlock shares it out:
//   2 channels:   all of it to deck input 0 and the microphone;
//   fewer than 4 (but not 2): nothing;
//   4 or more:    channels 0 and 1 to the microphone and deck input 0, 2 and 3 to deck input 1.
// Decks 2 and 3 get no live signal. A block the capture has not delivered is silence.

#include "app/base/Realtime.h"

class CLiveInputSource;

constexpr int kCaptureChannels = 4;

// Who feeds the capture queue: one writer at a time. The JACK client does unless a system
// capture stream is open.
enum CaptureSource : int { kCaptureFromJack = 1, kCaptureFromSystem = 2 };
void SetCaptureSource(CaptureSource source);

// Main thread, at set-up: the microphone and the four deck inputs (all five, or none: null
// for any makes InputAudioBlock do nothing).
void SetLiveInputs(CLiveInputSource* microphone, CLiveInputSource* const deckInputs[4]);

// Audio thread.
LUMO_RT void InputAudioBlock(const float* in, int frames, int channels) noexcept;
// ports[c] holds `frames` samples of capture channel c at deviceRate; portCount may be below
// kCaptureChannels (missing channels are silent).
// Frames from any source other than the current one are ignored.
LUMO_RT void CaptureInputFrames(CaptureSource from, const float* const* ports, int portCount, int frames,
                                int deviceRate) noexcept;
LUMO_RT void PullCapturedInput(int frames) noexcept;

// Main thread, while `from` does not capture: forgets what was queued (it opens or closes).
// Nothing happens when `from` is not the current source.
void ResetCapturedInput(CaptureSource from);
// Frames the capture queue has dropped (full) since the last reset.
unsigned long CapturedInputOverruns();
