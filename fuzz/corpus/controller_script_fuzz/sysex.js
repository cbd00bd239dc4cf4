function getLanguageVersion() { return 1; }
function getSupportedMidiSysExIdString(i) { return "0020290100"; }
