#pragma once
// Questions and messages in the skin's own dialogs ("confirm_dialog" and "message_dialog"
// windows of the skin file), so they look like the rest of the program. The text goes to
// `special_dialog_message`, `special_dialog_ok` answers yes and `special_dialog_cancel` no. A
// skin without the window (or without its OK button) gets the plain toolkit box instead.
//
// Threads: GUI thread.

#include <string>

class wxWindow;

// Makes the two dialog windows the loader fills; call once before the first LoadSkin.
void CreateSkinDialogWindows(wxWindow* main);
// True when the user answered yes (OK).
bool AskConfirm(wxWindow* parent, const std::string& question);
void ShowSkinnedMessage(wxWindow* parent, const std::string& text);
