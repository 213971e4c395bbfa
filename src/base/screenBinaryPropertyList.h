// What must hold of a binary property list before the parser may see it.
#pragma once

#include <string_view>

namespace halvercine::base {

/// Whether a binary property list unfolds to a tree of at most 32 levels and a modest size, and no
/// key or text in it holds a zero.
///
/// In this format lists and dictionaries refer to their members by number. A list of two hundred
/// bytes can refer to the same members again and again until it stands for millions of values, or
/// nest as deep as it has bytes; the parser follows both, for seconds or beyond the end of its
/// stack. A zero in a key makes it end the program.
bool screenBinaryPropertyList(std::string_view bytes);

}  // namespace halvercine::base
