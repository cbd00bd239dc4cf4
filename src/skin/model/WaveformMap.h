#pragma once
// The sound display's geometry, without a toolkit: which stripe entries each pixel column of
// the scrolling waveform shows, where the cue, loop and cursor lines fall, and the beat clock
// (beat of the bar, phase against another deck) read from the stripe's beat marks.
//
// One unit system: everything that scrolls is measured in stripe entries, one entry per 100
// frames (441 a second). Deck positions, cues and loops arrive in frames and are divided by
// kFramesPerEntry once, at the door. A pixel column covers `step * zoom` entries: `step` is the
// caller's scale (entries per pixel at zoom 1) and zoom, a power of two from 1 to 16, widens
// the view. The play position always stands on column `cursorPos` of the long side.
//
// Threads: any, one object per display. Allocation-free after SetGeometry.

#include <vector>

constexpr double kFramesPerEntry = 100.0;
constexpr int kMinZoom = 1;
constexpr int kMaxZoom = 16;

// What a column draws.
enum class WaveColumn : unsigned char {
  kOutside,  // left of the song's start or past its end: the flat middle line
  kSignal,   // a bar of `amplitude` around the middle
  kBeat,     // a beat mark: a thin gap in the wave
};

struct WaveGeometry {
  int longSide = 0;
  int shortSide = 0;
  bool vertical = false;
  int cursorPos = 0;
};

class WaveformMap {
 public:
  // The control's size and the skin's `cursorpos`. A display higher than wide is vertical and
  // its long side is the height; a cursor outside the long side stands at one third of it.
  void SetGeometry(int width, int height, int cursorPos);
  const WaveGeometry& Geometry() const { return geometry_; }

  // The zoom buttons: 1 ("-") doubles the entries per column up to 16, 2 ("+") halves them
  // down to 1. Anything else leaves the zoom alone. Returns the zoom in force.
  int Zoom(int button);
  void SetZoom(int zoom);
  int ZoomLevel() const { return zoom_; }
  void SetStep(double entriesPerPixel);
  double EntriesPerPixel() const { return step_ * zoom_; }

  // Fills one column per pixel of the long side for a play position in entries. Columns are
  // laid on a grid of whole columns from the song's start, so the drawing does not shimmer
  // as it scrolls; what is left over (Remainder, 0..1 column) moves the marks smoothly.
  void MapColumns(double positionEntries, const float* stripe, int length);
  const std::vector<WaveColumn>& Kinds() const { return kinds_; }
  const std::vector<float>& Amplitudes() const { return amplitudes_; }
  double Remainder() const { return remainder_; }

  // Column of the long side at which an entry stands for the last mapped position; -1 when
  // it falls outside the display.
  int PixelOf(double entry) const;

 private:
  WaveGeometry geometry_;
  int zoom_ = 4;
  double step_ = 1.0;
  double position_ = 0.0;
  double remainder_ = 0.0;
  std::vector<WaveColumn> kinds_;
  std::vector<float> amplitudes_;
};

// The beat a position lies in, from the marks of the stripe.
struct BeatSpan {
  int previous = -1;  // entry of the mark at or before the position
  int next = -1;      // entry of the mark after it
  double fraction = 0.0;  // 0..1 through the beat
};

// Looks for the marks around a position no further than `reach` entries either side (a beat
// longer than that, or a stretch without marks, finds nothing). False without both marks.
bool FindBeatAround(const float* stripe, int length, double positionEntries, BeatSpan* span,
                    int reach = 1400);

// Which beat of the bar (0..3) the span is, counting beats of the span's length from the
// song's first mark.
int BeatOfBar(const BeatSpan& span, int firstMark);
// The first mark of a stripe, -1 when it has none.
int FirstMark(const float* stripe, int length);

// Phase difference of two decks in beats, folded into -0.5..0.5 (this deck ahead is positive).
double BeatPhaseDifference(double fractionThis, double fractionOther);
// The difference as pixels of the beat-difference box: 20 pixels either side of its centre
// stand for half a beat.
int BeatDifferencePixels(double difference);
