// The settings table: one row per key, in the order config.xml is written.

#include <climits>

#include "app/Settings.h"

Settings g_settings;

namespace {

constexpr int kAny = INT_MIN, kAll = INT_MAX;

SettingRow Number(const char* key, int Settings::*field, int minimum = kAny, int maximum = kAll) {
  return SettingRow{key, field, nullptr, minimum, maximum};
}
SettingRow Flag(const char* key, int Settings::*field) { return Number(key, field, 0, 1); }
SettingRow Text(const char* key, std::string Settings::*field) {
  return SettingRow{key, nullptr, field, 0, 0};
}

}  // namespace

const std::vector<SettingRow>& SettingsTable() {
  using S = Settings;
  static const std::vector<SettingRow> table = [] {
    std::vector<SettingRow> rows = {
        Text("skinf1", &S::skinf1),
        Text("audio0", &S::audio0),
        Text("audio1", &S::audio1),
        Number("audmod", &S::audmod, 0, 2),
        Flag("nvideo", &S::nvideo),
        Flag("naudio", &S::naudio),
        // The latency slider's range: 1 to 100 steps of 120 frames.
        Number("latncy", &S::latncy, 120, 12000),
        Number("ptchrg", &S::ptchrg, 0, kAll),
        Number("maxram", &S::maxram, 1, 5),
        Number("fltmod", &S::fltmod),
        Number("cfcurv", &S::cfcurv),
        Flag("bmatch", &S::bmatch),
        Flag("jscrat", &S::jscrat),
        Flag("hqtime", &S::hqtime),
        Flag("resetd", &S::resetd),
        Flag("rmbreq", &S::rmbreq),
        Flag("apgain", &S::apgain),
        Flag("mixlst", &S::mixlst),
        Flag("histry", &S::histry),
        Flag("evideo", &S::evideo),
        Number("opengl", &S::opengl),
        Flag("vidhqm", &S::vidhqm),
        Flag("videof", &S::videof),
        Number("videox", &S::videox),
        Number("videoy", &S::videoy),
        Number("videow", &S::videow, 1, kAll),
        Number("videoh", &S::videoh, 1, kAll),
        Flag("remain", &S::remain),
        Flag("extmix", &S::extmix),
        Flag("dsblcf", &S::dsblcf),
        // Tenths of a second; a fade of 0 would divide by zero.
        Number("mixtim", &S::mixtim, 1, 6000),
        Flag("alimit", &S::alimit),
        Flag("random", &S::random),
        Flag("keylk0", &S::keylk0),
        Flag("keylk1", &S::keylk1),
        Flag("keylk2", &S::keylk2),
        Flag("keylk3", &S::keylk3),
        Flag("mixaut", &S::mixaut),
        Flag("revmmo", &S::revmmo),
        Flag("slowrt", &S::slowrt),
        Number("ptchjw", &S::ptchjw),
        Number("usecup", &S::usecup),
        Number("usedim", &S::usedim),
        Flag("disacu", &S::disacu),
        Number("sampv1", &S::sampv1),
        Number("sampp1", &S::sampp1),
        Number("sampit", &S::sampit),
        Number("tctype", &S::tctype),
        Flag("dhints", &S::dhints),
        Text("crshur", &S::crshur),
        Number("httpsv", &S::httpsv, 0, 65535),
        Text("httpad", &S::httpad),
        Number("jckprt", &S::jckprt, 0, 12),
        Text("cddbsv", &S::cddbsv),
        Number("cdparn", &S::cdparn, 0, 2),
        Text("bpmrng", &S::bpmrng),
        Text("audinp", &S::audinp),
    };
    // The renderer choice is written but never read back: every start uses the default.
    for (SettingRow& row : rows)
      if (std::string_view(row.key) == "opengl") row.read = false;
    return rows;
  }();
  return table;
}
