// A game pad as a two-deck controller: the wired DualShock 4 (Sony, USB 054c:05c4), which many
// DJs already own, mixes two decks from the sofa. Over USB it sends report 1 of 64 bytes about
// 250 times a second:
//   byte 0  report id (1)        bytes 1-4  left stick X, Y, right stick X, Y (0-255, 128 centre)
//   byte 5  high nibble: square 0x10, cross 0x20, circle 0x40, triangle 0x80; low nibble d-pad
//           (0 up, 2 right, 4 down, 6 left, 8 released)
//   byte 6  L1 0x01, R1 0x02, L2 0x04, R2 0x08, share 0x10, options 0x20
//   byte 8, 9  L2 and R2 analog (0-255)
// Bits are counted from the most significant bit of byte 0, so the cross button is bit 42.
//
//   cross / circle      play-pause deck A / deck B     L1 / R1    cue deck A / deck B
//   square / triangle   sync deck A / deck B           L2 / R2    volume deck A / deck B
//   left stick sideways the crossfader                 d-pad      up/down the list, left/right
//   share / options     load the selection on A / B               the tree
//
// The pad's light bar shows which deck plays (output report 5: red A, blue B, both: purple).

function getLanguageVersion() { return 1; }
function getFileVersion() { return 1; }
function getControllerUserFriendlyName() { return "DualShock 4 game pad"; }
function getControllerType() { return "hid"; }
function getSupportedHidDeviceVID(index) { return 0x054c; }
function getSupportedHidDevicePID(index) { return 0x05c4; }
function getSupportedHidDeviceName(index) { return "Wireless Controller"; }

var BIT = 0, BYTE = 1;
var buttons = [
  // bit offset, action, deck, whether it acts on the release too
  [42, "deckPlayPause", 0, false], [41, "deckPlayPause", 1, false],
  [55, "deckCue", 0, true], [54, "deckCue", 1, true],
  [43, "deckSync", 0, false], [40, "deckSync", 1, false],
  [51, "deckLBLoad", 0, false], [50, "deckLBLoad", 1, false]
];
var lastPad = 8;
var playing = [0, 0];

function controllerInit(id) {
  playing = [getValue("play", 0) === 1 ? 1 : 0, getValue("play", 1) === 1 ? 1 : 0];
  showDecks(id);
}

function controllerDeinit(id) {
  playing = [0, 0];
  showDecks(id);
}

// The light bar: report 5, flags 0x07 (rumble, light), two rumble bytes, then red, green, blue.
function showDecks(id) {
  var report = [5, 7, 0, 0, 0, playing[0] ? 160 : 8, 0, playing[1] ? 160 : 8];
  while (report.length < 32) report.push(0);
  sendHid(id, report, 32);
}

function messageReceivedHid(id) {
  for (var i = 0; i < buttons.length; i++) {
    var b = buttons[i];
    var down = getHidData(id, 0, BIT, b[0]);
    if (down === -1) continue;  // unchanged since the last report
    if (b[3]) call(b[1], b[2], down === 1 ? 127 : 0);  // held: press and release
    else if (down === 1) call(b[1], b[2]);            // a click
  }
  // Analog triggers and the stick: 0-255 becomes the sliders' 0-127.
  var l2 = getHidData(id, 0, BYTE, 8);
  if (l2 !== -1) call("setDeckVolume", 0, l2 >> 1);
  var r2 = getHidData(id, 0, BYTE, 9);
  if (r2 !== -1) call("setDeckVolume", 1, r2 >> 1);
  var x = getHidData(id, 0, BYTE, 1);
  if (x !== -1) call("setCrossfader", x >> 1);
  // The d-pad is a number in the low nibble, not one bit per direction.
  var pad = getHidData(id, 0, BYTE, 5, 1, 1) & 15;
  if (pad !== lastPad) {
    if (pad === 0) call("lbMoveCursor", -1);
    else if (pad === 4) call("lbMoveCursor", 1);
    else if (pad === 6) call("lbBrowserSelect", -1);
    else if (pad === 2) call("lbBrowserSelect", 1);
    lastPad = pad;
  }
}

function notificationReceived(id, name, deck, intValue, floatValue, stringValue) {
  if (name !== "play" || deck < 0 || deck > 1) return;
  playing[deck] = intValue ? 1 : 0;
  showDecks(id);
}
