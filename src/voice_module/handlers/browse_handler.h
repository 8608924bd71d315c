#pragma once
// The Browse API's handler classes, one header per area: track search here; the playlist and
// cover handlers join this list as they land.
#include "voice_module/handlers/browse_cover_handler.h"
#include "voice_module/handlers/browse_playlist_handler.h"
#include "voice_module/handlers/browse_search_handler.h"
