#pragma once
// lumo analyse [--json] [--jobs N] PATH...
// Analyses every audio file it can decode under the given files and folders (recursively):
// tempo, beat grid, gain and key go to the song database and the stripes under the data root,
// and one line per track to stdout. Returns the process exit code.

int RunAnalyseCommand(int argc, char** argv);
