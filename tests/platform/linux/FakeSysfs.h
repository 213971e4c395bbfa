// A device tree in a temporary folder, for hardware that the machine of the tests does not have.
#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <string>

namespace halvercine::platform::gnulinux {

class FakeSysfs {
 public:
  FakeSysfs() {
    std::string name =
        (std::filesystem::temp_directory_path() / "halvercine-sysfs-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    root_ = name;
    std::filesystem::create_directories(root_ / "class/block");
    std::filesystem::create_directories(root_ / "dev/block");
  }
  ~FakeSysfs() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  FakeSysfs(const FakeSysfs&) = delete;
  FakeSysfs& operator=(const FakeSysfs&) = delete;

  std::string root() const { return root_.string(); }

  void attribute(const std::string& device, const std::string& name, const std::string& value) {
    const auto file = root_ / "devices" / device / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << value;
  }

  /// A device of a subsystem; `path` is below /sys/devices.
  void device(const std::string& path, const std::string& subsystem) {
    std::filesystem::create_directories(root_ / "devices" / path);
    link("devices/" + path + "/subsystem", "../bus/" + subsystem);
  }

  /// A disk, or with a partition number, a partition; sizes in sectors. Calling it again replaces
  /// what was there.
  void block(const std::string& path, const std::string& number, int sequence, int partition = 0,
             int sectors = 2048) {
    const std::string name = path.substr(path.rfind('/') + 1);
    const auto colon = number.find(':');
    std::string facts = "MAJOR=" + number.substr(0, colon) + "\nMINOR=" + number.substr(colon + 1) +
                        "\nDEVNAME=" + name + "\nDISKSEQ=" + std::to_string(sequence) + "\n";
    if (partition != 0) facts += "PARTN=" + std::to_string(partition) + "\n";
    device(path, "block");
    attribute(path, "uevent", facts);
    attribute(path, "size", std::to_string(sectors) + "\n");
    link("class/block/" + name, "../../devices/" + path);
    link("dev/block/" + number, "../../devices/" + path);
  }

  void link(const std::string& path, const std::string& target) {
    std::filesystem::remove(root_ / path);
    std::filesystem::create_symlink(target, root_ / path);
  }

  void remove(const std::string& name) { std::filesystem::remove(root_ / "class/block" / name); }

 private:
  std::filesystem::path root_;
};

}  // namespace halvercine::platform::gnulinux
