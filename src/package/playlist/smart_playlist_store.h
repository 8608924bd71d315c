#pragma once
// Where smart playlists are kept: the shared rule file in the package's state folder and each
// user's personal one in <preference dir>/playlists/smart.playlist.
#include <optional>
#include <string>
#include <vector>

#include "package/playlist/smart_rules.h"

namespace Sonvik::playlist {

std::string SharedSmartPlaylistPath();
std::string PersonalSmartPlaylistPath(const std::string& preference_dir);

// The playlists of the rule file at `path`; a missing file holds none. nullopt with `problem`
// when the file cannot be read or is not a rule file.
std::optional<SmartPlaylistFile> LoadSmartPlaylists(const std::string& path, std::string* problem);

// Replaces the rule file with `playlists` (temporary file, sync, rename). Throws
// std::runtime_error with a message.
void SaveSmartPlaylists(const std::string& path, const std::vector<SmartPlaylist>& playlists);

}  // namespace Sonvik::playlist
