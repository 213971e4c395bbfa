// Where the command line gets a password from.
#pragma once

#include <expected>

#include "app/commands.h"
#include "base/Secret.h"

namespace halvercine::app {

/// What the user enters for the protector that the options name: asked for on the terminal, without
/// echo and again until a recovery password is valid; elsewhere the first line of standard input.
/// Empty when the user enters nothing. The error is the answer to end with.
std::expected<base::Secret, Answer> readCredential(const CommandContext& context,
                                                   const DiskView& view);

}  // namespace halvercine::app
