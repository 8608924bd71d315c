#pragma once
// How the voice-matching index lays out its rows; shared by the writer (IndexTrack) and the
// reader (the track search engine), so both always agree.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Sonvik::search::index {

// The `kind` column: what a posting or span row belongs to. Library rows hold the track ids of
// one music folder under the folder's id written in decimal.
enum Kind : int { kLibrary = 0, kAlbum = 1, kArtist = 2, kTitle = 3 };

// Track ids are grouped in chunks of 4096: a posting row holds one chunk of one token.
constexpr int kChunkShift = 12;
constexpr int64_t ChunkOf(int64_t track_id) { return track_id >> kChunkShift; }
constexpr unsigned OffsetInChunk(int64_t track_id) {
  return static_cast<unsigned>(track_id & ((int64_t{1} << kChunkShift) - 1));
}

// A span row stands for a token followed by at least one more: `first` is the token, `rest` the
// following tokens written together and cut to at most kRestBytes (at a character boundary), and
// `bounds` the end offsets (1 byte each) of the whole tokens inside `rest`, with a final 0 byte
// when `rest` was cut. Rows of one tag with equal `first` and `rest` are merged; their bounds are
// united, which stays exact because the bytes they describe are the same.
constexpr size_t kRestBytes = 24;

struct SpanRow {
  std::string first;
  std::string rest;
  std::string bounds;
};

std::vector<SpanRow> BuildSpanRows(const std::vector<std::string>& tokens);

// `text` cut to at most kRestBytes without splitting a UTF-8 character.
std::string_view CutToRest(std::string_view text);

// Tokens as stored in the index's track rows: joined by blanks (a token never holds one).
std::string StoreTokens(const std::vector<std::string>& tokens);
std::vector<std::string> LoadTokens(std::string_view stored);

}  // namespace Sonvik::search::index
