#pragma once
// The user's preferences: plain values with their defaults in the initialisers, filled from
// config.xml at start (ReadConfig), pushed into the engine (ApplySettings) and written back at
// close and after the options dialog (WriteConfig).
//
// Every setting is one row of SettingsTable(): its key, its field, and the range a sensible
// value lies in. The reader, the writer and the fuzz target go through that table alone, so a
// new setting is one field here and one row there.
//
// Threads: main thread only. The audio thread never reads these; ApplySettings copies what it
// needs into the engine's atomics.

#include <string>
#include <vector>

struct Settings {
  std::string skinf1;
  std::string audio0;  // device names; empty: the machine's default device
  std::string audio1;  // empty: no secondary device
  int audmod = 0, nvideo = 0, naudio = 0, latncy = 2880, ptchrg = 3, maxram = 1, fltmod = 2,
      cfcurv = 50, bmatch = 0, jscrat = 1, hqtime = 0, resetd = 1, rmbreq = 1, apgain = 1,
      mixlst = 0, histry = 1, evideo = 1, opengl = 0, vidhqm = 1, videof = 0, videox = 16,
      videoy = 100, videow = 400, videoh = 370, remain = 0, extmix = 0, dsblcf = 0, mixtim = 100,
      alimit = 0, random = 0, keylk0 = 0, keylk1 = 0, keylk2 = 0, keylk3 = 0, mixaut = 0,
      revmmo = 0, slowrt = 1, ptchjw = 0, usecup = 1, usedim = 1, disacu = 0, sampv1 = 0,
      sampp1 = 0, sampit = 8, tctype = 0, dhints = 1;
  std::string crshur;  // where crash reports go (http://host[:port]/path); empty: never sent
  int httpsv = 0;      // port of the remote-control HTTP server; 0: not started
  int jckprt = 0;      // JACK ports (2 to 12) for the output layout; 0: 4, or 8 with an external mixer
  std::string httpad = "127.0.0.1";  // address it listens on
  std::string cddbsv;  // CDDB server for CD titles, "host[:port]"; empty: nothing leaves the machine
  int cdparn = 1;      // CD error recovery: 0 none, 1 drives, 2 drives and disc images
  std::string bpmrng = "auto";  // preferred tempo range: "auto", "60-120" ... "100-200"
  std::string audinp = "none";  // live-input capture device ("API: name"); "none": no capture
  std::vector<std::string> midiInputs;  // names of the enabled MIDI inputs, at most 16
};
extern Settings g_settings;

struct SettingRow {
  const char* key;
  int Settings::*number;          // exactly one of number and text is set
  std::string Settings::*text;
  int minimum, maximum;           // numbers outside are clamped when read, with a log line
  bool read = true;               // false: written, never read back (opengl)
};
const std::vector<SettingRow>& SettingsTable();
constexpr int kMaxMidiInputs = 16;

// Parses config.xml text into `into`. A repeated key takes its last value. Returns false, with
// the reason in the log, when the text is not a settings document; `into` keeps its values.
bool ParseConfigText(const std::string& text, Settings& into);
// The file's text, rows in table order, then the MIDI inputs.
std::string ConfigText(const Settings& settings);

// Reads the file into g_settings. A missing file leaves the defaults. A damaged one (empty,
// not XML, another root) leaves the defaults and is kept aside as "<path>.broken".
void ReadConfig(const std::string& path);
// Writes g_settings atomically (CollectSettings first takes back what the engine changed).
// False, with "can not save settings to <path>" in the log and `message`, when it could not:
// the old file is then untouched.
bool WriteConfig(const std::string& path, std::string* message = nullptr);

// Pushes g_settings into the engine's objects that exist; the device names become indices in
// the output table (enumerate first). Safe to call again after the options dialog.
void ApplySettings();
// Takes back into g_settings what the engine owns (device choice, mode, key locks).
void CollectSettings();

// maxram's choice as a track memory limit in KiB; -1 for a value that leaves it alone.
int TrackMemoryLimitForChoice(int maxram);
