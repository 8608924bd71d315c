#pragma once
// Benchmarks set up a whole package (init, users, libraries) and must leave nothing behind, so
// they run inside the tests' private mount namespace.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace Sonvik::bench {

// Returns when already inside the namespace; otherwise re-runs this program inside it with the
// same arguments (through tests/run_in_namespace.sh of `source_dir`) and only returns on failure.
inline void EnterTestNamespace(int argc, char** argv, const char* source_dir) {
  const char* inside = std::getenv("SONVIK_IN_TEST_NAMESPACE");
  if (inside != nullptr && std::strcmp(inside, "1") == 0) return;
  std::string script = std::string(source_dir) + "/tests/run_in_namespace.sh";
  std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  std::vector<char*> args = {script.data(), self.data()};
  for (int i = 1; i < argc; ++i) args.push_back(argv[i]);
  args.push_back(nullptr);
  ::execv(script.c_str(), args.data());
  std::perror("run_in_namespace.sh");
  std::exit(1);
}

}  // namespace Sonvik::bench
