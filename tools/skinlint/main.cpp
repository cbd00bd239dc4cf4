// skinlint FILE.xml...: runs the skin loader's reading of each file without a window and reports
// what the loader would pass over or draw wrongly. Exit status 1 when anything was found.
#include <cstdio>
#include <string>

#include "ScriptCheck.h"
#include "skin/model/SkinCheck.h"

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: skinlint SKIN.xml...\n");
    return 2;
  }
  int problems = 0;
  for (int i = 1; i < argc; ++i) {
    std::string path = argv[i];
    SkinCheckResult result = CheckSkinFile(path);
    for (const SkinFinding& finding : result.findings) {
      std::printf("%s:%d: %s\n", path.c_str(), finding.line, finding.message.c_str());
      ++problems;
    }
    std::string error;
    if (!result.script.empty() && !CompileSkinScript("skin.js", result.script, error)) {
      std::printf("%s: skin.js does not compile: %s\n", path.c_str(), error.c_str());
      ++problems;
    }
  }
  return problems ? 1 : 0;
}
