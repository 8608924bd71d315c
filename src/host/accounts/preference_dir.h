#pragma once
// Users' preference folders (playlists and settings live there, written by the server as the
// service account).
#include <string>

namespace QUOR::accounts::detail {

// Makes `dir` (mode 0750). When we are root and the service account exists, the folder is given
// to it. An existing folder is kept. True when this call created it. Throws AccountError when
// the path is taken by something other than a folder or cannot be made.
bool MakePreferenceDir(const std::string& dir);
// Removes `dir` with everything below it (symbolic links are removed, never followed).
// Best effort: a folder that cannot be removed is left behind.
void RemovePreferenceDir(const std::string& dir);

}  // namespace QUOR::accounts::detail
