#pragma once
// Runs the `sonvik` command line as a user would, with text on its standard input.
#include <string>
#include <vector>

namespace Sonvik::e2e {

struct CommandResult {
  int exit_code = -1;  // -1 when it did not exit normally
  std::string out;
  std::string err;
};

// Runs `program` with `args`, feeding `input` to its standard input; waits for it.
CommandResult RunProgram(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input = "");

// RunProgram(SonvikBinary(), args, input).
CommandResult RunSonvik(const std::vector<std::string>& args, const std::string& input = "");

}  // namespace Sonvik::e2e
