#pragma once
// Reading a password for `sonvik user add|passwd`.
#include <string>

namespace Sonvik::cli {

// With `from_stdin`: one line of standard input (without its line end), for scripts.
// Otherwise: asked twice on the terminal without echo; both must match.
// Throws std::runtime_error with what to do next (no terminal, mismatch, empty password).
std::string ReadNewPassword(bool from_stdin);

}  // namespace Sonvik::cli
