#pragma once
// The voice module, loaded with dlopen from the library folder beside the binary's folder
// (bin/../lib/sonvik/), so a build tree and an installed tree find it the same way.
#include <string>

#include "voice_module/module/api_table.h"

namespace QUOR::server {

class LoadedModule {
 public:
  // Loads the module at `path`; throws std::runtime_error with the loader's reason.
  explicit LoadedModule(const std::string& path);
  ~LoadedModule();
  LoadedModule(const LoadedModule&) = delete;
  LoadedModule& operator=(const LoadedModule&) = delete;

  const std::string& path() const { return path_; }
  const APIEntry* api_table() const { return api_table_; }
  const APICheckEntry* check_table() const { return check_table_; }

 private:
  std::string path_;
  void* handle_ = nullptr;
  const APIEntry* api_table_ = nullptr;
  const APICheckEntry* check_table_ = nullptr;
};

// <folder of /proc/self/exe>/../lib/sonvik/<file_name>: where the build installs its libraries.
std::string PackageLibraryPath(const std::string& file_name);

// PackageLibraryPath("libsonvik_voice.so")
std::string DefaultModulePath();

}  // namespace QUOR::server
