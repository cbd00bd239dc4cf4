#pragma once
// The register of scanned plug-ins: up to 300 entries, kept in fx_scanned.xml beside the chain
// files. A chain file names its effects by name and file name; only registered effects load.
//
// Threads: main thread only.

#include <string>
#include <string_view>

struct ExternalEffectEntry {
  int type = 0;
  int subType = 0;
  int componentId = -1;
  std::string filename;  // UTF-8
  std::string name;
};

constexpr int kMaxExternalEffects = 300;

// type -1 counts every entry.
int CountExternalEffects(int type);
// The index-th entry of a type (-1: of the whole register); null when out of range.
const ExternalEffectEntry* GetExternalEffect(int index, int type);
// Its index in the whole register, or -1.
int ExternalEffectIndex(const ExternalEffectEntry* entry);
// 1, or 0 when the register is full.
int AddExternalEffect(int type, int subType, int componentId, std::string_view filename, std::string_view name);
void ClearExternalEffects();

// fx_scanned.xml. Loading adds the file's entries to the register; a file that is not
// well-formed, has another root or an entry without its name or file name adds nothing and
// says why in the log. Both return 1 on success and 0 otherwise; Save writes atomically.
int LoadScannedEffects(const std::string& path);
int LoadScannedEffectsText(std::string_view text, const std::string& label);
int SaveScannedEffects(const std::string& path);
std::string ScannedEffectsText();
