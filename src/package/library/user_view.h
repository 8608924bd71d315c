#pragma once
// A user's view of the music: every shared library plus the user's own personal library while it
// is switched on. Every query that answers a user (track lookup, search, playlists) restricts
// tracks with this one condition so they all agree.
#include <string>
#include <string_view>

namespace Sonvik::library {

// An SQL condition, in parentheses, true when the library id in `library_id_column` (e.g.
// "tracks.library_id") is in user `uid`'s view. uid 0 sees the shared libraries only. The uid is
// written into the text (an integer, so nothing to escape); the statement needs no parameter.
std::string UserViewCondition(unsigned uid, std::string_view library_id_column = "library_id");

}  // namespace Sonvik::library
