#include "HelpText.h"

#include <cctype>
#include <cstring>

#ifndef LUMO_VERSION
#define LUMO_VERSION "0.0"
#endif

namespace {

const char* const kDeviceText =
    "Output device: its number in `lumo devices`, its name, \"jack\" for the JACK server, or "
    "\"null\" for the silent real-time output.";

const OptionHelp kRecordHelp{
    "--record OUT.wav|OUT.mp3",
    "Record the master bus through the program's recorder: 16-bit WAV, or 128 kbps MP3 when LAME "
    "(libmp3lame.so.0) is installed. With --record, render needs no -o."};
const OptionHelp kSamplerHelp{
    "--sampler N:FILE[:AT_S]",
    "Load FILE on sampler N (1 to 8) and fire it AT_S seconds in (default 0); may be given "
    "more than once."};

const std::vector<CommandHelp> kCommands = {
    {"devices", "lumo devices", "List the output devices, numbered.",
     "System devices (ALSA, and PulseAudio or PipeWire where a server runs) come first, then "
     "the JACK server if one runs. The numbers are the ones --device takes.",
     {}},
    {"play",
     "lumo play FILE [--device DEVICE] [--seconds S] [--input DEVICE|none] [--record OUT.wav|OUT.mp3] "
     "[--sampler N:FILE[:AT_S]]",
     "Play a file on deck A through a sound device.",
     "Loads FILE on deck A, plays it from its first sound with a one-line progress display and "
     "exits when the track ends, printing \"played: deck ended=1 device=NAME frames=N\".",
     {{"--device DEVICE", kDeviceText}, {"--seconds S", "Stop after S seconds."},
      {"--input DEVICE|none",
       "Capture live input from DEVICE (\"API: name\" as the options dialog lists it, for example "
       "\"Jack: system\") onto the microphone channel, in place of the audinp "
       "setting for this run; \"none\" captures nothing. A device that will not open fails "
       "the command and lists the input devices there are."},
      kRecordHelp, kSamplerHelp}},
    {"render",
     "lumo render FILE -o OUT.wav [--seconds S] [--block FRAMES] [--float] [--start S] [--seek S] "
     "[--record OUT.wav|OUT.mp3] [--sampler N:FILE[:AT_S]] [MIXER AND DECK OPTIONS]",
     "Render a file through the engine into a WAV file, faster than real time.",
     "Pulls the real engine through the offline output as fast as the machine allows and "
     "writes what the master bus carried: 16-bit by default.",
     {{"-o, --output OUT.wav", "The file to write."},
      {"--seconds S", "Render S seconds (default: the whole track)."},
      {"--block FRAMES", "Frames per mixed block, 1 to 4410 (default 360)."},
      {"--float", "Write 32-bit float samples instead of 16-bit."},
      {"--start S", "Begin playing S seconds into the track (through the deck's seek)."},
      {"--seek S", "After the first second, jump to S seconds, as a DJ's jump would."},
      {"--volume 0..127", "Deck A's channel fader position (127 is 0 dB)."},
      {"--crossfader 0..127", "The crossfader position at the default curve; deck A is on the left."},
      {"--eq LOW,MID,HIGH", "The three equaliser bands in dB, each -100 to 12."},
      {"--kill low|mid|high", "Kill a band; may be given more than once."},
      {"--filter -99..99", "The cut-off knob: below 0 low-pass, above 0 high-pass."},
      {"--fx NAME[:WET[:P1[:P2]]]",
       "Switch on a channel effect by its action name (fxBeatwaw, fxPan, fxFlanger, fxDelay, fxReverb, "
       "fxEcho, fxPhaser; the other flanger places as fxFlanger2, 3, 5, 6), with its mix 0 to 1 "
       "and two parameters 0 to 1000; fxLevelControl, fxCompressor and fxLimiter join the user "
       "chain. May be given more than once."},
      {"--chain FILE.knf", "Load a user effect chain file on the channel."},
      {"--limiter on|off", "The master limiter on the master bus (default: the alimit setting)."},
      {"--pitch PERCENT", "Deck A's pitch in percent, within --range."},
      {"--range PERCENT", "The pitch fader's range, 1 to 100 (default 100)."},
      {"--keylock splice|rubberband", "Keep the key while the pitch changes, by either method."},
      {"--key-shift CENTS", "Shift the key by -2400 to 2400 cents."},
      {"--cue S", "Set the cue point at S seconds."},
      {"--hotcue N:S", "Set hot cue N (1 to 8) at S seconds; may be given more than once."},
      {"--loop START_S:BEATS",
       "A beat loop from START_S seconds, BEATS a power of two from 1/16 to 32."},
      {"--reverse AT_S", "Play in reverse from AT_S seconds of the render."},
      {"--brake AT_S", "Brake to a standstill from AT_S seconds of the render."},
      kRecordHelp, kSamplerHelp}},
    {"analyse", "lumo analyse [--json] [--jobs N] [--force] [--range R] PATH...",
     "Analyse files and folders: tempo, beat grid, gain and key, into the library.",
     "Takes files and folders (recursively), shows files done and time left, stores each result "
     "in the song database and a stripe file under the data root, and prints one line per "
     "track (BPM, confidence, gain, key). Songs already analysed are skipped; a file that "
     "cannot be analysed gets its own line and makes the command exit 1.",
     {{"--json", "Print one JSON object per file instead."},
      {"-j, --jobs N", "Analyse N files at once (1 to 64, default 1)."},
      {"--force", "Analyse again songs that already have a tempo and a stripe."},
      {"--range R",
       "Fold tempi by octaves into R: auto (the default), 60-120, 70-140, 80-160, 90-180 or "
       "100-200."}}},
    {"probe", "lumo probe [--json] FILE...", "Show what the decoders make of each file.",
     "For each file: the decoder that takes it, the file's own sample rate and channels, the "
     "length in the engine's 44100 Hz frames and where the music starts, as a deck would open "
     "it. A file no decoder takes is reported and makes the command exit 1.",
     {{"--json", "Print one JSON object per file instead."}}},
    {"list", "lumo list [NAME] [--json] [--import PATH]... [--playlist P] [--export FILE.m3u]",
     "Show the library's lists, fill one, or export it.",
     "Without NAME: the lists and their row counts. With NAME: the list's rows (title, artist, "
     "BPM, key, length).",
     {{"--json", "Print JSON lines instead."},
      {"--import PATH",
       "Add to list NAME (made when missing) an .m3u, .m3u8 or .knl playlist, a folder "
       "(recursively), an audio file, or an iTunes library .xml. May be given more than once."},
      {"--playlist P", "With an iTunes library: only playlist P, by name or id."},
      {"--export FILE.m3u", "Write list NAME as an extended .m3u."}}},
    {"search", "lumo search TEXT [--list NAME] [--json]", "Search the library as the browser does.",
     "The rows of every list (or of list NAME) whose title, artist, comment or album holds "
     "TEXT, in any case.",
     {{"--list NAME", "Search only this list."}, {"--json", "Print JSON lines instead."}}},
    {"cd", "lumo cd [DRIVE|IMAGE.cue] [--server HOST[:PORT]] [--timeout S]",
     "List optical drives, or the tracks of an audio CD with their titles.",
     "Without a source: the drives and whether each holds an audio disc. With a drive "
     "(/dev/sr0) or a disc image (.cue): the disc id and each track's length and path, which "
     "lumo render and the decks take (/dev/sr0/Track01.cda). Titles are looked up only when a "
     "CDDB server is named: nothing leaves the machine otherwise.",
     {{"--server HOST[:PORT]", "The CDDB server to ask for titles (port 8880 by default)."},
      {"--timeout S", "Give the server S seconds to answer."}}},
    {"serve", "lumo serve [--port N] [--address A] [--seconds S]",
     "Run the simple HTTP server in the foreground.",
     "Answers every request with a page echoing its path, until a POST to /stopServer, Ctrl-C "
     "or --seconds. It listens on 127.0.0.1 unless told otherwise.",
     {{"--port N", "The port (default: the httpsv setting, else 8080)."},
      {"--address A", "The address to listen on (default: the httpad setting, else 127.0.0.1)."},
      {"--seconds S", "Stop after S seconds."}}},
    {"automix",
     "lumo automix LIST.m3u|LIST.knl|FOLDER -o MIX.wav|MIX.mp3 [--realtime] [--device DEVICE] [--mixtime S] "
     "[--shuffle] [--json] [--demo]",
     "Mix a whole playlist unattended, with beat-matched transitions, into a file.",
     "Analyses the songs that have no tempo yet, then plays the list on decks A and B with Auto-Mix: "
     "each fade starts the fade time before the outgoing song's last sound, the incoming song is "
     "beat-matched in the first third of the fade and glides back to its own tempo afterwards. "
     "Prints one line per transition (time, songs, tempi, pitch, how far apart the beats were when "
     "the fade started and ended). Songs that are missing, undecodable or empty are skipped. "
     "Offline by default: as fast as the machine goes, and the same list gives the same file.",
     {{"-o, --output MIX.wav", "The file the mix is recorded to: .wav, or .mp3 when LAME is installed."},
      {"--realtime", "Play the set through a sound device in real time (still recorded to the file)."},
      {"--device DEVICE", kDeviceText},
      {"--mixtime S", "The fade time in seconds, 0.1 to 600 (default: the mixtim setting, 10 s)."},
      {"--shuffle", "Take the songs in random order."},
      {"--json", "One JSON object per transition and per skipped song."},
      {"--demo", "Mix a generated demo set of three short tracks at 118, 124 and 130 BPM instead of LIST."}}},
    {"controllers", "lumo controllers [--scripts DIR] [--api alsa|jack]",
     "List MIDI and HID controllers and the script each one matched, and why.",
     "Loads the controller scripts, opens every MIDI input, sends each the MIDI identity request "
     "and waits a second and a half: a device is tied to a script by its identity reply (\"sysex "
     "id\"), else by its port name (\"device name\"); a HID device by its USB vendor and product "
     "ids (\"VID/PID\"). A MIDI device without a script goes to the learn map. Exits 1 when MIDI "
     "cannot start.",
     {{"--scripts DIR", "Read the controller scripts from DIR (default: the shipped controllers folder)."},
      {"--api alsa|jack", "The MIDI system (default: ALSA when the sequencer exists, else JACK)."}}},
    {"midi-monitor", "lumo midi-monitor [--port NAME] [--api alsa|jack] [--seconds S]",
     "Print the messages arriving on the MIDI inputs.",
     "One line per message: time, port, kind, channel (1 to 16) and the data bytes, in decimal and "
     "in hexadecimal. Clock and active sensing are left out. Runs until Ctrl-C or --seconds; exits "
     "1, naming the problem, when MIDI cannot start or no input can be opened.",
     {{"--port NAME", "Listen only to inputs whose name contains NAME."},
      {"--api alsa|jack", "The MIDI system (default: ALSA when the sequencer exists, else JACK)."},
      {"--seconds S", "Stop after S seconds."}}},
    {"demo", "lumo demo [--device DEVICE] [--seconds S]",
     "Play a short generated demo track.",
     "Writes an 8-second generated track and plays it through JACK when a server runs, "
     "otherwise the first sound device, otherwise the null output.",
     {{"--device DEVICE", kDeviceText}, {"--seconds S", "Stop after S seconds."}, kRecordHelp,
      kSamplerHelp}},
};

// "-o, --output OUT.wav" -> names {"-o", "--output"}, takes a value.
bool MatchesForm(const char* form, const std::string& word, bool* takesValue) {
  std::string text = form;
  bool matched = false;
  *takesValue = false;
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find_first_of(", ", at);
    std::string token = text.substr(at, end == std::string::npos ? std::string::npos : end - at);
    if (!token.empty()) {
      // "-o" and "--filter" are names; "-99..99" is the placeholder of a value.
      const size_t letter = token.find_first_not_of('-');
      if (token[0] == '-' && letter != std::string::npos && std::isalpha(static_cast<unsigned char>(token[letter]))) {
        matched = matched || token == word;
      } else {
        *takesValue = true;
      }
    }
    if (end == std::string::npos) break;
    at = end + 1;
  }
  return matched;
}

void AppendWrapped(std::string& out, const std::string& text, const std::string& indent) {
  constexpr size_t kWidth = 78;
  size_t column = 0;
  size_t at = 0;
  out += indent;
  column = indent.size();
  while (at < text.size()) {
    size_t end = text.find(' ', at);
    std::string word = text.substr(at, end == std::string::npos ? std::string::npos : end - at);
    if (column > indent.size() && column + 1 + word.size() > kWidth) {
      out += "\n" + indent;
      column = indent.size();
    } else if (column > indent.size()) {
      out += ' ';
      ++column;
    }
    out += word;
    column += word.size();
    if (end == std::string::npos) break;
    at = end + 1;
  }
  out += '\n';
}

// Roff needs its hyphens and backslashes escaped, and a line may not start with a dot.
std::string Roff(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '-') {
      out += "\\-";
    } else if (c == '\\') {
      out += "\\e";
    } else {
      out += c;
    }
  }
  if (!out.empty() && (out[0] == '.' || out[0] == '\'')) out = "\\&" + out;
  return out;
}

}  // namespace

const std::vector<CommandHelp>& LumoCommands() { return kCommands; }

const CommandHelp* FindCommandHelp(const std::string& name) {
  for (const CommandHelp& command : kCommands) {
    if (name == command.name) return &command;
  }
  return nullptr;
}

OptionKind ClassifyOption(const CommandHelp& command, const std::string& word) {
  std::string name = word.substr(0, word.find('='));
  for (const OptionHelp& option : command.options) {
    bool takesValue = false;
    if (MatchesForm(option.form, name, &takesValue)) {
      // "--jobs=4" carries its value in the same word.
      return takesValue && name.size() == word.size() ? OptionKind::kValue : OptionKind::kFlag;
    }
  }
  return OptionKind::kUnknown;
}

std::string OverviewText() {
  std::string out =
      "Zorvik Lumo's engine from the command line: play, render and analyse tracks without the "
      "window.\n\nusage: lumo [--config FILE] COMMAND [OPTIONS]\n       lumo COMMAND --help\n"
      "       lumo --version\n\n"
      "  --config FILE  settings to use instead of the data root's Settings/config.xml\n\n"
      "Commands:\n";
  for (const CommandHelp& command : kCommands) {
    std::string name = command.name;
    out += "  " + name + std::string(name.size() < 10 ? 10 - name.size() : 1, ' ') + command.summary + "\n";
  }
  out += "\nThe data root is ~/Documents/Zorvik-Lumo (ZORVIK_LUMO_HOME overrides it).\n";
  return out;
}

std::string CommandHelpText(const CommandHelp& help) {
  std::string out = std::string("usage: ") + help.synopsis + "\n\n";
  AppendWrapped(out, help.summary, "");
  out += '\n';
  AppendWrapped(out, help.details, "");
  if (!help.options.empty()) {
    out += "\nOptions:\n";
    for (const OptionHelp& option : help.options) {
      out += std::string("  ") + option.form + "\n";
      AppendWrapped(out, option.text, "      ");
    }
  }
  return out;
}

std::string VersionText() { return std::string("lumo (Zorvik Lumo) ") + LUMO_VERSION + "\n"; }

std::string ManualPage(const std::string& date) {
  std::string out = ".TH LUMO 1 \"" + date + "\" \"Zorvik Lumo " LUMO_VERSION "\" \"User Commands\"\n";
  out += ".SH NAME\nlumo \\- Zorvik Lumo's DJ engine from the command line\n";
  out += ".SH SYNOPSIS\n.B lumo\n.RB [ \\-\\-config\n.IR FILE ]\n.I COMMAND\n.RI [ OPTIONS ]\n.br\n";
  for (const CommandHelp& command : kCommands) out += ".B " + Roff(command.synopsis) + "\n.br\n";
  out += ".B lumo \\-\\-version\n";
  out += ".SH DESCRIPTION\n" +
         Roff("lumo drives the engine of the Zorvik Lumo DJ program without its window: it plays "
              "and renders tracks through the real decks and mixer, and analyses music into the "
              "library the program uses. Every command also takes --help.") +
         "\n.SH COMMANDS\n";
  for (const CommandHelp& command : kCommands) {
    out += ".SS " + Roff(command.synopsis) + "\n" + Roff(command.summary) + "\n.PP\n" +
           Roff(command.details) + "\n";
    for (const OptionHelp& option : command.options) {
      out += ".TP\n.B " + Roff(option.form) + "\n" + Roff(option.text) + "\n";
    }
  }
  out += ".SH GLOBAL OPTIONS\n.TP\n.B \\-\\-config FILE\n" +
         Roff("Read the settings from FILE instead of the data root's Settings/config.xml. It "
              "comes before the command.") +
         "\n";
  out += ".SH ENVIRONMENT\n.TP\n.B ZORVIK_LUMO_HOME\n" +
         Roff("The data root (song database, stripes, settings, lists). Default: Zorvik-Lumo in the "
              "XDG documents folder.") +
         "\n.TP\n.B ZORVIK_LUMO_DATA\n" +
         Roff("Where the shipped skins, samples and languages are. Default: data beside the program, "
              "else the installed share/zorvik-lumo folder.") +
         "\n.TP\n.B JACK_DEFAULT_SERVER\n" + Roff("The JACK server --device jack connects to.") + "\n";
  out += ".SH EXIT STATUS\n" +
         Roff("0 when the command did its work, 1 when it failed (the message names what failed), "
              "2 for a usage error: an unknown command or option, or a bad value.") +
         "\n.SH SEE ALSO\n.BR zorvik-lumo (1)\n";
  return out;
}
