#pragma once
// The window's controller layer: MIDI and HID devices with their scripts, and the key and MIDI
// shortcut tables, tied to the catalogue controls. Everything they do reaches a control as a
// mouse press would, through its learn guard.
//
// Threads: GUI thread; the MIDI drivers only post a wake-up to it.

class wxKeyEvent;
class wxWindow;

// After the controls, the settings and the skin exist: loads the shortcut files and the
// controller scripts, opens the enabled MIDI inputs and hands the skin's script to the host.
void StartControllers(wxWindow* window);
// The main tick's step: drain, match, poll, hot-plug, notifications.
void TickControllers();
// A key the window did not use; true when a shortcut (or learn) took it.
bool ControllersTakeKey(const wxKeyEvent& event);
// Writes the shortcut files and closes every device.
void StopControllers();
