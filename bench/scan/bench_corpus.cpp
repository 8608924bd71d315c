#include "bench_corpus.h"

#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "bench/common/child_process.h"

namespace Sonvik::bench {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFormats[] = {"mp3", "flac", "ogg", "m4a"};
constexpr int kTracksPerAlbum = 10;
constexpr int kAlbumsPerArtist = 5;

void MakeSeed(const fs::path& path) {
  std::vector<std::string> args = {"/usr/bin/ffmpeg",
                                   "-hide_banner",
                                   "-loglevel",
                                   "error",
                                   "-nostdin",
                                   "-y",
                                   "-f",
                                   "lavfi",
                                   "-i",
                                   "sine=frequency=440:sample_rate=44100:duration=0.5",
                                   "-ac",
                                   "2"};
  const std::string ext = path.extension().string();
  if (ext == ".mp3") args.insert(args.end(), {"-c:a", "libmp3lame", "-b:a", "128k"});
  if (ext == ".ogg") args.insert(args.end(), {"-c:a", "libvorbis"});
  if (ext == ".m4a") args.insert(args.end(), {"-c:a", "aac", "-b:a", "128k"});
  args.push_back(path.string());
  if (!Run(args)) {
    std::fprintf(stderr, "ffmpeg could not make %s\n", path.c_str());
    std::exit(1);
  }
}

void Tag(const fs::path& path, int artist, int album, int track) {
  TagLib::FileRef file(path.c_str());
  if (file.isNull()) {
    std::fprintf(stderr, "TagLib cannot open %s\n", path.c_str());
    std::exit(1);
  }
  TagLib::PropertyMap tags;
  const std::string artist_name = "Artist " + std::to_string(artist);
  tags["ARTIST"] = TagLib::String(artist_name, TagLib::String::UTF8);
  tags["ALBUMARTIST"] = TagLib::String(artist_name, TagLib::String::UTF8);
  tags["ALBUM"] = TagLib::String("Album " + std::to_string(artist) + "." + std::to_string(album),
                                 TagLib::String::UTF8);
  tags["TITLE"] =
      TagLib::String("Song " + std::to_string(track) + " of " + artist_name, TagLib::String::UTF8);
  tags["TRACKNUMBER"] = TagLib::String(std::to_string(track));
  tags["DATE"] = TagLib::String(std::to_string(1970 + artist % 50));
  tags["GENRE"] = TagLib::String(artist % 2 == 0 ? "Rock" : "Jazz");
  file.file()->setProperties(tags);
  file.save();
}

}  // namespace

std::string EnsureCorpus(int files) {
  const fs::path root = "/tmp/sonvik-scan-bench-" + std::to_string(files);
  if (fs::exists(root)) return root.string();
  const fs::path building = root.string() + ".partial";
  fs::remove_all(building);
  fs::create_directories(building / "seeds");
  for (const char* format : kFormats)
    MakeSeed(building / "seeds" / (std::string("seed.") + format));
  for (int i = 0; i < files; ++i) {
    const int artist = i / (kTracksPerAlbum * kAlbumsPerArtist);
    const int album = i / kTracksPerAlbum % kAlbumsPerArtist;
    const int track = i % kTracksPerAlbum + 1;
    const char* format = kFormats[i % 4];
    const fs::path folder =
        building / ("Artist " + std::to_string(artist)) / ("Album " + std::to_string(album));
    fs::create_directories(folder);
    const fs::path path = folder / (std::to_string(track) + " Song." + format);
    fs::copy_file(building / "seeds" / (std::string("seed.") + format), path);
    Tag(path, artist, album, track);
  }
  fs::remove_all(building / "seeds");
  fs::rename(building, root);
  return root.string();
}

}  // namespace Sonvik::bench
