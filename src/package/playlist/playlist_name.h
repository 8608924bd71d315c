#pragma once
// What a playlist name may be. Names travel inside web-API ids and file names, so they are
// bounded and free of anything that could read as a path step or a control sequence.
#include <string_view>

namespace Sonvik::playlist {

inline constexpr size_t kMaxPlaylistNameBytes = 255;

// True for 1 to kMaxPlaylistNameBytes bytes of valid UTF-8 without control characters, not
// starting with "/", not containing "../", and neither "." nor "..".
bool IsValidPlaylistName(std::string_view name);

// IsValidPlaylistName and no "/" at all: usable as a file name in a playlists folder (once the
// extension is added).
bool IsValidPlaylistFileName(std::string_view name);

// The reason IsValidPlaylistName refuses `name`, for messages; empty when it is valid.
const char* PlaylistNameProblem(std::string_view name);

}  // namespace Sonvik::playlist
