#pragma once
// Walks a music folder depth-first and hands over, folder by folder, the files the scanner
// cares about (audio, CUE sheets, playlists) with their size and mtime from one stat each.
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "package/scanner/file_kinds.h"

namespace Sonvik::scanner {

struct WalkedFile {
  std::string name;  // within its folder
  std::string path;  // absolute
  FileKind kind = FileKind::kOther;
  int64_t size = 0;
  int64_t mtime_ns = 0;
};

struct WalkCallbacks {
  // One folder's files, sorted by name; called for every folder that could be read.
  std::function<void(const std::string& folder, const std::vector<WalkedFile>& files)> on_folder;
  // A folder that could not be read (its contents are then unknown, not gone).
  std::function<void(const std::string& folder, const std::string& message)> on_unreadable;
};

// Walks `root` (absolute, no trailing slash unless "/"). Hidden entries (leading dot) are
// skipped, and so are folders in `skipped_folders` (other music folders nested inside this one:
// their files belong to them). Symbolic links are followed, each folder visited once. Answers
// false when `root` itself cannot be read (on_unreadable was called for it).
bool WalkMusicFolder(const std::string& root, const std::set<std::string>& skipped_folders,
                     const WalkCallbacks& callbacks);

}  // namespace Sonvik::scanner
