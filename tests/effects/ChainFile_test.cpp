// The register of scanned plug-ins and the .knf chain files: round trips, the register's limit,
// the reader's deliberate leniencies, damaged files, and a save killed half way.

#include "effects/ChainFile.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "effects/Effect.h"
#include "effects/EffectChain.h"
#include "effects/EffectRegister.h"
#include "support/TestFiles.h"
#include "support/TraceCapture.h"

namespace {

// A hosted plug-in stand-in: two parameters, an editor with a position.
class FakePlugin : public CEffect {
 public:
  void ProcessCore(float*, int, float) noexcept override {}
  int GetParamCount() override { return 2; }
  int GetParamInfo(int id, std::string* label, std::string* value, std::string* unit) override {
    *label = id == 0 ? "Time & \"feel\"" : "Mix";
    *value = std::to_string(params[id]);
    *unit = "ms";
    return 1;
  }
  int GetParam(int id) override { return params.count(id) ? params[id] : 0; }
  void SetParam(int id, int value) override { params[id] = value; }
  int IsEditorVisible() override { return editorOpen; }
  void ToggleEditor() override { editorOpen = !editorOpen; }
  void GetEditorPosition(int* x, int* y) override { *x = ex, *y = ey; }
  void SetEditorPosition(int x, int y) override { ex = x, ey = y; }
  std::map<int, int> params;
  int editorOpen = 1, ex = 0, ey = 0;
};

std::unique_ptr<CEffect> MakeFake(const ExternalEffectEntry&, int) { return std::make_unique<FakePlugin>(); }

class ChainFileTest : public ::testing::Test {
 protected:
  ChainFileTest() {
    ClearExternalEffects();
    SetChainEffectFactory(MakeFake);
    AddExternalEffect(110, 0, -1, "/usr/lib/vst/delay.so", "Tape Delay");
    AddExternalEffect(110, 0, -1, "/home/dj/.vst/grün & <co>.so", "Grün \"Echo\"");
  }
  ~ChainFileTest() override {
    SetChainEffectFactory(nullptr);
    ClearExternalEffects();
  }
  TempFolder folder_;
};

std::string ReadText(const std::string& path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

TEST_F(ChainFileTest, AChainSurvivesASaveAndLoad) {
  CEffectChain chain;
  CEffect* first = nullptr;
  ASSERT_EQ(AddChainEffect(chain, nullptr, 110, -1, "Grün \"Echo\"", "/home/dj/.vst/grün & <co>.so", 7, 1, 0.5f,
                           1, 30, 40, &first), 1);
  first->SetParam(0, 250);
  first->SetParam(1, 1000);
  ASSERT_EQ(AddChainEffect(chain, nullptr, 110, 0, "", "", -1, 0, 1.0f, 0, 0, 0, nullptr), 1) << "by index";
  EXPECT_EQ(AddChainEffect(chain, nullptr, 3, 0, "", "", -1, 1, 1.0f, 0, 0, 0, nullptr), 0) << "only type 110";
  EXPECT_EQ(AddChainEffect(chain, nullptr, 110, -1, "Nope", "nope.so", -1, 1, 1.0f, 0, 0, 0, nullptr), 0);
  EXPECT_EQ(first->componentId, -1) << "the caller's component id is ignored";

  const std::string path = folder_.File("fx_deckA.knf");
  ASSERT_EQ(SaveChain(chain, path), 1);
  std::string text = ReadText(path);
  EXPECT_EQ(text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\n<effects version=\"100\">\n"
                       "<effect id=\"0\" enabled=\"yes\" drywetmix=\"500\" editorvisible=\"yes\" x=\"30\" y=\"40\" "
                       "type=\"110\" componentid=\"-1\" name=\"Grün &quot;Echo&quot;\" ",
                       0),
            0u)
      << text;
  EXPECT_NE(text.find("<param id=\"0\" val=\"250\" name=\"Time &amp; &quot;feel&quot;\" value=\"250\" unit=\"ms\" />"),
            std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 22), "</effect>\n</effects>\n\n");

  CEffectChain loaded;
  ASSERT_EQ(LoadChain(loaded, nullptr, path), 1);
  ASSERT_EQ(loaded.Count(), 2);
  EXPECT_EQ(ChainText(loaded), text) << "every field came back: a second save writes the same file";
}

TEST_F(ChainFileTest, TheReaderIsLenientWhereTheFormatAllows) {
  const std::string head = "<?xml version=\"1.0\"?><effects version=\"100\">";
  CEffectChain chain;
  std::string text = head +
                     "<effect id=\"9\" drywetmix=\"-1\" enabled=\"ok\" type=\"110\" name=\"Tape Delay\" "
                     "filename=\"/usr/lib/vst/delay.so\"><param id=\"0\" val=\"7\" name=\"ignored\"/></effect>"
                     "<effect drywetmix=\"500\" enabled=\"nah\" type=\"110\" name=\"Gone\" filename=\"gone.so\">"
                     "<param id=\"0\" val=\"1\"/></effect>"
                     "<effect drywetmix=\"500\" type=\"110\" name=\"Tape Delay\" filename=\"/usr/lib/vst/delay.so\"/>"
                     "</effects>";
  ASSERT_EQ(LoadChainText(chain, nullptr, text, "test"), 1);
  ASSERT_EQ(chain.Count(), 2) << "an unregistered plug-in is left out";
  EXPECT_FLOAT_EQ(chain.At(0)->GetDryWet(), 1.0f) << "-1 loads at full mix";
  EXPECT_TRUE(chain.At(0)->IsEnabled());
  EXPECT_EQ(chain.At(0)->GetParam(0), 7);
  EXPECT_FLOAT_EQ(chain.At(1)->GetDryWet(), 0.5f);
  EXPECT_EQ(chain.At(1)->GetParam(0), 0) << "the dropped effect's parameters went with it";
}

TEST_F(ChainFileTest, ADamagedChainFileIsLoggedAndChangesNothing) {
  CEffectChain chain;
  AddChainEffect(chain, nullptr, 110, 0, "", "", -1, 1, 1.0f, 0, 0, 0, nullptr);
  CEffectChain saved;
  AddChainEffect(saved, nullptr, 110, 1, "", "", -1, 1, 1.0f, 0, 0, 0, nullptr);
  std::string good = ChainText(saved);
  const std::vector<std::pair<std::string, std::string>> damaged = {
      {"wrong root", "<?xml version=\"1.0\"?><exteffects version=\"100\"></exteffects>"},
      {"missing name", "<effects><effect type=\"110\" filename=\"x.so\"/></effects>"},
      {"bad number", "<effects><effect type=\"1x0\" name=\"a\" filename=\"x.so\"/></effects>"},
      {"param without value", "<effects><effect type=\"110\" name=\"a\" filename=\"b\"><param id=\"1\"/></effect></effects>"},
      {"cut in half", good.substr(0, good.size() / 2)},
      {"empty", ""},
  };
  for (const auto& [what, text] : damaged) {
    TraceCapture trace;
    EXPECT_EQ(LoadChainText(chain, nullptr, text, "fx_deckB.knf"), 0) << what;
    EXPECT_EQ(trace.Count(""), 1) << what;
    EXPECT_TRUE(trace.Saw("fx_deckB.knf is damaged")) << what;
    ASSERT_EQ(chain.Count(), 1) << what;
    EXPECT_EQ(chain.At(0)->name, "Tape Delay") << what;
  }
  EXPECT_EQ(LoadChain(chain, nullptr, folder_.File("none.knf")), 0) << "no file: nothing to load";
}

TEST_F(ChainFileTest, TheRegisterRoundTripsAndHoldsExactlyThreeHundred) {
  const std::string path = folder_.File("fx_scanned.xml");
  ASSERT_EQ(SaveScannedEffects(path), 1);
  EXPECT_NE(ReadText(path).find("<exteffect type=\"110\" subType=\"0\" componentId=\"-1\" name=\"Grün &quot;Echo&quot;\" "
                                "filename=\"/home/dj/.vst/grün &amp; &lt;co&gt;.so\" />\n</exteffects>\n"),
            std::string::npos);
  ClearExternalEffects();
  ASSERT_EQ(LoadScannedEffects(path), 1);
  ASSERT_EQ(CountExternalEffects(-1), 2);
  EXPECT_EQ(GetExternalEffect(1, 110)->filename, "/home/dj/.vst/grün & <co>.so");
  EXPECT_EQ(GetExternalEffect(2, -1), nullptr);

  for (int i = 2; i < kMaxExternalEffects; ++i) ASSERT_EQ(AddExternalEffect(i % 2 ? 110 : 5, 0, i, "f", "n"), 1);
  EXPECT_EQ(AddExternalEffect(110, 0, 0, "f", "n"), 0) << "the 301st is refused";
  EXPECT_EQ(CountExternalEffects(5), 149);
  EXPECT_EQ(GetExternalEffect(148, 5)->componentId, 298);
  TraceCapture trace;
  EXPECT_EQ(LoadScannedEffects(path), 0) << "no room for more";
  EXPECT_EQ(trace.Count(""), 1);
}

TEST_F(ChainFileTest, ADamagedRegisterFileAddsNothing) {
  std::string good = ScannedEffectsText();
  const std::vector<std::pair<std::string, std::string>> damaged = {
      {"wrong root", "<effects version=\"100\"><exteffect type=\"1\" subType=\"0\" name=\"a\" filename=\"b\"/></effects>"},
      {"missing file name", "<exteffects><exteffect type=\"1\" name=\"a\"/><exteffect name=\"b\" filename=\"c\"/></exteffects>"},
      {"cut in half", good.substr(0, good.size() / 2)},
  };
  for (const auto& [what, text] : damaged) {
    TraceCapture trace;
    EXPECT_EQ(LoadScannedEffectsText(text, "fx_scanned.xml"), 0) << what;
    EXPECT_EQ(trace.Count(""), 1) << what;
    EXPECT_EQ(CountExternalEffects(-1), 2) << what;
  }
}

TEST_F(ChainFileTest, ASaveKilledHalfWayLeavesAWholeFile) {
  const std::string path = folder_.File("fx_master.knf");
  CEffectChain chain;
  for (int i = 0; i < 30; ++i) AddChainEffect(chain, nullptr, 110, i % 2, "", "", -1, 1, 1.0f, 0, i, i, nullptr);
  ASSERT_EQ(SaveChain(chain, path), 1);
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    for (int i = 0;; ++i) {
      chain.At(0)->SetEditorPosition(i, i);
      SaveChain(chain, path);
      if (i == 20) (void)!write(ready[1], "x", 1);
    }
  }
  char byte;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);  // the child is well into its saves
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(ready[0]);
  close(ready[1]);
  CEffectChain loaded;
  TraceCapture trace;
  ASSERT_EQ(LoadChain(loaded, nullptr, path), 1) << "the file is the old or the new one, never half";
  EXPECT_EQ(loaded.Count(), 30);
  EXPECT_EQ(trace.Count(""), 0);
}

}  // namespace
