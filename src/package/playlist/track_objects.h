#pragma once
// Tracks as the playlist library hands them out:
//   {"id": "track_<n>", "title": ..., "additional": {
//      "song_tag": {"album", "artist", "album_artist", "genre", "year", "disc", "track"},
//      "song_audio": {"container", "codec", "duration", "bitrate", "frequency", "channel",
//                     "filesize"}}}
// "additional" and each part of it appear only when asked for.
#include <json/value.h>

namespace Sonvik::sqlite {
class Statement;
}

namespace Sonvik::playlist {

// The columns TrackObject reads, in order, from a statement over `tracks AS t`.
inline constexpr const char* kTrackObjectColumns =
    "t.id, t.title, t.album, t.artist, t.album_artist, t.genre, t.year, t.disc, t.track_number,"
    " t.duration_ms, t.container, t.codec, t.bitrate, t.sample_rate, t.channels, t.size";

struct TrackObjectParts {
  bool song_tag = false;
  bool song_audio = false;
};

// The track object of the statement's current row, whose first columns are kTrackObjectColumns.
Json::Value TrackObject(const sqlite::Statement& row, TrackObjectParts parts);

}  // namespace Sonvik::playlist
