#include "package/playlist/m3u_import.h"

#include <cstdint>
#include <filesystem>
#include <optional>

#include "package/library/user_view.h"
#include "package/playlist/full_sync.h"
#include "package/playlist/m3u.h"
#include "package/playlist/playlist_files.h"
#include "package/playlist/playlist_name.h"
#include "package/playlist/playlist_store.h"
#include "package/sqlite/statement.h"
#include "package/sqlite/transaction.h"

namespace Sonvik::playlist {
namespace {

namespace fs = std::filesystem;

struct PlaylistFileRow {
  int64_t id;
  std::string path;
  int64_t size;
  int64_t mtime_ns;
};

// Finds the shared tracks an entry stands for, in playing order.
class EntryResolver {
 public:
  explicit EntryResolver(sqlite3* db)
      : exact_(db, Query("t.path = ? AND t.virtual_index = ?")),
        of_file_(db, Query("t.path = ? AND t.virtual_index > 0")),
        of_sheet_(db, Query("t.sheet_path = ?")) {}

  std::vector<PlaylistEntry> Resolve(const std::string& path, int32_t virtual_index) {
    std::vector<PlaylistEntry> found = Lookup(path, virtual_index);
    if (found.empty()) {
      // The list may reach the music through a symbolic link that the library resolved.
      std::error_code error;
      fs::path real = fs::weakly_canonical(path, error);
      if (!error && real.string() != path) found = Lookup(real.string(), virtual_index);
    }
    return found;
  }

 private:
  static std::string Query(const std::string& condition) {
    return "SELECT t.path, t.virtual_index FROM tracks t WHERE " + condition + " AND " +
           library::UserViewCondition(0, "t.library_id") + " ORDER BY t.virtual_index";
  }

  static void Collect(sqlite::Statement& statement, std::vector<PlaylistEntry>& out) {
    while (statement.Step()) {
      out.push_back({std::string(statement.ColumnText(0)), statement.ColumnInt(1)});
    }
    statement.Reset();
  }

  std::vector<PlaylistEntry> Lookup(const std::string& path, int32_t virtual_index) {
    std::vector<PlaylistEntry> found;
    exact_.BindAll(path, virtual_index);
    Collect(exact_, found);
    if (!found.empty() || virtual_index > 0) return found;
    of_file_.Bind(1, path);
    Collect(of_file_, found);
    if (!found.empty()) return found;
    of_sheet_.Bind(1, path);
    Collect(of_sheet_, found);
    return found;
  }

  sqlite::Statement exact_;
  sqlite::Statement of_file_;
  sqlite::Statement of_sheet_;
};

std::string PlaylistNameOfFile(const std::string& path) {
  fs::path file(path);
  std::string extension = file.extension().string();
  for (char& c : extension) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  if (extension != ".m3u" && extension != ".m3u8") return "";
  return file.stem().string();
}

// `name`, or the first of "name (2)", "name (3)", ... no other shared playlist uses.
std::string FreeName(sqlite3* db, const std::string& name, int64_t own_id) {
  for (int n = 1;; ++n) {
    std::string candidate = n == 1 ? name : name + " (" + std::to_string(n) + ")";
    auto existing = FindStoredPlaylist(db, 0, candidate);
    if (!existing || existing->id == own_id) return candidate;
  }
}

}  // namespace

ImportReport ImportM3uPlaylists(sqlite3* db) {
  ImportReport report;
  FullSyncScope durable(db);
  sqlite::Transaction transaction(db);

  // Foreign keys cascade when the scanner forgets a file; this catches a connection without them.
  sqlite::Statement orphans(db,
                            "DELETE FROM playlists WHERE source_file_id IS NOT NULL AND"
                            " source_file_id NOT IN (SELECT id FROM playlist_files)");
  orphans.Run();

  std::vector<PlaylistFileRow> rows;
  {
    sqlite::Statement select(db,
                             "SELECT f.id, f.path, f.size, f.mtime_ns FROM playlist_files f"
                             " JOIN libraries l ON l.id = f.library_id WHERE l.owner_uid = 0"
                             " ORDER BY f.path");
    while (select.Step()) {
      rows.push_back({select.ColumnInt64(0), std::string(select.ColumnText(1)),
                      select.ColumnInt64(2), select.ColumnInt64(3)});
    }
  }

  sqlite::Statement find_import(
      db, "SELECT id, source_size, source_mtime_ns FROM playlists WHERE source_file_id = ?");
  sqlite::Statement insert(db,
                           "INSERT INTO playlists (owner_uid, name, source_file_id, source_size,"
                           " source_mtime_ns) VALUES (0, ?, ?, ?, ?)");
  sqlite::Statement update(
      db, "UPDATE playlists SET source_size = ?, source_mtime_ns = ? WHERE id = ?");
  EntryResolver resolver(db);

  for (const PlaylistFileRow& row : rows) {
    find_import.Bind(1, row.id);
    std::optional<int64_t> playlist_id;
    bool unchanged = false;
    if (find_import.Step()) {
      playlist_id = find_import.ColumnInt64(0);
      unchanged =
          find_import.ColumnInt64(1) == row.size && find_import.ColumnInt64(2) == row.mtime_ns;
    }
    find_import.Reset();
    if (unchanged) {
      ++report.unchanged;
      continue;
    }

    const std::string name = PlaylistNameOfFile(row.path);
    if (!IsValidPlaylistFileName(name)) {
      report.problems.push_back(row.path + ": the file name cannot name a playlist");
      continue;
    }
    auto text = ReadSmallFile(row.path, kMaxPlaylistFileBytes);
    if (!text) {
      report.problems.push_back(row.path + ": cannot be read; its playlist is left as it was");
      continue;
    }

    const fs::path folder = fs::path(row.path).parent_path();
    std::vector<PlaylistEntry> entries;
    for (const PlaylistEntry& entry : ParseM3u(*text)) {
      fs::path location(entry.path);
      const std::string path =
          (location.is_absolute() ? location : folder / location).lexically_normal().string();
      std::vector<PlaylistEntry> tracks = resolver.Resolve(path, entry.virtual_index);
      if (tracks.empty()) {
        report.problems.push_back(row.path + ": no track for \"" + entry.path + "\", skipped");
        continue;
      }
      entries.insert(entries.end(), tracks.begin(), tracks.end());
    }

    if (playlist_id) {
      update.BindAll(row.size, row.mtime_ns, *playlist_id);
      update.Run();
      update.Reset();
    } else {
      insert.BindAll(FreeName(db, name, 0), row.id, row.size, row.mtime_ns);
      insert.Run();
      insert.Reset();
      playlist_id = sqlite3_last_insert_rowid(db);
    }
    WriteStoredEntries(db, *playlist_id, entries);
    ++report.imported;
  }
  transaction.Commit();
  return report;
}

}  // namespace Sonvik::playlist
