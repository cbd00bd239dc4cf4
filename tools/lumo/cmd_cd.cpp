// lumo cd [SOURCE] [--server HOST[:PORT]] [--timeout S]: the optical drives, and the tracks of
// the disc in a drive or of a disc image, with their titles when a CDDB server is named.

#include <cstdio>
#include <string>

#include "Commands.h"
#include "LumoSession.h"
#include "codecs/CdDrive.h"
#include "app/Engine.h"
#include "app/Settings.h"
#include "codecs/CdParanoia.h"
#include "codecs/CddbClient.h"

namespace {

constexpr const char* kUsage = "usage: lumo cd [DRIVE|IMAGE.cue] [--server HOST[:PORT]] [--timeout S]\n";

// Prints the tracks of one source; false when it holds no readable disc.
bool PrintDisc(const std::string& source, const std::string& server, int timeoutMs) {
  CdIo_t* cdio = OpenCdSource(source);
  CdToc toc;
  std::string why = "can not be opened";
  bool ok = cdio && ReadCdToc(cdio, &toc, &why);
  CloseCdSource(cdio);
  if (!ok) {
    std::fprintf(stderr, "lumo: no disc to read in %s: %s\n", source.c_str(), why.c_str());
    return false;
  }
  CddbDiscInfo info;
  bool titled = !server.empty() && CddbLookup(server, CddbQueryLine(toc), toc.TrackCount(), &info, timeoutMs);
  double seconds = (toc.LeadOut().Offset() - toc.entries[0].Offset()) / double(kCdSectorsPerSecond);
  std::printf("disc %s: %d tracks, %s", CddbDiscIdText(CddbDiscId(toc)).c_str(), toc.TrackCount(),
              FormatClock(seconds).c_str());
  if (titled) std::printf(", %s / %s", info.artist.c_str(), info.title.c_str());
  std::printf("\n");
  for (int i = 0; i < toc.TrackCount(); ++i) {
    int number = toc.firstTrack + i;
    std::printf("  %02d  %6s  %s", number, FormatClock(toc.SectorCount(i) / double(kCdSectorsPerSecond)).c_str(),
                toc.audioTrack[i] ? CdTrackPathFor(source, number).c_str() : "(data)");
    if (titled && i < static_cast<int>(info.trackTitles.size())) std::printf("  %s", info.trackTitles[i].c_str());
    std::printf("\n");
  }
  return true;
}

}  // namespace

int RunCdCommand(int argc, char** argv) {
  ParsedArgs args = ParseArgs(argc, argv, {});
  double timeout = kCddbDefaultTimeoutMs / 1000.0;
  // The program's settings name the server and the error recovery; --server overrides the one.
  ReadConfig(SettingsFilePath());
  g_cdParanoiaMode = g_settings.cdparn;
  std::string server = args.Get("server").value_or(g_settings.cddbsv);
  std::string host;
  int port;
  bool known = true;
  for (const auto& option : args.options) known = known && (option.first == "server" || option.first == "timeout");
  if (!known || args.positional.size() > 1 || !ParseSeconds(args.Get("timeout"), timeout) ||
      (args.Has("server") && !ParseCddbServer(server, &host, &port))) {
    std::fprintf(stderr, "%s", kUsage);
    return 2;
  }
  int timeoutMs = static_cast<int>(timeout * 1000);
  if (!args.positional.empty()) return PrintDisc(args.positional[0], server, timeoutMs) ? 0 : 1;

  std::vector<CdDriveInfo> drives = ListCdDrives();
  if (drives.empty()) std::printf("No CD drives found.\n");
  for (const CdDriveInfo& drive : drives) {
    std::printf("%s  %s  %s\n", drive.devicePath.c_str(), drive.name.c_str(),
                drive.hasAudioDisc ? "audio disc" : "no audio disc");
    if (drive.hasAudioDisc) PrintDisc(drive.devicePath, server, timeoutMs);
  }
  return 0;
}
