// Generic MIDI mapping for two-deck controllers that follow the common layout: notes on
// channel 1 drive deck A and notes on channel 2 deck B; controller numbers 1-7 are the faders
// and knobs. It matches any device whose port is called "Generic MIDI Controller"; rename your
// copy's device names to your controller's port name to use it as a starting point.

function getLanguageVersion() { return 1; }
function getFileVersion() { return 1; }
function getControllerUserFriendlyName() { return "Generic MIDI controller"; }
function getControllerType() { return "midi"; }
function getSupportedMidiDeviceNameForInput(index) { return "Generic MIDI Controller"; }
function getSupportedMidiDeviceNameForOutput(index) { return "Generic MIDI Controller"; }

var NOTE_ON = 144, NOTE_OFF = 128, CONTROL = 176;

// Notes, the same on each deck's channel.
var deckNotes = {
  11: "deckPlayPause",
  12: "deckCue",
  13: "deckSync",
  14: "deckKeyLock"
};

// Controllers on each deck's channel; sliders take the controller's 0-127 value as it comes.
var deckSliders = {
  1: "setDeckVolume",
  2: "setDeckPitch",
  3: "setDeckEqHigh",
  4: "setDeckEqMid",
  5: "setDeckEqLow",
  6: "setDeckGain"
};

function controllerInit(id) { debug("generic MIDI controller " + id + " ready"); }

function messageReceived(id, status, channel, data1, data2) {
  if (channel > 1) return;  // two decks, two channels
  var deck = channel;
  if (status === NOTE_ON && data2 > 0 && deckNotes[data1] !== undefined) {
    call(deckNotes[data1], deck);
  } else if (status === CONTROL && deckSliders[data1] !== undefined) {
    call(deckSliders[data1], deck, data2);
  } else if (status === CONTROL && data1 === 7 && channel === 0) {
    call("setCrossfader", data2);
  }
}

function notificationReceived(id, name, deck, intValue, floatValue, stringValue) {
  if (deck < 0 || deck > 1) return;
  if (name === "play") sendMidi(id, NOTE_ON, deck, 11, intValue ? 127 : 0);
  if (name === "cue") sendMidi(id, NOTE_ON, deck, 12, intValue ? 127 : 0);
}
