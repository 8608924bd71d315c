#include "package/scanner/scan_planner.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <map>

namespace Sonvik::scanner {
namespace {

// Real sheets are a few KiB; anything far larger is not one.
constexpr std::streamsize kMaxSheetBytes = 1 << 20;

bool ReadSmallFile(const std::string& path, std::string* text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  text->assign(static_cast<size_t>(kMaxSheetBytes) + 1, '\0');
  in.read(text->data(), kMaxSheetBytes + 1);
  if (in.bad() || in.gcount() > kMaxSheetBytes) return false;
  text->resize(static_cast<size_t>(in.gcount()));
  return true;
}

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string Stem(const std::string& name) {
  const size_t dot = name.rfind('.');
  return dot == std::string::npos ? name : name.substr(0, dot);
}

// The audio file of `files` a sheet's FILE line means: the name itself, else the same name in
// another letter case, else the same name with another audio extension (sheets often still name
// the .wav a .flac was made from). Folders in the name are dropped: sheets sit beside their
// audio. -1 when none fits.
int ResolveSheetFile(std::string written, const std::vector<WalkedFile>& files) {
  std::replace(written.begin(), written.end(), '\\', '/');
  if (const size_t slash = written.rfind('/'); slash != std::string::npos) {
    written.erase(0, slash + 1);
  }
  const std::string lower = Lower(written);
  const std::string stem = Lower(Stem(written));
  int by_case = -1;
  int by_stem = -1;
  for (size_t i = 0; i < files.size(); ++i) {
    if (files[i].kind != FileKind::kAudio) continue;
    if (files[i].name == written) return static_cast<int>(i);
    const std::string name = Lower(files[i].name);
    if (by_case < 0 && name == lower) by_case = static_cast<int>(i);
    if (by_stem < 0 && Lower(Stem(files[i].name)) == stem) by_stem = static_cast<int>(i);
  }
  return by_case >= 0 ? by_case : by_stem;
}

}  // namespace

std::vector<std::optional<SheetPart>> ScanPlanner::SplitBySheets(
    const std::vector<WalkedFile>& files) {
  std::vector<std::optional<SheetPart>> parts(files.size());
  for (const WalkedFile& sheet_file : files) {
    if (sheet_file.kind != FileKind::kCueSheet) continue;
    std::string text;
    std::string error;
    if (!ReadSmallFile(sheet_file.path, &text)) {
      report_(sheet_file.path, "cannot read the CUE sheet (unreadable or larger than 1 MiB)");
      continue;
    }
    auto parsed = ParseCueSheet(text, &error);
    if (!parsed) {
      report_(sheet_file.path, error);
      continue;
    }
    auto sheet = std::make_shared<const CueSheet>(std::move(*parsed));
    std::map<int, SheetPart> by_file;
    for (size_t e = 0; e < sheet->entries.size(); ++e) {
      const int file = ResolveSheetFile(sheet->entries[e].file, files);
      if (file < 0) {
        report_(sheet_file.path, "names a missing audio file: " + sheet->entries[e].file);
        continue;
      }
      SheetPart& part = by_file[file];
      part.entries.push_back(e);
    }
    for (auto& [file, part] : by_file) {
      if (parts[file]) {
        report_(sheet_file.path, "ignored: " + files[file].name + " is split by " +
                                     parts[file]->sheet_path + " already");
        continue;
      }
      part.sheet_path = sheet_file.path;
      part.sheet_size = sheet_file.size;
      part.sheet_mtime_ns = sheet_file.mtime_ns;
      part.sheet = sheet;
      parts[file] = std::move(part);
    }
  }
  return parts;
}

bool ScanPlanner::IsUnchanged(int64_t library_id, const WalkedFile& file, const SheetPart* part) {
  std::vector<KnownTrack>* rows = known_.Tracks(file.path);
  if (rows == nullptr) return false;
  const size_t expected_rows = part != nullptr ? part->entries.size() : 1;
  if (rows->size() != expected_rows) return false;
  for (const KnownTrack& row : *rows) {
    if (row.library_id != library_id || row.size != file.size || row.mtime_ns != file.mtime_ns) {
      return false;
    }
    if (part == nullptr) {
      if (row.virtual_index != 0 || !row.sheet_path.empty()) return false;
    } else if (row.sheet_path != part->sheet_path || row.sheet_size != part->sheet_size ||
               row.sheet_mtime_ns != part->sheet_mtime_ns) {
      return false;
    }
  }
  if (part != nullptr) {
    for (size_t index : part->entries) {
      const int number = part->sheet->entries[index].number;
      if (std::none_of(rows->begin(), rows->end(),
                       [number](const KnownTrack& row) { return row.virtual_index == number; })) {
        return false;
      }
    }
  }
  for (KnownTrack& row : *rows) row.seen = true;
  return true;
}

void ScanPlanner::PlanFolder(int64_t library_id, const std::vector<WalkedFile>& files) {
  const bool has_sheets = std::any_of(files.begin(), files.end(), [](const WalkedFile& f) {
    return f.kind == FileKind::kCueSheet;
  });
  std::vector<std::optional<SheetPart>> parts;
  if (has_sheets) parts = SplitBySheets(files);
  for (size_t i = 0; i < files.size(); ++i) {
    const WalkedFile& file = files[i];
    if (file.kind == FileKind::kAudio) {
      ++audio_files_;
      const SheetPart* part = has_sheets && parts[i] ? &*parts[i] : nullptr;
      if (!full_ && IsUnchanged(library_id, file, part)) {
        ++unchanged_files_;
        continue;
      }
      ReadJob job;
      job.library_id = library_id;
      job.file = file;
      if (part != nullptr) job.sheet = std::move(*parts[i]);
      jobs_.push_back(std::move(job));
    } else if (file.kind == FileKind::kPlaylist) {
      ++playlist_files_;
      KnownPlaylistFile* known = known_.PlaylistFile(file.path);
      if (known != nullptr) known->seen = true;
      if (known == nullptr || known->library_id != library_id || known->size != file.size ||
          known->mtime_ns != file.mtime_ns) {
        playlist_updates_.push_back({library_id, file});
      }
    }
  }
}

}  // namespace Sonvik::scanner
