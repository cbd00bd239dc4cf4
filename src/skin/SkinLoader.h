#pragma once
// Loading a skin onto the main window: every catalogue control is hidden, the file's elements
// place and show the controls they name, private controls and tab groups are rebuilt, and the
// scripts in the file's attributes are collected into one "skin.js". Loading the same file twice
// gives the same window; a file that cannot be read, has another root or no bitmap leaves the
// old skin in place.
//
// Threads: GUI thread only, inside an event handler (the tick must not write a control while
// it moves). Ownership: the loader owns the private controls and groups.

#include <functional>
#include <string>
#include <vector>

#include "skin/model/SkinAttributeList.h"
#include "skin/model/SkinList.h"
#include "skin/model/SkinTemplates.h"

class ZQMainWindow;
class ZQCustomControl;
class ZQCustomGroup;
class ZQBaseWindow;
class wxComboBox;

constexpr int kMaxPrivateControls = 2000;
constexpr int kMaxPrivateGroups = 10;
constexpr size_t kSkinScriptCapacity = 65536;

// Loads the skin whose XML file is `path`. Returns true when the file was applied (false: the
// old skin stands).
bool LoadSkin(const std::string& path, ZQMainWindow* mainWindow);
// The file of the skin loaded last; empty before the first load.
const std::string& CurrentSkinPath();

// Linear lookups of the private tables; -1 when absent.
int FindControlByName(const std::string& name);
int FindGroupByName(const std::string& name);
ZQCustomControl* PrivateControl(int slot);
ZQCustomGroup* PrivateGroup(int slot);

// The current templates (the skin's, or the defaults), and who rebuilds from them.
const SkinAttributeList& CurrentTemplate(int kind);
void SetTemplateListener(std::function<void(int kind, const SkinAttributeList&)> listener);

// The rectangle a skin gives the video preview; all -1 without one.
struct VideoPreviewPlacement {
  bool present = false;
  int x = -1, y = -1, width = -1, height = -1;
};
const VideoPreviewPlacement& SkinVideoPreview();

// The script text collected by the last load ("skin.js"). The script host evaluates it through
// the evaluator (false: not evaluated) and runs the private buttons' functions through the caller.
const std::string& SkinScriptText();
void SetSkinScriptEvaluator(std::function<bool(const std::string& name, const std::string& text)> evaluator);
void SetSkinScriptCaller(std::function<void(const std::string& function, int x, int y, int button)> caller);

// A dialog window a skin's "confirm_dialog" or "message_dialog" element configures.
void SetSkinDialogWindow(int windowIndex, ZQBaseWindow* window);
ZQBaseWindow* SkinDialogWindow(int windowIndex);

// The skins found by ListSkins, in scan order.
std::vector<SkinListEntry>& SkinTable();
// Scans a folder into the skin table and, when given, a combo box (selecting `selectedName`).
void ListSkins(const std::string& folder, wxComboBox* comboBox, const std::string& selectedName);

// A skin picked in the options: refused with a message box when it is wider or higher than the
// display, otherwise loaded. True when it was loaded.
bool LoadChosenSkin(const SkinListEntry& skin, ZQMainWindow* mainWindow);

// Destroys the private controls and groups (the main window's close).
void ReleaseSkinObjects();
