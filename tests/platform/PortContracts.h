// What every adapter of a port must do, whichever machine it stands for.
//
// `MachineUnderTest` has `actor()`, `platform()`, `writableFolder()` on some volume of it, and
// `mountedVolume()`: the BSD name of a volume that is mounted and stays so, or nothing when this
// computer has none (the tests that need one are skipped). Instantiate with
// INSTANTIATE_TYPED_TEST_SUITE_P(Name, PortContracts, MachineUnderTest).
#pragma once

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/MainActor.h"
#include "base/OwnedPost.h"
#include "platform/Platform.h"

namespace halvercine::tests {

template <class MachineUnderTest>
class PortContracts : public testing::Test {
 protected:
  platform::Platform& platform() { return machine_.platform(); }
  base::MainActor& actor() { return machine_.actor(); }
  std::optional<std::string> volume() { return machine_.mountedVolume(); }

  std::unique_ptr<platform::DiskArbitrationSession> session() {
    return platform().diskArbitration->createSession();
  }

  MachineUnderTest machine_;
};

TYPED_TEST_SUITE_P(PortContracts);

TYPED_TEST_P(PortContracts, clockCallsInTheOrderOfTheDeadlinesAndNeverAtOnce) {
  auto& clock = *this->platform().clock;
  std::vector<int> calls;
  const auto start = clock.uptime();
  const auto call = [&](platform::Uptime deadline, int number) {
    return clock.callAt(deadline, [&calls, number] { calls.push_back(number); });
  };
  call(start + std::chrono::milliseconds(3), 4);
  const auto cancelled = call(start + std::chrono::milliseconds(1), 9);
  call(start + std::chrono::milliseconds(1), 2);
  call(start + std::chrono::milliseconds(1), 3);
  call(start - std::chrono::hours(1), 1);
  clock.cancel(cancelled);
  EXPECT_TRUE(calls.empty());
  this->actor().runUntil([&] { return calls.size() == 4; });
  EXPECT_EQ(calls, (std::vector{1, 2, 3, 4}));
  EXPECT_GE(clock.uptime(), start + std::chrono::milliseconds(3));
}

TYPED_TEST_P(PortContracts, bootSessionEndsWithAZeroByteAndStaysTheSame) {
  auto& info = *this->platform().systemInfo;
  const auto session = info.kernelVariable("kern.bootsessionuuid");
  ASSERT_TRUE(session);
  EXPECT_GT(session->find('\0'), 0u);
  EXPECT_NE(session->find('\0'), std::string::npos);
  EXPECT_EQ(session, info.kernelVariable("kern.bootsessionuuid"));
  EXPECT_FALSE(info.kernelVariable("kern.no_such_variable"));
}

TYPED_TEST_P(PortContracts, onlyOurContainersAreGivenAndTheyExist) {
  auto& containers = *this->platform().containers;
  const auto shared = containers.groupContainer("group.com.halvercine.shared");
  ASSERT_TRUE(shared);
  EXPECT_TRUE(std::filesystem::is_directory(*shared));
  EXPECT_FALSE(containers.groupContainer("../escape"));
  ASSERT_TRUE(containers.home());
  EXPECT_TRUE(containers.home()->is_absolute());
  ASSERT_TRUE(containers.applicationSupport());
  EXPECT_TRUE(containers.applicationSupport()->is_absolute());
}

TYPED_TEST_P(PortContracts, everyMediumIsFoundByItsNameAndHasItsOwnId) {
  auto& registry = *this->platform().mediaRegistry;
  std::set<std::uint64_t> ids;
  for (const auto& medium : registry.allMedia()) {
    const auto name = medium->property(platform::registry_key::bsdName);
    ASSERT_TRUE(name && name->template as<std::string>());
    const auto id = medium->entryId();
    ASSERT_TRUE(id);
    EXPECT_TRUE(ids.insert(*id).second);
    const auto again = registry.media(*name->template as<std::string>());
    ASSERT_TRUE(again);
    EXPECT_EQ(again->entryId(), id);
    EXPECT_FALSE(again->className().empty());
  }
  EXPECT_FALSE(registry.media("disk999999"));
  EXPECT_FALSE(registry.media(""));
}

TYPED_TEST_P(PortContracts, theWayUpTheRegistryEnds) {
  for (auto entries = this->platform().mediaRegistry->allMedia(); !entries.empty();
       entries.pop_back()) {
    int steps = 0;
    for (auto above = entries.back()->parent(); above; above = above->parent()) {
      ASSERT_LT(++steps, 100);
    }
  }
}

TYPED_TEST_P(PortContracts, aSessionReplaysEveryDiskOfTheRegistryLater) {
  auto session = this->session();
  ASSERT_TRUE(session);
  std::set<std::string> expected;
  for (const auto& medium : this->platform().mediaRegistry->allMedia()) {
    const auto name = medium->property(platform::registry_key::bsdName);
    expected.insert(*name->template as<std::string>());
  }
  if (expected.empty()) GTEST_SKIP() << "this machine has no disks";
  // Callbacks may come on any thread: what they share outlives them, and they only post.
  auto appeared = std::make_shared<std::set<std::string>>();
  const auto note = [&actor = this->actor(), appeared](std::optional<std::string> name) {
    actor.post([appeared, name] { appeared->insert(name.value_or("")); });
  };
  session->start({note, [](auto) {}, [](auto) {}});
  EXPECT_TRUE(appeared->empty());
  this->actor().runUntil([&] { return std::ranges::includes(*appeared, expected); });
  EXPECT_TRUE(std::ranges::includes(*appeared, expected));
  session.reset();
}

TYPED_TEST_P(PortContracts, aDescriptionHasTheTypesOfTheKeys) {
  auto session = this->session();
  ASSERT_TRUE(session);
  EXPECT_FALSE(session->describe("disk999999"));
  namespace key = platform::disk_description;
  for (const auto& medium : this->platform().mediaRegistry->allMedia()) {
    const auto name = medium->property(platform::registry_key::bsdName);
    const auto disk = session->describe(*name->template as<std::string>());
    if (!disk) continue;  // gone since
    ASSERT_TRUE(disk->media);
    EXPECT_EQ(disk->media->entryId(), medium->entryId());
    const auto& description = disk->description;
    const auto hasType = [&]<class T>(std::string_view wanted, const T*) {
      const auto found = description.find(wanted);
      EXPECT_TRUE(found == description.end() || found->second.template as<T>()) << wanted;
    };
    for (const auto flag :
         {key::mediaWhole, key::mediaWritable, key::mediaRemovable, key::deviceInternal}) {
      hasType(flag, static_cast<const bool*>(nullptr));
    }
    for (const auto number : {key::mediaSize, key::mediaBlockSize}) {
      hasType(number, static_cast<const std::int64_t*>(nullptr));
    }
    for (const auto text : {key::mediaName, key::mediaContent, key::volumeKind, key::volumeName,
                            key::deviceModel, key::deviceProtocol, key::busName}) {
      hasType(text, static_cast<const std::string*>(nullptr));
    }
    hasType(key::volumePath, static_cast<const platform::FileUrl*>(nullptr));
    hasType(key::volumeUuid, static_cast<const platform::Uuid*>(nullptr));
    hasType(key::mediaUuid, static_cast<const platform::Uuid*>(nullptr));
    EXPECT_TRUE(description.contains(key::mediaWhole));
    EXPECT_TRUE(description.contains(key::mediaSize));
  }
}

TYPED_TEST_P(PortContracts, aMountedVolumesPathHasItsStatistics) {
  const auto volume = this->volume();
  if (!volume) GTEST_SKIP() << "this machine has no mounted volume";
  const auto disk = this->session()->describe(*volume);
  ASSERT_TRUE(disk);
  const auto* url = disk->description.at(std::string(platform::disk_description::volumePath))
                        .template as<platform::FileUrl>();
  ASSERT_TRUE(url);
  EXPECT_TRUE(url->path == "/" || !url->path.ends_with('/'));
  const auto statistics = this->platform().fileSystems->statistics(url->path);
  ASSERT_TRUE(statistics);
  EXPECT_FALSE(statistics->typeName.empty());
  EXPECT_FALSE(statistics->mountedFrom.empty());
  EXPECT_GT(statistics->blockSize, 0u);
  EXPECT_LE(statistics->availableBlocks, statistics->blocks);
  EXPECT_FALSE(this->platform().fileSystems->statistics("/no/such\x01place"));
}

TYPED_TEST_P(PortContracts, workersEndTogetherAndTheirFailureIsTold) {
  for (const bool fails : {false, true}) {
    std::atomic<int> runs{0};
    int ends = 0;
    std::exception_ptr failure;
    const auto work = [&](std::size_t worker) {
      ++runs;
      if (fails && worker == 3) throw std::runtime_error("worker");
    };
    const auto group =
        this->platform().workerThreads->start(5, work, [&](const std::exception_ptr& thrown) {
          ++ends;
          failure = thrown;
        });
    EXPECT_EQ(ends, 0);
    this->actor().runUntil([&] { return ends > 0; });
    EXPECT_EQ(runs, 5);
    EXPECT_EQ(failure != nullptr, fails);
  }
  // Nobody is told any more.
  int ends = 0;
  this->platform()
      .workerThreads
      ->start(
          1, [](std::size_t) {}, [&](auto) { ++ends; })
      .reset();
  bool isOver = false;
  const auto last = this->platform().workerThreads->start(
      1, [](std::size_t) {}, [&](auto) { isOver = true; });
  this->actor().runUntil([&] { return isOver; });
  EXPECT_EQ(ends, 0);
}

TYPED_TEST_P(PortContracts, theLogTakesAnyText) {
  auto& log = *this->platform().systemLog;
  log.write(platform::LogLevel::info, "");
  log.write(platform::LogLevel::error, std::string_view("\0%s\xff\n", 5));
}

TYPED_TEST_P(PortContracts, settingsKeepTheirTypesUntilTheyAreRemoved) {
  auto& defaults = *this->platform().userDefaults;
  const std::string key = "settingOfTheContract";
  platform::Blob bytes;
  bytes.bytes = {std::byte{0}, std::byte{0xFF}};
  const platform::PropertyValue values[] = {
      platform::PropertyValue(true),
      platform::PropertyValue(std::int64_t{1} << 40),
      platform::PropertyValue(794048700.0),
      platform::PropertyValue(std::string("U\u0308 \"1\"")),
      platform::PropertyValue(bytes),
      platform::PropertyValue(platform::PropertyDictionary{
          {"disk", platform::PropertyValue(794048700.25)}, {"", platform::PropertyValue(false)}})};
  for (const auto& value : values) {
    EXPECT_TRUE(defaults.setValue(key, value));
    EXPECT_EQ(defaults.value(key), value);
  }
  EXPECT_TRUE(defaults.remove(key));
  EXPECT_EQ(defaults.value(key), std::nullopt);
  EXPECT_TRUE(defaults.remove(key));
}

TYPED_TEST_P(PortContracts, anUncachedFileIsThereOnceAndGoesWithItsOwner) {
  const auto folder = this->machine_.writableFolder();
  auto& files = *this->platform().uncachedFiles;
  const std::string name = "file-of-the-contract";
  auto file = files.create(folder, name);
  ASSERT_TRUE(file);
  EXPECT_EQ(files.create(folder, name).error(), EEXIST);
  EXPECT_GT((*file)->bufferAlignment(), 0u);
  EXPECT_EQ((*file)->flush(), 0);
  *file = nullptr;
  file = files.create(folder, name);
  ASSERT_TRUE(file);
  EXPECT_EQ((*file)->remove(), 0);
  EXPECT_EQ((*file)->remove(), 0) << "twice does nothing";
}

TYPED_TEST_P(PortContracts, aServiceThatNobodyServesIsAnErrorAndNoReply) {
  auto connection = this->platform().helperTransport->open("com.halvercine.contract.nobody");
  if (!connection) {
    EXPECT_FALSE(connection.error().text.empty()) << "why there is no such thing here";
    return;
  }
  std::optional<platform::SystemError> error;
  bool hasReplied = false;
  base::OwnedPost failed(this->actor());
  base::OwnedPost replied(this->actor());
  auto* const proxy = (*connection)->remoteObject(failed.wrap([&](platform::SystemError told) {
    error = std::move(told);
  }));
  ASSERT_TRUE(proxy);
  proxy->send({platform::HelperSelector::formattingAvailable, {}},
              [reply = replied.wrap([&] { hasReplied = true; })](const auto&) { reply(); });
  this->actor().runUntil([&] { return error || hasReplied; });
  EXPECT_FALSE(hasReplied);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "NSCocoaErrorDomain");
  EXPECT_EQ(error->code, 4099);  // NSXPCConnectionInvalid
}

TYPED_TEST_P(PortContracts, theMachineIsKeptAwakeByEachAssertionForItself) {
  auto& assertions = *this->platform().sleepAssertions;
  const auto take = [&](const std::string& name) {
    return assertions.take("PreventUserIdleSystemSleep", name);
  };
  auto first = take("the contract's \"first\"");
  auto second = take("der zweite: \u00DC");
  EXPECT_EQ(first == nullptr, second == nullptr) << "a system has them or has none";
  first.reset();
  EXPECT_EQ(second == nullptr, take("the third") == nullptr);
}

TYPED_TEST_P(PortContracts, aDaemonThatTheBundleDoesNotHoldIsRefused) {
  const auto daemon = this->platform().daemonServices->daemon("com.halvercine.contract.none.plist");
  if (!daemon) return;  // a system without such a service
  EXPECT_NE(daemon->status(), platform::DaemonStatus::enabled);
  std::optional<platform::SystemError> error;
  bool hasEnded = false;
  base::OwnedPost ended(this->actor());
  daemon->registerDaemon(ended.wrap([&](std::optional<platform::SystemError> told) {
    error = std::move(told);
    hasEnded = true;
  }));
  this->actor().runUntil([&] { return hasEnded; });
  ASSERT_TRUE(error);
  EXPECT_FALSE(error->text.empty());
  EXPECT_NE(daemon->status(), platform::DaemonStatus::enabled);
}

TYPED_TEST_P(PortContracts, theBundleIsAFolderAndTheSystemBeganBeforeNow) {
  auto& bundle = *this->platform().applicationBundle;
  if (const auto path = bundle.path()) {
    EXPECT_TRUE(path->is_absolute());
    const auto facts = bundle.inspect(*path);
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->kind, platform::FileFacts::Kind::folder);
  }
  EXPECT_FALSE(bundle.info("NoSuchKeyOfTheContract"));
  const auto bootTime = this->platform().systemInfo->bootTime();
  ASSERT_TRUE(bootTime);
  EXPECT_LT(*bootTime, this->platform().clock->now());
}

TYPED_TEST_P(PortContracts, noProcessHasTheNumberZeroOrBelow) {
  auto& processes = *this->platform().processes;
  for (const std::int32_t pid : {-1, INT32_MIN}) {
    EXPECT_TRUE(processes.probe(pid)) << pid;
    EXPECT_EQ(processes.startTime(pid), std::nullopt) << pid;
  }
}

REGISTER_TYPED_TEST_SUITE_P(
    PortContracts, clockCallsInTheOrderOfTheDeadlinesAndNeverAtOnce,
    bootSessionEndsWithAZeroByteAndStaysTheSame, onlyOurContainersAreGivenAndTheyExist,
    everyMediumIsFoundByItsNameAndHasItsOwnId, theWayUpTheRegistryEnds,
    aSessionReplaysEveryDiskOfTheRegistryLater, aDescriptionHasTheTypesOfTheKeys,
    aMountedVolumesPathHasItsStatistics, workersEndTogetherAndTheirFailureIsTold,
    theLogTakesAnyText, settingsKeepTheirTypesUntilTheyAreRemoved,
    anUncachedFileIsThereOnceAndGoesWithItsOwner, aServiceThatNobodyServesIsAnErrorAndNoReply,
    theMachineIsKeptAwakeByEachAssertionForItself, aDaemonThatTheBundleDoesNotHoldIsRefused,
    theBundleIsAFolderAndTheSystemBeganBeforeNow, noProcessHasTheNumberZeroOrBelow);

}  // namespace halvercine::tests
