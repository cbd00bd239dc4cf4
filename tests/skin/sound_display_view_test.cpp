// The sound display on a real window (Xvfb), fed by the tick from a deck with its own loader
// and analysis threads playing a generated 120 BPM track: the wave scrolls by exactly what
// the deck played, the zoom buttons and the double-click seek answer the mouse. The two
// pictures are kept under build/artifacts.
#include <gtest/gtest.h>
#include <wx/image.h>
#include <wx/wx.h>

#include <cstdio>
#include <filesystem>
#include <vector>

#include "../analysis/SyntheticTrack.h"
#include "analysis/DeckStripeAnalysis.h"
#include "analysis/StripeFile.h"
#include "app/base/Realtime.h"
#include "audio/Threads.h"
#include "deck/SoundSource.h"
#include "library/SongDatabase.h"
#include "skin/ControlTable.h"
#include "skin/SkinLoader.h"
#include "skin/SoundDisplay.h"
#include "skin/SoundDisplayTick.h"
#include "skin/ZQMainWindow.h"
#include "support/SkinWindowHarness.h"
#include "support/TestFiles.h"
#include "support/WaitFor.h"

namespace {

ZQMainWindow* g_main = nullptr;

// How many pixels of each column differ from the background picture: the wave's height.
std::vector<int> ColumnProfile(const wxImage& picture, const wxImage& background, int from, int to) {
  std::vector<int> profile;
  for (int x = from; x < to; ++x) {
    int count = 0;
    for (int y = 0; y < picture.GetHeight(); ++y) {
      const int d = std::abs(picture.GetRed(x, y) - background.GetRed(x, y)) +
                    std::abs(picture.GetGreen(x, y) - background.GetGreen(x, y)) +
                    std::abs(picture.GetBlue(x, y) - background.GetBlue(x, y));
      count += d > 60;
    }
    profile.push_back(count);
  }
  return profile;
}

// The leftward shift of `later` against `earlier` that matches the two best.
int BestShift(const std::vector<int>& earlier, const std::vector<int>& later, int maxShift) {
  int best = -1;
  long bestError = -1;
  for (int shift = 0; shift <= maxShift; ++shift) {
    long error = 0;
    const int overlap = static_cast<int>(later.size()) - shift;
    for (int x = 0; x < overlap; ++x) error += std::abs(later[x] - earlier[x + shift]);
    error = error * 1000 / std::max(1, overlap);
    if (bestError < 0 || error < bestError) bestError = error, best = shift;
  }
  return best;
}

void Mouse(wxWindow* window, wxEventType type, int x, int y) {
  wxMouseEvent event(type);
  event.SetEventObject(window);
  event.SetPosition(wxPoint(x, y));
  event.m_leftDown = type == wxEVT_LEFT_DOWN || type == wxEVT_LEFT_DCLICK;
  window->GetEventHandler()->ProcessEvent(event);
}

TEST(SoundDisplayView, APlayingDeckScrollsItsWaveByWhatItPlayed) {
  TempFolder folder;
  std::filesystem::create_directories(folder.File("Stripes"));
  SetStripesFolder(folder.File("Stripes/"));
  LoadSongDatabase(folder.File("db.knx"));
  SyntheticRecipe recipe;
  recipe.seconds = 30.0;
  const std::string path = folder.File("beat-120.wav");
  ASSERT_TRUE(WriteWav(path, MakeSyntheticTrack(recipe).stereo));

  SetThreadsManual(false);
  CDeckStripeAnalysis analysis;
  auto deck = std::make_unique<CSoundSource>(0, folder.path());
  deck->SetAnalysis(&analysis);
  ASSERT_TRUE(deck->load(path, 0, nullptr, 1));
  ASSERT_TRUE(WaitFor([&] { return deck->isReady() && deck->analysed.load() && deck->percentLoaded() >= 100; },
                      kIdleWorkDeadline))
      << "the deck loads and analyses the track";

  auto* display = dynamic_cast<CZQSoundDisplayControl*>(ControlAt(ControlIdByName("sd_deck"), 0));
  ASSERT_NE(display, nullptr);
  ASSERT_TRUE(display->Placed());
  const wxImage background = display->Snapshot();  // the skin's lane, before any track
  CSoundSource* decks[1] = {deck.get()};
  const int zoom = display->ZoomLevel();

  auto play = [&](int frames) {
    rt::AudioThreadScope audio;
    float block[2 * 441];
    for (int done = 0; done < frames; done += 441) deck->GetSamples(block, 441);
  };
  // The first block parks the new track at its cue, as the audio thread does at once after a
  // load; then five seconds in, so the wave fills the display on both sides of the cursor.
  play(441);
  ASSERT_TRUE(deck->setPlaying(1));
  play(5 * 44100);
  RefreshSoundDisplays(decks, 1);
  const double before = deck->Position();
  const wxImage first = display->Snapshot();
  play(2 * 44100);
  RefreshSoundDisplays(decks, 1);
  const double after = deck->Position();
  const wxImage second = display->Snapshot();
  const std::string artifacts = LUMO_ARTIFACTS_DIR;
  std::filesystem::create_directories(artifacts);
  first.SaveFile(artifacts + "/sound-display-1.png", wxBITMAP_TYPE_PNG);
  second.SaveFile(artifacts + "/sound-display-2.png", wxBITMAP_TYPE_PNG);

  ASSERT_GT(after - before, 80000.0) << "the deck played";
  const int cursor = display->Map().Geometry().cursorPos;
  const int width = first.GetWidth();
  std::vector<int> earlier = ColumnProfile(first, background, cursor + 2, width - 40);
  std::vector<int> later = ColumnProfile(second, background, cursor + 2, width - 40);
  int drawn = 0;
  for (int height : earlier) drawn += height > 2;
  EXPECT_GT(drawn, static_cast<int>(earlier.size()) / 4) << "the wave is drawn right of the cursor";
  EXPECT_NE(earlier, later);
  // Two seconds are 882 stripe entries: at `zoom` entries a column the wave moves that far left.
  const double expected = (after - before) / 100.0 / zoom;
  EXPECT_NEAR(BestShift(earlier, later, static_cast<int>(expected * 1.5)), expected, 2.0);
  deck->setPlaying(0);

  // The "+" button halves the entries a column and tells the binding once.
  int zoomCalls = 0, lastZoomCall = 0;
  display->onZoom = [&](int call, int, int) { ++zoomCalls, lastZoomCall = call; };
  const int w = display->GetSize().GetWidth(), h = display->GetSize().GetHeight();
  Mouse(display, wxEVT_LEFT_DOWN, w - 11, h - 9);
  Mouse(display, wxEVT_LEFT_UP, w - 11, h - 9);
  EXPECT_EQ(display->ZoomLevel(), zoom / 2);
  EXPECT_EQ(zoomCalls, 1);
  EXPECT_EQ(lastZoomCall, CZQSoundDisplayControl::kZoomIn);
  // A double click asks for the frame under the pointer: at the cursor, where the deck is.
  int seekTo = -1;
  display->onDoubleClick = [&](int frame, int, int) { seekTo = frame; };
  Mouse(display, wxEVT_LEFT_DCLICK, cursor, h / 2);
  EXPECT_NEAR(seekTo, deck->Position(), 100.0 * zoom);
  display->onZoom = nullptr;
  display->onDoubleClick = nullptr;
  display->SetZoom(zoom);

  RefreshSoundDisplays(decks, 0);
  deck.reset();
  DropSongDatabase();
}

// A control of the given size and colours, placed on the main window outside any skin.
SkinAttributeList Attributes(int w, int h) {
  SkinAttributeList list;
  for (auto [name, value] : {std::pair{"posx", "0"}, {"posy", "0"}, {"graphics_mode", "1"}, {"backcolor", "#000000"},
                             {"datacolor", "#00ff00"}, {"cursorcolor", "#ffffff"},
                             {"dontshowtext", "yes"}, {"dontshowzoombuttons", "yes"}}) {
    list.Add(name, value);
  }
  list.Add("width", std::to_string(w));
  list.Add("height", std::to_string(h));
  return list;
}

bool IsGreen(const wxImage& image, int x, int y) {
  return image.GetRed(x, y) < 40 && image.GetGreen(x, y) > 200 && image.GetBlue(x, y) < 40;
}

TEST(SoundDisplayView, ATallDisplayScrollsDownwardsWithTheWaveAcross) {
  auto* display = new CZQSoundDisplayControl(g_main, 0, 0);
  SkinAttributeList list = Attributes(100, 300);
  display->LoadAttributes(list);
  ASSERT_TRUE(display->Vertical());
  std::vector<float> stripe(10000, 0.8f);
  SoundDisplayFeed feed;
  feed.stripe = stripe.data();
  feed.stripeLength = 10000;
  feed.positionFrames = 100.0 * 50;  // 50 entries in: at zoom 4 the song starts 12 rows above the cursor
  display->UpdateWave(feed);
  display->PaintControl();
  const wxImage picture = display->Snapshot();
  const int cursor = display->Map().Geometry().cursorPos;
  EXPECT_EQ(cursor, 100);
  const int row = cursor + 20;
  EXPECT_TRUE(IsGreen(picture, 50, row));  // the middle of the short side
  EXPECT_TRUE(IsGreen(picture, 20, row));  // 0.8 of the half width reaches 10 pixels in
  EXPECT_FALSE(IsGreen(picture, 3, row));
  EXPECT_TRUE(IsGreen(picture, 50, cursor - 30));  // before the song: the flat line only
  EXPECT_FALSE(IsGreen(picture, 40, cursor - 30));
  EXPECT_TRUE(IsGreen(picture, 40, cursor - 5));
  display->Destroy();
}

}  // namespace

ZQMainWindow* TestMainWindow() { return g_main; }

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  g_main = StartSkinWindow(argc, argv);
  if (!g_main) return 1;
  int result = 1;
  if (LoadSkin(std::string(LUMO_SOURCE_DIR) + "/data/skins/Zorvik Default 4 decks 1280x800.xml", g_main)) {
    result = RUN_ALL_TESTS();
  } else {
    std::fprintf(stderr, "the default skin does not load\n");
  }
  StopSkinWindow(g_main);
  return result;
}
