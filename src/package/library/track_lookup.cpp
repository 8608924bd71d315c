#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include "package/library/fixed_text.h"
#include "package/library/library_database.h"
#include "package/library/track_record.h"
#include "package/library/user_view.h"
#include "package/sqlite/statement.h"
#include "package/sqlite/statement_cache.h"

namespace {

constexpr int kUnknownTrack = -1;
constexpr int kBadArgument = -2;
constexpr int kLibraryUnreadable = -3;

// A positive decimal track id, digits only; 0 otherwise.
int64_t ParseTrackId(const char* text) {
  if (text == nullptr || *text < '0' || *text > '9') return 0;
  errno = 0;
  char* end = nullptr;
  const long long value = std::strtoll(text, &end, 10);
  if (errno != 0 || *end != '\0' || value <= 0) return 0;
  return value;
}

// Fills `record` from the current row; false when the path does not fit (a cut path would name
// another file). Other texts are cut at a character boundary.
bool FillRecord(const Sonvik::sqlite::Statement& row, TrackRecord* record) {
  using Sonvik::library::CopyFixedText;
  record->id = static_cast<int32_t>(row.ColumnInt64(0));
  if (!CopyFixedText(row.ColumnText(1), record->path)) return false;
  CopyFixedText(row.ColumnText(2), record->title);
  CopyFixedText(row.ColumnText(3), record->album);
  CopyFixedText(row.ColumnText(4), record->artist);
  CopyFixedText(row.ColumnText(5), record->album_artist);
  CopyFixedText(row.ColumnText(6), record->genre);
  CopyFixedText(row.ColumnText(7), record->container);
  CopyFixedText(row.ColumnText(8), record->codec);
  record->year = row.ColumnInt(9);
  record->disc = row.ColumnInt(10);
  record->track_number = row.ColumnInt(11);
  record->duration_ms = row.ColumnInt(12);
  record->bitrate = row.ColumnInt(13);
  record->sample_rate = row.ColumnInt(14);
  record->channels = row.ColumnInt(15);
  record->size = row.ColumnInt64(16);
  record->mtime = row.ColumnInt64(17) / 1000000000;
  record->virtual_index = row.ColumnInt(18);
  record->start_ms = row.ColumnInt64(19);
  record->end_ms = row.ColumnInt64(20);
  record->owner_uid = static_cast<uint32_t>(row.ColumnInt64(21));
  return true;
}

}  // namespace

extern "C" int QUORMusicGetOneById(const char* scope, unsigned uid, int /*reserved1*/,
                                   TrackRecord* record, int /*reserved2*/, const char* id_text) {
  if (record == nullptr || scope == nullptr || std::strcmp(scope, "all") != 0) {
    return kBadArgument;
  }
  std::memset(record, 0, sizeof(*record));
  const int64_t id = ParseTrackId(id_text);
  // Ids are the table's rowids; the record's id field is 32 bits.
  if (id <= 0 || id > INT32_MAX) return kUnknownTrack;
  try {
    auto& statements = Sonvik::library::ProcessLibraryStatements();
    // The text differs only by user: one prepared statement per user who streams.
    const std::string sql =
        "SELECT t.id, t.path, t.title, t.album, t.artist, t.album_artist, t.genre, t.container,"
        " t.codec, t.year, t.disc, t.track_number, t.duration_ms, t.bitrate, t.sample_rate,"
        " t.channels, t.size, t.mtime_ns, t.virtual_index, t.start_ms, t.end_ms, l.owner_uid"
        " FROM tracks t JOIN libraries l ON l.id = t.library_id WHERE t.id = ? AND " +
        Sonvik::library::UserViewCondition(uid, "t.library_id");
    Sonvik::sqlite::CachedStatement select(statements, sql);
    select->Bind(1, id);
    if (!select->Step()) return kUnknownTrack;
    if (!FillRecord(*select, record)) {
      std::memset(record, 0, sizeof(*record));
      return kLibraryUnreadable;
    }
    return 0;
  } catch (const std::exception&) {
    std::memset(record, 0, sizeof(*record));
    return kLibraryUnreadable;
  }
}

extern "C" int IsVirtualMusic(int32_t virtual_index) { return virtual_index > 0 ? 1 : 0; }
