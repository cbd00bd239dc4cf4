#include "analysis/KeyScores.h"

#include <algorithm>
#include <cmath>

#include "analysis/KeyNotation.h"
#include "app/base/Trace.h"

namespace {

// Scale degrees 0..11 from the root; each profile sums to 1.
const double kProfileIonian[12] = {.2, 0, .12, 0, .16, .12, 0, .16, 0, .12, 0, .12};
const double kProfileLydian[12] = {.2, 0, .12, 0, .16, 0, .12, .16, 0, .12, 0, .12};
const double kProfileMixolydian[12] = {.2, 0, .12, 0, .16, .12, 0, .16, 0, .12, .12, 0};
const double kAeolianNatural[12] = {.2, 0, .12, .16, 0, .12, 0, .16, .12, 0, .12, 0};
const double kAeolianHarmonic[12] = {.2, 0, .12, .16, 0, .12, 0, .16, .12, 0, 0, .12};
const double kDorianNatural[12] = {.2, 0, .12, .16, 0, .12, 0, .16, 0, .12, .12, 0};
const double kDorianRaised[12] = {.2, 0, .12, .16, 0, .12, 0, .16, 0, .12, 0, .12};
const double kProfilePhrygian[12] = {.2, .12, 0, .16, 0, .12, 0, .16, .12, 0, .12, 0};

bool AnyPositive(const double* scores) {
  return std::any_of(scores, scores + 12, [](double s) { return s > 0.0; });
}

}  // namespace

KeyProbabilitySet KeyProbabilityFilter::ResultFrom(const double* scores, bool isMajor,
                                                   const std::string& mode) const {
  KeyProbabilitySet set;
  set.isMajor = isMajor;
  set.mode = mode;
  double total = 0.0;
  for (int r = 0; r < 12; ++r) total += scores[r];
  if (total <= 0.0) return set;
  double check = 0.0;
  for (int r = 0; r < 12; ++r) check += set.probabilities[r] = scores[r] / total;
  if (std::fabs(check - 1.0) > 1e-5) TraceLine("KeyProbabilitySet(): improper probability set, total=%f", check);
  return set;
}

SingleKeyProbabilityFilter::SingleKeyProbabilityFilter(bool major, const char* modeName, int index,
                                                       const double (&profile)[12])
    : isMajor(major), mode(modeName), modeIndex(index) {
  double total = 0.0;
  for (double p : profile) total += p;
  if (std::fabs(total - 1.0) > 0.0001) {
    TraceLine("SingleKeyProbabilityFilter(): total probability != 1.0 for key=%s", modeName);
  }
  for (int r = 0; r < 12; ++r) {
    for (int d = 0; d < 12; ++d) matrix[r][(r + d) % 12] = profile[d];
  }
}

void SingleKeyProbabilityFilter::Accumulate(const double* probs) {
  for (int r = 0; r < 12; ++r) {
    double sum = 0.0;
    for (int c = 0; c < 12; ++c) sum += matrix[r][c] * probs[c];
    scores[r] += sum;
  }
}

bool SingleKeyProbabilityFilter::IsEmpty() const { return !AnyPositive(scores); }

void SingleKeyProbabilityFilter::ClearScores() { std::fill(scores, scores + 12, 0.0); }

MultiKeyProbabilityFilter::MultiKeyProbabilityFilter(bool major, const char* modeName, int index)
    : isMajor(major), mode(modeName), modeIndex(index) {}

void MultiKeyProbabilityFilter::Add(const double (&profile)[12]) {
  members.emplace_back(isMajor, mode.c_str(), modeIndex, profile);
}

void MultiKeyProbabilityFilter::Accumulate(const double* probs) {
  double best[12];
  std::fill(best, best + 12, -1.0);
  for (auto& member : members) {
    member.ClearScores();
    member.Accumulate(probs);
    for (int r = 0; r < 12; ++r) best[r] = std::max(best[r], member.scores[r]);
  }
  if (members.empty()) return;
  for (int r = 0; r < 12; ++r) scores[r] += best[r];
}

bool MultiKeyProbabilityFilter::IsEmpty() const { return !AnyPositive(scores); }

ZQKeyScores::ZQKeyScores() {
  filters.push_back(std::make_unique<SingleKeyProbabilityFilter>(true, "ionian", kIonian, kProfileIonian));
  filters.push_back(std::make_unique<SingleKeyProbabilityFilter>(true, "lydian", kLydian, kProfileLydian));
  filters.push_back(std::make_unique<SingleKeyProbabilityFilter>(true, "mixolydian", kMixolydian, kProfileMixolydian));
  auto aeolian = std::make_unique<MultiKeyProbabilityFilter>(false, "aeolian", kAeolian);
  aeolian->Add(kAeolianNatural);
  aeolian->Add(kAeolianHarmonic);
  filters.push_back(std::move(aeolian));
  auto dorian = std::make_unique<MultiKeyProbabilityFilter>(false, "dorian", kDorian);
  dorian->Add(kDorianNatural);
  dorian->Add(kDorianRaised);
  filters.push_back(std::move(dorian));
  filters.push_back(std::make_unique<SingleKeyProbabilityFilter>(false, "phrygian", kPhrygian, kProfilePhrygian));
}

void ZQKeyScores::AddBlock(const double* values, double seconds, int count) {
  pendingSeconds += seconds;
  for (int k = 0; k < std::min(count, 12); ++k) pending[k] += values[k];
  if (pendingSeconds > 0.1) Flush();
}

void ZQKeyScores::Flush() {
  double total = 0.0;
  for (double v : pending) total += v;
  if (total > 0.0) {
    for (double& v : pending) v /= total;
  }
  for (auto& filter : filters) filter->Accumulate(pending);
  std::fill(pending, pending + 12, 0.0);
  pendingSeconds = 0.0;
}

bool ZQKeyScores::AllEmpty() const {
  return std::all_of(filters.begin(), filters.end(), [](const auto& f) { return f->IsEmpty(); });
}
