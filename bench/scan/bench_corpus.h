#pragma once
// The benchmark's music: a few thousand small tagged files, made once and kept in /tmp.
#include <string>

namespace Sonvik::bench {

// Makes (when missing) `files` tagged audio files, mp3, flac, ogg and m4a in turn, in an
// artist/album folder tree below a folder in /tmp named after the count, and answers that folder.
// A few seed files come from ffmpeg; the rest are their copies, each given its own tags with
// TagLib. Built under a temporary name and renamed, so a cut-off run leaves nothing half-made.
std::string EnsureCorpus(int files);

}  // namespace Sonvik::bench
