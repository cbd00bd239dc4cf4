#pragma once
// The deck's port to track analysis. The analysis subsystem gives each deck one object of this
// family; a deck without one (null) simply has no stripes, tempo or gain. All calls come from
// the deck's loader thread (or the one-shot analysis thread it starts), never from the audio
// thread.

class CSoundSource;

class CDeckAnalysis {
 public:
  virtual ~CDeckAnalysis() = default;
  // A new track is being loaded: clear the gain meter and the beat filters.
  virtual void ResetFilters(CSoundSource& deck) = 0;
  // Reads the track's stripe file into the deck's stripe arrays (under the deck's data lock).
  // Returns 1 when it held finished analysis (tempo, beat marks), 0 otherwise.
  virtual int LoadStripes(CSoundSource& deck) = 0;
  // One second of the track has just been decoded into block `blockIndex`: feed it (16-bit
  // stereo, `frames` frames) through the gain meter and the beat filters, writing the block's
  // 441 stripe entries at blockIndex * 441.
  virtual void FeedSecond(CSoundSource& deck, int blockIndex, const short* stereo, int frames) = 0;
  // The whole track is in memory and has no stripe results: analyse it now. Runs on the deck's
  // one-shot analysis thread; sets the deck's tempo and beat marks, then status 32.
  virtual void AnalyseWholeTrack(CSoundSource& deck) = 0;
  // The user asked for the tempo again, with a hint as ZQBeatDetector::DetectBpm takes it (the
  // tap dialog's mode or typed tempo): walk the whole track's beats again, replacing the deck's
  // tempo and marks and the song's record. Runs on the deck's one-shot analysis thread. A port
  // without a beat walk keeps what it has.
  virtual void ReanalyseTempo(CSoundSource& deck, int hint) { (void)deck, (void)hint; }
  // Streaming decks keep a tempo per ten seconds: the stripe entries of ten blocks
  // (4410 entries) go to the beat estimator. Returns the tempo, 0 when none is found.
  virtual float EstimateWindowBpm(const float* stripes, int count) = 0;
  // The track is being unloaded: write its stripe file if it changed.
  virtual void SaveStripes(CSoundSource& deck) = 0;
};
