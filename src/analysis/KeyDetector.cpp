#include "analysis/KeyDetector.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <mutex>

#include "app/base/Trace.h"

namespace {

constexpr int kScales = 8;
constexpr double kBaseScale = 0.25;
constexpr double kBaseFrequencies[12] = {55.0,       58.27046875, 61.73546875, 65.40640625,
                                         69.295625,  73.41625,    77.78125,    82.406875,
                                         87.3071875, 92.49875,    97.99875,    103.82625};
// Below this the Gaussian window no longer counts, so each scale sums only its support.
constexpr double kWindowFloor = 1e-12;

struct KernelBank {
  std::vector<double> kernels;  // [scale][sample][pitch class]
  int first[kScales] = {};      // support of each scale's window
  int last[kScales] = {};
  const double* At(int scale, int i) const {
    return kernels.data() + (static_cast<size_t>(scale) * kKeyBlock + static_cast<size_t>(i)) * 12;
  }
};

// Built for half the true rate, so every frequency is heard an octave up: scale 0 starts at
// 27.5 Hz and scale 7 ends near 6.6 kHz.
std::unique_ptr<KernelBank> BuildBank(int bankRate) {
  auto bank = std::make_unique<KernelBank>();
  bank->kernels.assign(static_cast<size_t>(kScales) * kKeyBlock * 12, 0.0);
  for (int s = 0; s < kScales; ++s) {
    const double scale = std::ldexp(1.0, s);
    const double norm = 1.0 / bankRate / std::sqrt(1.0 / scale);
    bank->first[s] = kKeyBlock, bank->last[s] = 0;
    for (int i = 0; i < kKeyBlock; ++i) {
      const double t = (i - kKeyBlock / 2) * scale / bankRate;
      const double window = std::exp(-M_PI * t * t);
      if (window < kWindowFloor) continue;
      bank->first[s] = std::min(bank->first[s], i);
      bank->last[s] = i + 1;
      double* k = bank->kernels.data() + (static_cast<size_t>(s) * kKeyBlock + static_cast<size_t>(i)) * 12;
      for (int p = 0; p < 12; ++p) {
        const double f = kBaseFrequencies[p] * kBaseScale;
        k[p] = std::cos(2.0 * M_PI * f * t) * window * norm;
      }
    }
  }
  return bank;
}

const KernelBank* BankFor(int bankRate) {
  static std::mutex lock;
  static std::map<int, std::unique_ptr<KernelBank>> banks;
  if (bankRate <= 0) return nullptr;
  std::lock_guard guard(lock);
  auto& bank = banks[bankRate];
  if (!bank) bank = BuildBank(bankRate);
  return bank.get();
}

}  // namespace

void AnalyzeSegment(const float* samples, int channels, int rate, double* out12, ZQKeyScores& scores,
                    double* work, int bankRate) {
  const KernelBank* bank = BankFor(bankRate > 0 ? bankRate : rate / 2);
  if (!bank || channels < 1) {
    TraceLine("analyzeSegment(): error");
    return;
  }
  bool silent = true;
  for (int i = 0; i < kKeyBlock; ++i) {
    work[i] = samples[static_cast<size_t>(i) * channels];
    silent = silent && work[i] == 0.0;
  }
  std::fill(out12, out12 + 12, 0.0);
  // Digital silence has no energy in any band: skip the 786,432 multiply-adds it would cost.
  for (int s = 0; s < kScales && !silent; ++s) {
    double r[12] = {};
    for (int i = bank->first[s]; i < bank->last[s]; ++i) {
      const double* k = bank->At(s, i);
      const double x = work[i];
      for (int p = 0; p < 12; ++p) r[p] += x * k[p];
    }
    for (int p = 0; p < 12; ++p) out12[p] += std::fabs(r[p]);
  }
  scores.AddBlock(out12, static_cast<double>(kKeyBlock) / rate, 12);
}

KeyDetectionResult BestKey(const ZQKeyScores& scores, int index) {
  struct Entry {
    ZQKey key;
    double score;
  };
  std::vector<Entry> entries;
  double largest = -1.0, smallest = 2.0, sum = 0.0;
  for (const auto& filter : scores.filters) {
    KeyProbabilitySet set = filter->MakeResultSet();
    for (int r = 0; r < 12; ++r) {
      const double p = set.probabilities[r];
      entries.push_back({MakeKey(static_cast<float>(r), filter->ModeIndex()), p});
      largest = std::max(largest, p), smallest = std::min(smallest, p), sum += p;
    }
  }
  KeyDetectionResult result;
  if (entries.empty() || index < 0 || index >= static_cast<int>(entries.size())) return result;
  const double mean = sum / static_cast<double>(entries.size());
  result.accuracy = largest > smallest ? std::min(1.0, (largest - mean) / (largest - smallest)) : 0.0;
  // Stable, so equal scores keep the filter order (ionian first).
  std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.score > b.score; });
  result.key = entries[static_cast<size_t>(index)].key;
  return result;
}

std::string KeyResultText(const KeyDetectionResult& result) {
  return KeyText(result.key) + "->" + KeyText(result.secondKey);
}

ZQKeyDetector::ZQKeyDetector()
    : block_(kKeyBlock, 0.0f), converted_(static_cast<size_t>(kKeyBlock) * 2, 0.0f), work_(kKeyBlock, 0.0) {}

void ZQKeyDetector::Start(int rate, double trackSeconds, int bankRate) {
  rate_ = rate > 0 ? rate : 44100;
  bankRate_ = bankRate > 0 ? bankRate : rate_ / 2;
  trackSeconds_ = trackSeconds;
  elapsed_ = 0.0;
  secondHalf_ = false;
  blockFill_ = 0;
  scores_ = std::make_unique<ZQKeyScores>();
  secondHalfScores_ = std::make_unique<ZQKeyScores>();
  BankFor(bankRate_);  // built here, not in the middle of the feed
  running_ = true;
}

void ZQKeyDetector::RunBlock() {
  double out12[12];
  AnalyzeSegment(block_.data(), 1, rate_, out12, *scores_, work_.data(), bankRate_);
  if (secondHalf_) secondHalfScores_->AddBlock(out12, static_cast<double>(kKeyBlock) / rate_, 12);
  elapsed_ += static_cast<double>(kKeyBlock) / rate_;
  if (!secondHalf_ && 2.0 * elapsed_ > trackSeconds_) secondHalf_ = true;
  blockFill_ = 0;
}

void ZQKeyDetector::FeedFloats(const float* samples, int frames, int channels) {
  if (!scores_) Start(rate_, trackSeconds_, bankRate_);
  if (!samples || channels < 1) return;
  for (int i = 0; i < frames; ++i) {
    block_[static_cast<size_t>(blockFill_++)] = samples[static_cast<size_t>(i) * channels];
    if (blockFill_ == kKeyBlock) RunBlock();
  }
}

void ZQKeyDetector::FeedSamples(const short* samples, int frames, int channels) {
  if (!samples || channels < 1 || channels > 2) return;
  for (int done = 0; done < frames;) {
    const int piece = std::min(frames - done, kKeyBlock);
    const short* in = samples + static_cast<size_t>(done) * channels;
    for (int i = 0; i < piece * channels; ++i) converted_[static_cast<size_t>(i)] = in[i] * 3e-05f;
    FeedFloats(converted_.data(), piece, channels);
    done += piece;
  }
}

KeyDetectionResult ZQKeyDetector::FinishDetection(std::string* text, int verbose) {
  KeyDetectionResult result;
  result.accuracy = 0.01;
  if (scores_) {
    if (scores_->pendingSeconds > 0.0) scores_->Flush();
    if (secondHalfScores_->pendingSeconds > 0.0) secondHalfScores_->Flush();
    if (!scores_->AllEmpty()) {
      result = BestKey(*scores_, 0);
      if (!secondHalfScores_->AllEmpty()) result.secondKey = BestKey(*secondHalfScores_, 0).key;
    }
  }
  scores_.reset();
  secondHalfScores_.reset();
  running_ = false;
  if (text) {
    char accuracy[32];
    std::snprintf(accuracy, sizeof accuracy, "%f", result.accuracy);
    *text = verbose ? "[key: " + KeyResultText(result) + ", accuracy: " + accuracy + "]" : accuracy;
  }
  return result;
}

std::optional<KeyDetectionResult> DetectKey(const char* path) {
  FILE* file = path ? std::fopen(path, "rb") : nullptr;
  if (!file) {
    TraceLine("detectKey(): error opening file '%s'", path ? path : "");
    return std::nullopt;
  }
  std::fseek(file, 0, SEEK_END);
  const long size = std::ftell(file);
  std::fseek(file, 44, SEEK_SET);
  const double seconds = std::max(size - 44, 0L) * 5.668934240362812e-6;
  ZQKeyDetector detector;
  // The file utility hears notes at their own pitch: its bank is built for the file's rate.
  detector.Start(44100, seconds, 44100);
  std::vector<short> block(static_cast<size_t>(kKeyBlock) * 2);
  for (;;) {
    const size_t got = std::fread(block.data(), 4, kKeyBlock, file);
    if (got == 0) break;
    // A short last block is padded by repeating its start.
    for (size_t i = got; i < static_cast<size_t>(kKeyBlock); ++i) {
      block[2 * i] = block[2 * (i % got)], block[2 * i + 1] = block[2 * (i % got) + 1];
    }
    detector.FeedSamples(block.data(), kKeyBlock, 2);
    if (got < static_cast<size_t>(kKeyBlock)) break;
  }
  std::fclose(file);
  return detector.FinishDetection();
}
