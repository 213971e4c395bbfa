#include "platform/simulated/FolderWatches.h"

#include <utility>

namespace halvercine::platform::simulated {

class FolderWatches::Watch : public DirectoryWatch {
 public:
  explicit Watch(std::shared_ptr<const Entry> entry) : entry_(std::move(entry)) {}

 private:
  std::shared_ptr<const Entry> entry_;
};

std::unique_ptr<DirectoryWatch> FolderWatches::add(const std::filesystem::path& directory,
                                                   std::function<void()> changed) {
  auto entry = std::make_shared<const Entry>(Entry{directory, std::move(changed)});
  std::erase_if(entries_, [](const auto& known) { return known.expired(); });
  entries_.push_back(entry);
  return std::make_unique<Watch>(std::move(entry));
}

void FolderWatches::announce(const std::filesystem::path& directory) {
  for (const auto& known : entries_) {
    const auto entry = known.lock();
    if (!entry || entry->directory != directory) continue;
    actor_.post([known] {
      if (const auto still = known.lock()) still->changed();
    });
  }
}

}  // namespace halvercine::platform::simulated
