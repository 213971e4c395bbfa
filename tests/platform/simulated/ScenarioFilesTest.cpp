#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedMac.h"

namespace halvercine::platform::simulated {
namespace {

const std::filesystem::path resources = HALVERCINE_RESOURCES;

std::string contentOf(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

std::vector<std::string> fencedJson(const std::string& markdown) {
  constexpr std::string_view open = "\n```json\n";
  std::vector<std::string> blocks;
  for (auto begin = markdown.find(open); begin != std::string::npos;) {
    begin += open.size();
    const auto end = markdown.find("\n```", begin);
    blocks.push_back(markdown.substr(begin, end - begin));
    begin = markdown.find(open, end);
  }
  return blocks;
}

/// Boots the scenario and plays it to its end; nothing in it may turn out to have no effect.
void expectToPlay(const std::string& text, const std::string& what) {
  const auto scenario = readScenario(text);
  ASSERT_TRUE(scenario) << what << ": " << scenario.error().message;
  base::MainActor actor;
  SimulatedMac mac(actor, *scenario, ClockKind::virtualTime);
  double end = 0;
  for (const auto& event : scenario->timeline) end = std::max(end, event.at);
  mac.advance(std::chrono::duration_cast<Uptime>(std::chrono::duration<double>(end)));
  for (const auto& line : mac.machine().log().lines()) ADD_FAILURE() << what << ": " << line.text;
}

TEST(ScenarioFiles, allOfThemPlay) {
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(resources / "scenarios")) {
    expectToPlay(contentOf(entry.path()), entry.path().filename());
    ++files;
  }
  EXPECT_GE(files, 4);
}

TEST(ScenarioFiles, theExamplesOfTheDocumentationPlay) {
  const auto examples = fencedJson(contentOf(resources / ".." / "docs" / "simulation.md"));
  EXPECT_GE(examples.size(), 5u);
  for (const auto& example : examples) expectToPlay(example, example);
}

TEST(ScenarioFiles, theDocumentationNamesEveryKey) {
  const auto text = contentOf(resources / ".." / "docs" / "simulation.md");
  const auto expectDocumented = [&]<class T>(const T*) {
    using namespace boost::describe;
    boost::mp11::mp_for_each<describe_members<T, mod_public | mod_inherited>>([&](auto member) {
      std::string key = member.name;
      if (key == "className") key = "class";
      if (key == "isProtected") key = "protected";
      EXPECT_NE(text.find("`" + key + "`"), std::string::npos) << key;
    });
  };
  expectDocumented(static_cast<const Scenario*>(nullptr));
  expectDocumented(static_cast<const ScenarioSystem*>(nullptr));
  expectDocumented(static_cast<const ScenarioApplication*>(nullptr));
  expectDocumented(static_cast<const ScenarioPermissions*>(nullptr));
  expectDocumented(static_cast<const ScenarioHelper*>(nullptr));
  expectDocumented(static_cast<const ScenarioRegistrationStep*>(nullptr));
  expectDocumented(static_cast<const ScenarioHelperCall*>(nullptr));
  expectDocumented(static_cast<const ScenarioDevice*>(nullptr));
  expectDocumented(static_cast<const ScenarioMount*>(nullptr));
  expectDocumented(static_cast<const ScenarioReport*>(nullptr));
  expectDocumented(static_cast<const ScenarioEvent*>(nullptr));
  expectDocumented(static_cast<const ScenarioModule*>(nullptr));
  expectDocumented(static_cast<const ScenarioBitLocker*>(nullptr));
  expectDocumented(static_cast<const ScenarioCheck*>(nullptr));
  expectDocumented(static_cast<const ScenarioProcess*>(nullptr));
  expectDocumented(static_cast<const ScenarioTool*>(nullptr));
}

}  // namespace
}  // namespace halvercine::platform::simulated
