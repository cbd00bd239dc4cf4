#include "skin/VuMeterTick.h"

#include <algorithm>
#include <ctime>
#include <thread>

#include "audio/Mixer.h"
#include "skin/ControlTable.h"
#include "skin/VuMeter.h"

namespace {

// The meters' catalogue ids, looked up once.
enum MeterName { kDeckMeter, kDeckLeft, kDeckRight, kMasterLeft, kMasterRight, kMicrophone, kCpu, kCpuShare };
int MeterId(MeterName name) {
  static const int ids[] = {ControlIdByName("vm_deck"),    ControlIdByName("vm_deckl"),
                            ControlIdByName("vm_deckr"),   ControlIdByName("vm_masterl"),
                            ControlIdByName("vm_masterr"), ControlIdByName("vm_microphone"),
                            ControlIdByName("vm_cpu"),     ControlIdByName("vm_cpu2")};
  return ids[name];
}

CZQVUMeterControl* Meter(MeterName name, int deck) {
  auto* meter = dynamic_cast<CZQVUMeterControl*>(ControlAt(MeterId(name), deck));
  return meter && meter->Placed() && meter->IsShown() ? meter : nullptr;
}

void ShowDb(MeterName name, int deck, float decibels) {
  if (CZQVUMeterControl* meter = Meter(name, deck)) meter->SetLevelDb(decibels);
}

double Seconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now.tv_sec + now.tv_nsec * 1e-9;
}

}  // namespace

float ProcessCpuPercent() {
  static double lastCpu = -1.0, lastWall = 0.0;
  const double cpu = Seconds(CLOCK_PROCESS_CPUTIME_ID), wall = Seconds(CLOCK_MONOTONIC);
  float percent = 0.0f;
  if (lastCpu >= 0.0 && wall > lastWall) percent = static_cast<float>(100.0 * (cpu - lastCpu) / (wall - lastWall));
  lastCpu = cpu;
  lastWall = wall;
  return percent;
}

void RefreshVuMeters(CZQMixer* mixer) {
  if (mixer) {
    float left = 0.0f, right = 0.0f;
    for (int deck = 0; deck < std::min(kDeckRows, mixer->SourceCount()); ++deck) {
      mixer->ReadSourceLevelDb(deck, &left, &right);
      ShowDb(kDeckMeter, deck, std::max(left, right));
      ShowDb(kDeckLeft, deck, left);
      ShowDb(kDeckRight, deck, right);
    }
    mixer->ReadMasterLevelDb(&left, &right);
    ShowDb(kMasterLeft, -1, left);
    ShowDb(kMasterRight, -1, right);
    mixer->ReadMicLevelDb(&left, &right);
    ShowDb(kMicrophone, -1, std::max(left, right));
  }
  const float cpu = ProcessCpuPercent();
  const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
  if (CZQVUMeterControl* meter = Meter(kCpu, -1)) meter->SetPercent(cpu);
  if (CZQVUMeterControl* meter = Meter(kCpuShare, -1)) meter->SetPercent(cpu / cores);
}
