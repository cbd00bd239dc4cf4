// Zorvik Lumo test controller: a virtual device the program's own tests play notes into.
// Note 16 on channel 1 toggles deck A; the script lights the same note with the deck's play
// state, both at once and whenever the play state changes.

function getLanguageVersion() { return 1; }
function getFileVersion() { return 3; }
function getControllerUserFriendlyName() { return "Lumo Test Controller"; }
function getControllerType() { return "midi"; }
function getSupportedMidiDeviceNameForInput(index) { return "lumo-test-ctl"; }
function getSupportedMidiDeviceNameForOutput(index) { return "lumo-test-ctl"; }

var PLAY_NOTE = 16;
var NOTE_ON = 144;
var lastLed = -1;

function showPlay(id, playing) {
  var value = playing ? 127 : 0;
  if (value === lastLed) return;
  lastLed = value;
  sendMidi(id, NOTE_ON, 0, PLAY_NOTE, value);
}

function controllerInit(id) {
  lastLed = -1;
  showPlay(id, getValue("play", 0) === 1);
}

function controllerDeinit(id) {
  sendMidi(id, NOTE_ON, 0, PLAY_NOTE, 0);
}

function messageReceived(id, status, channel, data1, data2) {
  if (status === NOTE_ON && channel === 0 && data1 === PLAY_NOTE && data2 > 0) {
    call("deckPlayPause", 0);
    showPlay(id, getValue("play", 0) === 1);
  }
}

function notificationReceived(id, name, deck, intValue, floatValue, stringValue) {
  if (name === "play" && deck === 0) showPlay(id, intValue === 1);
}
