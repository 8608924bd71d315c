#pragma once
// The three keyword kinds, as empty tag types, always in the order album, artist, title.
namespace Sonvik::search {
struct SearchAlbum {};
struct SearchArtist {};
struct SearchTitle {};
}  // namespace Sonvik::search
