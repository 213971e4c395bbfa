# Writes a C++ source with the text of resource files, so that the program needs none at run time.
# Run as a script: cmake -DOUTPUT=… -DROOT=… -DFILES=a;b -P EmbedResources.cmake
set(entries "")
foreach(file IN LISTS FILES)
  file(READ "${ROOT}/${file}" content)
  # Compilers limit one literal to 64 KiB in places; adjacent literals are joined.
  string(LENGTH "${content}" length)
  set(offset 0)
  set(literal "")
  while(offset LESS length)
    string(SUBSTRING "${content}" ${offset} 12000 piece)
    # At the end of a line, so that no character is cut in two.
    string(FIND "${piece}" "\n" end REVERSE)
    math(EXPR end "${end} + 1")
    if(end GREATER 0)
      string(SUBSTRING "${piece}" 0 ${end} piece)
    endif()
    string(LENGTH "${piece}" taken)
    string(APPEND literal "R\"hvl(${piece})hvl\"\n")
    math(EXPR offset "${offset} + ${taken}")
  endwhile()
  string(APPEND entries "    Entry{\"${file}\",\n${literal}},\n")
endforeach()
file(WRITE "${OUTPUT}" "#include \"base/Resources.h\"

#include <algorithm>
#include <array>
#include <iterator>

namespace halvercine::base {
namespace {

struct Entry {
  std::string_view path;
  std::string_view text;
};

constexpr Entry entries[] = {
${entries}};

}  // namespace

std::optional<std::string_view> resource(std::string_view path) {
  const auto* found = std::find_if(std::begin(entries), std::end(entries),
                                   [path](const Entry& entry) { return entry.path == path; });
  if (found == std::end(entries)) return std::nullopt;
  return found->text;
}

std::vector<std::string_view> resourcesBelow(std::string_view prefix) {
  std::vector<std::string_view> paths;
  for (const auto& entry : entries) {
    if (entry.path.starts_with(prefix)) paths.push_back(entry.path);
  }
  return paths;
}

}  // namespace halvercine::base
")
