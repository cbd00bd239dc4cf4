#include "app/gui/WindowControls.h"

#include <initializer_list>

#include "skin/ControlTable.h"
#include "skin/SkinControls.h"
#include "skin/SkinLoader.h"
#include "skin/ZQMainWindow.h"

namespace {

// The selector buttons of the main group's pages: the four decks' effects, then microphone,
// master and samplers. Selecting one shows its page and releases the others; releasing the
// selected one goes back to page 0, the library.
struct PageSelector {
  const char* name;
  int deck;
  int page;
};
const PageSelector kSelectors[] = {{"fx_sel", 0, 1},         {"fx_sel", 1, 2},        {"fx_sel", 2, 3},
                                   {"fx_sel", 3, 4},         {"fx_mic_sel", -1, 5},   {"fx_master_sel", -1, 6},
                                   {"fx_samples_sel", -1, 7}};

CZQButton* Button(const char* name, int deck) {
  return dynamic_cast<CZQButton*>(ControlAt(ControlIdByName(name), deck));
}

void OnRelease(std::initializer_list<const char*> names, ControlCallback callback) {
  for (const char* name : names) {
    if (CZQButton* button = Button(name, -1)) button->onRelease = callback;
  }
}

}  // namespace

void BindWindowControls(ZQMainWindow* main) {
  OnRelease({"close", "close2"}, [](int, int, int) {
    if (ZQMainWindow* window = MainWindow()) window->Close();
  });
  OnRelease({"minimize", "minimize2"}, [](int, int, int) {
    if (ZQMainWindow* window = MainWindow()) window->Iconize();
  });
  OnRelease({"maximize", "maximize2"}, [](int, int, int) {
    if (ZQMainWindow* window = MainWindow()) window->ToggleFullScreen();
  });
  OnRelease({"reload_skin"}, [](int, int, int) {
    if (ZQMainWindow* window = MainWindow(); window && !CurrentSkinPath().empty()) {
      std::string path = CurrentSkinPath();
      window->CallAfter([window, path] { LoadSkin(path, window); });  // not from inside a control's own event
    }
  });
  for (const PageSelector& selector : kSelectors) {
    CZQButton* button = Button(selector.name, selector.deck);
    if (!button) continue;
    button->onPress = [main, selector](int selected, int, int) {
      for (const PageSelector& other : kSelectors) {
        CZQButton* otherButton = Button(other.name, other.deck);
        if (otherButton && (other.page != selector.page)) otherButton->SetSelected(false);
      }
      main->MainGroup().ShowPanel(selected ? selector.page : 0);
    };
  }
}
