#include "app/gui/CdDriveRows.h"

#include <memory>

#include "app/Settings.h"
#include "library/CdDriveScan.h"
#include "library/LibraryPanel.h"

namespace {
std::unique_ptr<CCdDriveScan> g_scan;
}

void StartCdDriveScan() { g_scan = std::make_unique<CCdDriveScan>(g_settings.cddbsv); }

void PollCdDriveScan() {
  LibraryPanel* panel = CurrentLibraryPanel();
  if (!g_scan || !panel || !g_scan->Done()) return;
  if (!g_scan->Drives().empty()) {
    g_scan->ApplyTo(panel->browser());
    panel->MarkChanged();
  }
  g_scan.reset();
}

void StopCdDriveScan() { g_scan.reset(); }
