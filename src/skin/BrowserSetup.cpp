#include "skin/BrowserSetup.h"

#include <wx/app.h>
#include <wx/defs.h>
#include <wx/eventfilter.h>

#include <memory>

#include "app/DataFolders.h"
#include "app/Engine.h"
#include "app/Language.h"
#include "deck/SoundSource.h"
#include "library/LibraryPanel.h"
#include "skin/ControlTable.h"
#include "skin/DropZone.h"
#include "skin/EditText.h"
#include "skin/ZQCustomControl.h"

namespace {

// Enter loads on the deck the DJ last touched: a press on any control of a deck makes it the
// panel's focused deck.
class DeckTouchFilter : public wxEventFilter {
 public:
  int FilterEvent(wxEvent& event) override {
    if (event.GetEventType() != wxEVT_LEFT_DOWN) return Event_Skip;
    auto* control = dynamic_cast<ZQCustomControl*>(event.GetEventObject());
    LibraryPanel* panel = CurrentLibraryPanel();
    if (control && panel && control->Deck() >= 0) panel->SetFocusedDeck(control->Deck());
    return Event_Skip;
  }
};

std::unique_ptr<LibraryPanel> g_libraryPanel;
DeckTouchFilter g_deckTouchFilter;

}  // namespace

void CreateLibraryPanel() {
  auto browser = std::make_unique<CZQBrowser>(Folders().database, Folders().playlists,
                                              [](int number) { return LangString(number); });
  browser->analyze = [](const std::string& path) { EngineEnqueueForAnalysis(path); };
  auto loader = [](int deck, const std::string& path) {
    CSoundSource* source = deck >= 0 && deck < kDeckCount ? g_engine.decks[deck] : nullptr;
    return source && source->load(path, 0, nullptr, 1) != 0;
  };
  g_libraryPanel = std::make_unique<LibraryPanel>(std::move(browser), loader);
  g_libraryPanel->browser().LoadLists();
  g_libraryPanel->Build();
  SetCurrentLibraryPanel(g_libraryPanel.get());
  wxEvtHandler::AddFilter(&g_deckTouchFilter);
  AcceptDropsOnDeckControls();
  // A song the file worker analysed shows its tempo, length and key in every list. The worker
  // reports on its own thread; the lists are the GUI thread's, so the news is posted there.
  EngineAnalysisHooks hooks;
  hooks.songAnalysed = [](const std::string& bareName) {
    if (!wxTheApp) return;
    wxTheApp->CallAfter([bareName] {
      if (LibraryPanel* panel = CurrentLibraryPanel()) {
        panel->browser().SongAnalysed(bareName);
        panel->MarkChanged();
      }
    });
  };
  EngineSetAnalysisHooks(std::move(hooks));
  // The search stop button empties the search box, and with it the search.
  if (ZQCustomControl* stop = ControlAt(ControlIdByName("search_stop"), -1))
    stop->onPress = [](int, int, int) { ClearSearchBox(); };
}

void DestroyLibraryPanel() {
  if (!g_libraryPanel) return;
  SetCurrentLibraryPanel(nullptr);
  wxEvtHandler::RemoveFilter(&g_deckTouchFilter);
  g_libraryPanel->browser().SaveLists();
  g_libraryPanel.reset();
}

int NavigationKeyOf(int keyCode) {
  switch (keyCode) {
    case WXK_UP: case WXK_NUMPAD_UP: return kNavUp;
    case WXK_DOWN: case WXK_NUMPAD_DOWN: return kNavDown;
    case WXK_PAGEUP: case WXK_NUMPAD_PAGEUP: return kNavPageUp;
    case WXK_PAGEDOWN: case WXK_NUMPAD_PAGEDOWN: return kNavPageDown;
    case WXK_HOME: case WXK_NUMPAD_HOME: return kNavHome;
    case WXK_END: case WXK_NUMPAD_END: return kNavEnd;
    case WXK_LEFT: case WXK_NUMPAD_LEFT: return kNavLeft;
    case WXK_RIGHT: case WXK_NUMPAD_RIGHT: return kNavRight;
    case WXK_RETURN: case WXK_NUMPAD_ENTER: return kNavEnter;
    case WXK_TAB: return kNavTab;
    default: return 0;
  }
}

void SendNavigationKey(ZQCustomControl& control, wxKeyEvent& event) {
  // In learn mode every key goes on to be learned.
  if (NavigationKeyOf(event.GetKeyCode()) == 0 || event.HasModifiers() || control.LearnMode()) {
    event.Skip();
    return;
  }
  ControlEvent key;
  key.kind = kEventCharacter;
  key.x = event.GetKeyCode();
  control.SendEvent(key);
}

void RepaintOnPanelChange(ZQCustomControl& control, unsigned& drawnRevision) {
  LibraryPanel* panel = CurrentLibraryPanel();
  if (!panel || !control.IsShown() || panel->Revision() == drawnRevision) return;
  drawnRevision = panel->Revision();
  control.Repaint();
}

int LibraryRowHeight(int lineHeight, const wxFont& font) {
  return lineHeight >= 8 ? lineHeight : font.GetPixelSize().GetHeight() + 4;
}

LibraryScrollBar::LibraryScrollBar(int width, int trackTop, int height, int visibleLines, int totalLines, int firstLine)
    : left(width - kWidth), top(trackTop) {
  model.SetTrackSize(height);
  model.SetMinimalThumb(16);
  model.SetVisibleLines(visibleLines);
  model.SetTotalLines(totalLines);
  model.SetLineOffset(firstLine);
}

int LibraryScrollBar::FirstLineAt(int y) {
  model.SetPixelOffset(y - top - model.thumbSize / 2);
  return model.lineOffset;
}

void LibraryScrollBar::Paint(wxDC& dc, const wxColour& colour) const {
  if (model.totalLines <= model.visibleLines) return;
  dc.SetPen(*wxTRANSPARENT_PEN);
  dc.SetBrush(wxBrush(colour));
  dc.DrawRoundedRectangle(left + 3, top + model.pixelOffset, kWidth - 6, model.thumbSize, 3);
}
