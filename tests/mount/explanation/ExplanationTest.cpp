#include "mount/explanation/Explanation.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mount/explanation/catalogue.h"
#include "mount/explanation/evidence.h"

namespace halvercine::mount {
namespace {

using testing::Contains;
using testing::Not;
using tests::Situation;

const base::Localization english(base::Language::en);
const base::Localization chinese(base::Language::zhHans);

template <class Enum>
std::string word(Enum value) {
  return boost::describe::enum_to_string(value, "?");
}

std::vector<base::LocalizedText> allTexts(const Explanation& explanation) {
  auto texts = explanation.evidence;
  texts.push_back(explanation.headline);
  texts.insert(texts.end(), explanation.program.begin(), explanation.program.end());
  for (const auto& step : explanation.next) texts.push_back(step.text);
  return texts;
}

std::vector<std::string_view> evidenceKeys(const VolumeFacts& facts) {
  std::vector<std::string_view> keys;
  for (const auto& line : explain(facts).evidence) keys.push_back(line.key);
  return keys;
}

TEST(ExplanationTest, GivesTheExpectedAnswerInEverySituation) {
  for (const auto& situation : tests::catalogue()) {
    const auto explanation = explain(situation.facts);
    EXPECT_EQ(word(explanation.state), word(situation.state)) << situation.title;
    EXPECT_EQ(word(explanation.recovery), word(situation.recovery)) << situation.title;
    std::vector<std::string> commands;
    for (const auto& step : explanation.next) {
      if (step.command) commands.push_back(*step.command);
    }
    EXPECT_EQ(commands, situation.commands) << situation.title;
  }
}

TEST(ExplanationTest, TheCatalogueHasEveryState) {
  std::set<VolumeState> states;
  std::set<Recovery> recoveries;
  std::set<std::string> titles;
  for (const auto& situation : tests::catalogue()) {
    states.insert(situation.state);
    recoveries.insert(situation.recovery);
    EXPECT_TRUE(titles.insert(situation.title).second) << situation.title;
  }
  boost::mp11::mp_for_each<boost::describe::describe_enumerators<VolumeState>>(
      [&states](auto state) { EXPECT_TRUE(states.contains(state.value)) << state.name; });
  boost::mp11::mp_for_each<boost::describe::describe_enumerators<Recovery>>(
      [&](auto recovery) { EXPECT_TRUE(recoveries.contains(recovery.value)) << recovery.name; });
}

TEST(ExplanationTest, EveryTextIsWholeInBothLanguages) {
  for (const auto& situation : tests::catalogue()) {
    for (const auto& text : allTexts(explain(situation.facts))) {
      for (const auto* language : {&english, &chinese}) {
        const auto shown = text.in(*language);
        EXPECT_NE(shown, text.key) << situation.title;
        EXPECT_EQ(shown.find('{'), std::string::npos) << shown;
        for (const auto& argument : text.arguments) {
          EXPECT_NE(shown.find(argument), std::string::npos) << shown;
        }
      }
    }
  }
}

/// All facts that lead to another state or another step, in every combination.
std::vector<VolumeFacts> everyCombination() {
  std::vector<VolumeFacts> all{tests::writableFacts(), tests::readOnlyFacts(std::nullopt),
                               tests::unmountedFacts()};
  const auto multiply = [&all](const std::vector<std::function<void(VolumeFacts&)>>& changes) {
    const auto before = all;
    for (const auto& change : changes) {
      for (auto facts : before) {
        change(facts);
        all.push_back(std::move(facts));
      }
    }
  };
  multiply({[](auto& facts) { facts.presence = VolumeFacts::Presence::gone; },
            [](auto& facts) { facts.personality.reset(); },
            [](auto& facts) {
              facts.personality = {PersonalityProbe::Owner::thirdParty, "X"};
            },
            [](auto& facts) { facts.disk.fileSystem = "exfat"; }});
  multiply({[](auto& facts) {
              facts.report = {ReadOnlyReason::unsafeVolume, 1, true, {}};
            },
            [](auto& facts) {
              facts.report = {ReadOnlyReason::requested, 999, false, {}};
            }});
  multiply({[](auto& facts) { facts.mediaWritable = false; }});
  multiply({[](auto& facts) { facts.holders->push_back({1, "", ""}); }});
  multiply({[](auto& facts) { facts.disk.bitLocker.emplace().state = "locked"; }});
  multiply({[](auto& facts) {
              facts.unmount = {true, false, {}, {}, false};
            },
            [](auto& facts) {
              facts.unmount = {false, true, {}, "Y", true};
            },
            [](auto& facts) { facts.unmountedByUserAt = 0; }});
  multiply({[](auto& facts) { facts.destructiveJobRuns = true; },
            [](auto& facts) { facts.destructiveJobHere = true; }});
  multiply({[](auto& facts) { facts.takeover.controllerRuns = true; },
            [](auto& facts) { facts.takeover.awaitsRemount = true; },
            [](auto& facts) { facts.takeover = {true, true, 1, facts.now, false, true, "Z", {}}; },
            [](auto& facts) { facts.takeover = {true, false, 5, {}, true, true, "Z", true}; }});
  return all;
}

/// Whether one of the steps has the user type `halvercine VERB …`.
bool hasCommand(const Explanation& explanation, const std::string& verb) {
  return std::ranges::any_of(explanation.next, [&verb](const Step& step) {
    return step.command && step.command->starts_with("halvercine " + verb + " ");
  });
}

TEST(ExplanationTest, NoCombinationOfFactsGivesAdviceThatCannotHelp) {
  for (const auto& facts : everyCombination()) {
    const auto explanation = explain(facts);
    const auto& disk = facts.disk;
    const auto state = word(explanation.state);
    ASSERT_FALSE(explanation.headline.arguments.empty()) << state;
    const auto implies = [](bool condition, bool consequence) { return !condition || consequence; };
    const bool isGone = facts.presence == VolumeFacts::Presence::gone;
    ASSERT_TRUE(implies(isGone, state == "gone")) << state;
    ASSERT_TRUE(implies(hasCommand(explanation, "mount"), !disk.isMounted)) << state;
    ASSERT_TRUE(implies(hasCommand(explanation, "unmount"), disk.isMounted)) << state;
    const bool canBeTakenOver = disk.isMounted && !disk.isWritable && disk.isNtfs() &&
                                facts.mediaWritable != false && !facts.destructiveJobHere;
    ASSERT_TRUE(implies(hasCommand(explanation, "takeover"), canBeTakenOver)) << state;
    ASSERT_TRUE(implies(explanation.recovery == Recovery::running, facts.takeover.isWorking));
    ASSERT_TRUE(implies(isWritableState(explanation.state), disk.isWritable)) << state;
    ASSERT_TRUE(implies(isUnmountedState(explanation.state), !disk.isMounted)) << state;
  }
}

TEST(ExplanationTest, EveryFactHasItsLine) {
  auto facts = tests::readOnlyFacts(ReadOnlyReason::resourceReadOnly);
  facts.report->ownerId = "OWNER";
  facts.foreignDrivers = {"Paragon NTFS", "Tuxera NTFS"};
  facts.holders =
      std::vector<disks::Occupant>{{7, "cat", "/Volumes/Travel/x"}, {8, "", "/Volumes/Travel/y"}};
  facts.takeover = {.controllerRuns = true,
                    .isWorking = false,
                    .attempt = 3,
                    .nextAttempt = facts.now + std::chrono::seconds(119),
                    .stopped = false,
                    .awaitsRemount = false,
                    .lastError = "Resource busy",
                    .isModuleOff = true};
  std::string lines;
  for (const auto& line : explain(facts).evidence) lines += line.in(english) + '\n';
  EXPECT_EQ(lines, R"(File system: ntfs.
It is mounted at /Volumes/Travel, for reading only.
The file-system module reported on it 60 s ago. That counts.
The report says that the system handed the volume over as read-only.
The report is from the mount OWNER.
The medium can be written.
The disk tool names Halvercine's module as its driver.
Other NTFS drivers are installed: Paragon NTFS, Tuxera NTFS.
cat (process 7) has /Volumes/Travel/x open.
Process 8 has /Volumes/Travel/y open.
The resident controller (halvercine run) is running.
Attempts made to mount it for writing: 3 of 5.
The next attempt is due in 119 s.
When it failed last, the disk tool said: Resource busy
Halvercine holds back, because its file-system extension is not turned on.
)");
}

TEST(ExplanationTest, WhatIsNotKnownIsSaidAndNeverTakenForANo) {
  auto facts = tests::unmountedFacts();
  facts.personality.reset();
  facts.holders.reset();
  facts.mediaWritable.reset();
  const auto keys = evidenceKeys(facts);
  for (const auto* key :
       {"explain.fact.driver.unknown", "explain.fact.holders.unknown", "explain.fact.media.unknown",
        "explain.fact.report.none", "explain.fact.byhand.no"}) {
    EXPECT_THAT(keys, Contains(key));
  }
  EXPECT_THAT(keys, Not(Contains("explain.fact.holders.none")));
  facts.holders = std::vector<disks::Occupant>{{7, "dd", ""}};
  EXPECT_THAT(evidenceKeys(facts), Contains("explain.fact.holder.device"));
}

TEST(ExplanationTest, OneStateGivesWayToTheNext) {
  auto facts = tests::unmountedFacts();
  const auto state = [&facts] { return word(stateOf(facts)); };
  facts.holders = std::vector<disks::Occupant>{{7, "cat", ""}};
  EXPECT_EQ(state(), "unmountedHeld");
  facts.unmount.needsCheck = true;
  EXPECT_EQ(state(), "unmountedNeedsCheck");
  facts.unmount.mismatch = "x";
  EXPECT_EQ(state(), "unmountedMismatch");
  facts.personality = {PersonalityProbe::Owner::thirdParty, "x"};
  EXPECT_EQ(state(), "unmountedThirdParty");
  facts.unmountedByUserAt = 1;
  EXPECT_EQ(state(), "unmountedByUser");
  facts.takeover.awaitsRemount = true;
  EXPECT_EQ(state(), "unmountedForRemount");
  facts.takeover.lastError = "x";
  EXPECT_EQ(state(), "unmountedRemountFailed");
  facts.takeover.isWorking = true;
  EXPECT_EQ(state(), "unmountedForRemount") << "it is being tried again";
  facts.unmount.isChecking = true;
  EXPECT_EQ(state(), "unmountedChecking");
  facts.unmount.isCreationInterrupted = true;
  EXPECT_EQ(state(), "interruptedCreation");
  facts.destructiveJobHere = true;
  EXPECT_EQ(state(), "destructiveJob");
  facts.presence = VolumeFacts::Presence::gone;
  EXPECT_EQ(state(), "gone");
}

TEST(ExplanationTest, DurationsAreInTheLargestUnitThatTellsEnough) {
  const std::pair<double, const char*> cases[] = {
      {-5, "0 s"},       {0.9, "0 s"},  {119.9, "119 s"}, {120, "2 min"},
      {7199, "119 min"}, {7200, "2 h"}, {172800, "48 h"}, {1e300, "277777 h"},
  };
  for (const auto& [seconds, expected] : cases) {
    EXPECT_EQ(durationText(seconds).in(english), expected) << seconds;
  }
}

/// One entry of the documentation.
std::string entryText(const Situation& situation) {
  const auto explanation = explain(situation.facts);
  auto text = "### " + situation.title + "\n\n`" + word(explanation.state) + "`";
  if (explanation.recovery != Recovery::none) text += ", `" + word(explanation.recovery) + "`";
  text += "\n\n> " + explanation.headline.in(english) + "\n\n";
  for (const auto& action : explanation.program) text += "- " + action.in(english) + '\n';
  int number = 0;
  for (const auto& step : explanation.next) {
    text += std::to_string(++number) + ". " + step.text.in(english);
    if (step.command) text += " `" + *step.command + "`";
    text += '\n';
  }
  return text + '\n';
}

TEST(ExplanationTest, TheDocumentationSaysTheSame) {
  const std::string path = HALVERCINE_RESOURCES "/../docs/explain.md";
  const std::string mark = "## The catalogue\n\n";
  std::ifstream file(path);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const auto begin = text.find(mark);
  ASSERT_NE(begin, std::string::npos) << path;
  auto expected = text.substr(0, begin) + mark;
  for (const auto& situation : tests::catalogue()) expected += entryText(situation);
  expected.pop_back();
  if (std::getenv("HALVERCINE_UPDATE_DOCS")) std::ofstream(path) << expected;
  EXPECT_EQ(text, expected) << "run this test once with HALVERCINE_UPDATE_DOCS=1 to renew the file";
}

}  // namespace
}  // namespace halvercine::mount
