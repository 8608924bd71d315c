#include "host/server/module_loader.h"

#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

namespace QUOR::server {

LoadedModule::LoadedModule(const std::string& path) : path_(path) {
  if (access(path.c_str(), F_OK) != 0) {
    throw std::runtime_error("the voice module is missing: " + path +
                             " does not exist (build the sonvik_voice target, or reinstall)");
  }
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ == nullptr) {
    throw std::runtime_error("cannot load the voice module " + path + ": " + dlerror());
  }
  using TableGetter = const APIEntry* (*)();
  using CheckGetter = const APICheckEntry* (*)();
  auto get_table = reinterpret_cast<TableGetter>(dlsym(handle_, "GetAPITable"));
  auto get_checks = reinterpret_cast<CheckGetter>(dlsym(handle_, "GetAPICheckTable"));
  if (get_table == nullptr || get_checks == nullptr) {
    dlclose(handle_);
    throw std::runtime_error("the voice module " + path +
                             " exports no GetAPITable/GetAPICheckTable");
  }
  api_table_ = get_table();
  check_table_ = get_checks();
}

LoadedModule::~LoadedModule() {
  if (handle_ != nullptr) dlclose(handle_);
}

std::string PackageLibraryPath(const std::string& file_name) {
  std::error_code error;
  std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return "lib/sonvik/" + file_name;
  return (exe.parent_path() / ".." / "lib" / "sonvik" / file_name).lexically_normal().string();
}

std::string DefaultModulePath() { return PackageLibraryPath("libsonvik_voice.so"); }

}  // namespace QUOR::server
