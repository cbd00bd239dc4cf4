#pragma once
// MIDI port names as ALSA and JACK spell them, reduced to what a person would call the device.
// ALSA adds the sequencer's "client:port" numbers ("nanoPAD2:nanoPAD2 MIDI 1 24:0"), the a2j
// bridge adds its prefix, client number and direction ("a2j:nanoPAD2 [24] (capture): nanoPAD2
// MIDI 1"), and JACK clients name their two sides apart ("ctl:midi_in", "ctl:midi_out"). After
// normalising, an input and the output of the same device have the same name.
//
// Pure functions, any thread.

#include <string>

std::string NormaliseMidiPortName(const std::string& name);

// Whether a script's device name stands for this port: equal, ignoring case, to the normalised
// name, or to its client or port half.
bool MidiPortNameMatches(const std::string& scriptName, const std::string& portName);
