#pragma once
// Key codes as the shortcut file stores them (the numbering of wxWidgets 2.8) against the codes
// the window receives from wxWidgets 3.2. The two agree except for the twenty "special" keys,
// which 3.2 moved from 193-212 to 397-416; 3.2's media and browser keys have no stored code.
//
// Pure functions, any thread.

// The stored code for a key the window received; -1 for a key that cannot be stored.
int StoredKeyCode(int toolkitCode);
// The toolkit's code for a stored one.
int ToolkitKeyCode(int storedCode);
