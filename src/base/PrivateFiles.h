// Files that belong to the program alone, and reading files that others wrote.
#pragma once

#include <cstddef>
#include <expected>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <system_error>

#include "base/Secret.h"

namespace halvercine::base {

/// Whether `name` names something directly inside a folder: not empty, no slash, no zero byte,
/// neither
/// "." nor "..". Names that come from another process are held to this before they become a path.
bool isPlainFileName(std::string_view name);

/// Makes `directory` and its missing parents, each with mode 0700 from the moment it exists. A
/// folder that is there already is left as it is.
std::error_code makePrivateDirectory(const std::filesystem::path& directory);

/// Replaces the file at `path` by `content` in one step: readers see the old file or the new one.
/// The new file has mode 0600 from its first byte, and a symbolic link at `path` is replaced, not
/// followed. On an error the old file stands and no temporary file is left. The temporary file,
/// which a crash may leave behind, is a dot, the name, ".tmp-" and a random UUID in upper case, in
/// the same folder.
std::error_code replacePrivateFile(const std::filesystem::path& path, std::string_view content);

/// The same for a file that another program may have made: the new file gets the permissions of the
/// regular file that it replaces; 0600 when there was none.
std::error_code replaceFileKeepingMode(const std::filesystem::path& path, std::string_view content);

/// Makes a file that is not there yet, with mode 0600 from its first byte: whatever is at `path`, a
/// symbolic link too, is an error. On an error in writing nothing is left.
std::error_code createPrivateFile(const std::filesystem::path& path, std::string_view content);

/// Deletes the entry at `path` if `isUnwanted` says so of it. It is asked about a temporary name,
/// as which nobody else finds the entry: what others put in place meanwhile is not deleted in its
/// stead. An entry that is wanted after all is back afterwards, unless a newer one has taken its
/// place.
void removeFileIf(const std::filesystem::path& path,
                  const std::function<bool(const std::filesystem::path&)>& isUnwanted);

/// The content of the regular file at `path`, of at most `limit` bytes. Symbolic links are not
/// followed; a pipe, a device or a larger file is an error, and none of them can make the call
/// wait.
std::expected<std::string, std::error_code> readRegularFile(const std::filesystem::path& path,
                                                            std::size_t limit);

/// The same for a file that holds a secret: no other copy is left in memory.
std::expected<Secret, std::error_code> readSecretFile(const std::filesystem::path& path,
                                                      std::size_t limit);

/// The same for `path` relative to an open folder (or AT_FDCWD).
std::expected<std::string, std::error_code> readRegularFileAt(int directory, const char* path,
                                                              std::size_t limit);

}  // namespace halvercine::base
