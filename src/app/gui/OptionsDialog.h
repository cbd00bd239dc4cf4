#pragma once
// The options dialog opened by the `cfg` buttons: the "General" and "Audio && MIDI" pages built
// from ordinary widgets over the settings. It reads g_settings when it opens and holds nothing
// of its own; OK hands the collected values to ApplyChosenOptions, Cancel drops them.
//
// Threads: GUI thread.

#include <functional>
#include <string>
#include <vector>

class wxWindow;

// The MIDI inputs the controller layer can open; the dialog lists them with check boxes.
void SetMidiInputLister(std::function<std::vector<std::string>()> lister);
// What OK calls when the checked MIDI inputs changed.
void SetMidiSelectionApplier(std::function<void()> applier);

// Shows the dialog modally on `parent` and applies it on OK. `page` 0 opens "General", 1
// "Audio && MIDI". Returns true when OK was pressed.
bool ShowOptionsDialog(wxWindow* parent, int page = 0);
