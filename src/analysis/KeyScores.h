#pragma once
// Running likelihoods of each root for each mode. A filter holds a 12x12 matrix (row r is its
// scale profile rotated to root r) and twelve scores; every block of pitch-class energies adds
// matrix * energies to the scores. The multi filter is the better of two scales, block by block.
//
// Threads: owned by one ZQKeyDetector; no locking.

#include <memory>
#include <string>
#include <vector>

struct KeyProbabilitySet {
  double probabilities[12] = {};  // normalised to sum 1 when any score is positive
  bool isMajor = false;
  std::string mode;
};

class KeyProbabilityFilter {
 public:
  virtual ~KeyProbabilityFilter() = default;
  virtual void Accumulate(const double* probs) = 0;
  virtual KeyProbabilitySet MakeResultSet() const = 0;
  virtual bool IsEmpty() const = 0;
  virtual int ModeIndex() const = 0;  // KeyMode of this filter

 protected:
  KeyProbabilitySet ResultFrom(const double* scores, bool isMajor, const std::string& mode) const;
};

class SingleKeyProbabilityFilter : public KeyProbabilityFilter {
 public:
  SingleKeyProbabilityFilter(bool isMajor, const char* mode, int modeIndex, const double (&profile)[12]);
  void Accumulate(const double* probs) override;
  KeyProbabilitySet MakeResultSet() const override { return ResultFrom(scores, isMajor, mode); }
  bool IsEmpty() const override;
  int ModeIndex() const override { return modeIndex; }
  void ClearScores();

  bool isMajor;
  std::string mode;
  int modeIndex;
  double matrix[12][12] = {};
  double scores[12] = {};
};

class MultiKeyProbabilityFilter : public KeyProbabilityFilter {
 public:
  MultiKeyProbabilityFilter(bool isMajor, const char* mode, int modeIndex);
  void Add(const double (&profile)[12]);
  void Accumulate(const double* probs) override;
  KeyProbabilitySet MakeResultSet() const override { return ResultFrom(scores, isMajor, mode); }
  bool IsEmpty() const override;
  int ModeIndex() const override { return modeIndex; }

  bool isMajor;
  std::string mode;
  int modeIndex;
  std::vector<SingleKeyProbabilityFilter> members;
  double scores[12] = {};
};

class ZQKeyScores {
 public:
  // Builds the filters in their fixed order: ionian, lydian, mixolydian, aeolian, dorian, phrygian.
  ZQKeyScores();
  // Gathers energies; every tenth of a second of them is normalised and given to each filter.
  void AddBlock(const double* values, double seconds, int count);
  // Gives what is pending to the filters now.
  void Flush();
  bool AllEmpty() const;

  double pendingSeconds = 0.0;
  double pending[12] = {};
  std::vector<std::unique_ptr<KeyProbabilityFilter>> filters;
};
