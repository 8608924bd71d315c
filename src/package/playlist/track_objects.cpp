#include "package/playlist/track_objects.h"

#include <string>

#include "package/sqlite/statement.h"

namespace Sonvik::playlist {

Json::Value TrackObject(const sqlite::Statement& row, TrackObjectParts parts) {
  const auto text = [&row](int column) { return std::string(row.ColumnText(column)); };
  Json::Value track(Json::objectValue);
  track["id"] = "track_" + std::to_string(row.ColumnInt64(0));
  track["title"] = text(1);
  if (!parts.song_tag && !parts.song_audio) return track;

  Json::Value& additional = track["additional"] = Json::Value(Json::objectValue);
  if (parts.song_tag) {
    Json::Value tag(Json::objectValue);
    tag["album"] = text(2);
    tag["artist"] = text(3);
    tag["album_artist"] = text(4);
    tag["genre"] = text(5);
    tag["year"] = row.ColumnInt(6);
    tag["disc"] = row.ColumnInt(7);
    tag["track"] = row.ColumnInt(8);
    additional["song_tag"] = tag;
  }
  if (parts.song_audio) {
    Json::Value audio(Json::objectValue);
    audio["duration"] = row.ColumnInt(9) / 1000;  // seconds
    audio["container"] = text(10);
    audio["codec"] = text(11);
    audio["bitrate"] = row.ColumnInt(12);
    audio["frequency"] = row.ColumnInt(13);
    audio["channel"] = row.ColumnInt(14);
    audio["filesize"] = static_cast<Json::Int64>(row.ColumnInt64(15));
    additional["song_audio"] = audio;
  }
  return track;
}

}  // namespace Sonvik::playlist
