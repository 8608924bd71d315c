#include "media_fixture.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace Sonvik::e2e {
namespace {

namespace fs = std::filesystem;

void Ffmpeg(const std::vector<std::string>& args) {
  std::vector<std::string> all = {"-hide_banner", "-loglevel", "error", "-y"};
  all.insert(all.end(), args.begin(), args.end());
  CommandResult result = RunProgram("/usr/bin/ffmpeg", all);
  ASSERT_EQ(result.exit_code, 0) << result.err;
}

// `seconds` of silence, then a 1 kHz tone from `tone_at` seconds on.
std::string ToneSource(double seconds, double tone_at) {
  return "aevalsrc='if(gte(t," + std::to_string(tone_at) +
         "),0.5*sin(2*PI*1000*t),0)':s=44100:d=" + std::to_string(seconds);
}

}  // namespace

void MediaTest::PreparePackage() {
  if (!fs::exists(Path("album/tone.flac"))) {
    for (const char* folder : {"album", "folder", "bare", "cue", "gone"}) {
      fs::create_directories(Path(folder));
    }
    ::chmod(kMusic, 0755);
    Ffmpeg({"-f", "lavfi", "-i", "color=c=red:s=32x32", "-frames:v", "1", Path("red.png")});
    Ffmpeg(
        {"-f", "lavfi", "-i", "color=c=blue:s=48x48", "-frames:v", "1", Path("folder/Cover.JPG")});
    // album/tone.flac: 10 s, the tone from 6 s, a picture embedded.
    Ffmpeg({"-f",
            "lavfi",
            "-i",
            ToneSource(10, 6),
            "-i",
            Path("red.png"),
            "-map",
            "0",
            "-map",
            "1",
            "-ac",
            "2",
            "-c:a",
            "flac",
            "-c:v",
            "copy",
            "-disposition:v",
            "attached_pic",
            "-metadata",
            "title=Tone",
            Path("album/tone.flac")});
    // folder/song.mp3: no picture inside, Cover.JPG beside it.
    Ffmpeg({"-f", "lavfi", "-i", ToneSource(3, 0), "-ac", "2", "-metadata", "title=Song",
            Path("folder/song.mp3")});
    // bare/plain.ogg: no picture anywhere.
    Ffmpeg({"-f", "lavfi", "-i", ToneSource(2, 0), "-c:a", "libvorbis", Path("bare/plain.ogg")});
    // cue/album.flac with three entries: 0-4 s, 4-7 s, 7 s to the end (10 s).
    Ffmpeg({"-f", "lavfi", "-i", ToneSource(10, 5), "-ac", "2", Path("cue/album.flac")});
    WriteFile(Path("cue/album.cue"),
              "PERFORMER \"Band\"\nTITLE \"Album\"\nFILE \"album.flac\" WAVE\n"
              "  TRACK 01 AUDIO\n    TITLE \"One\"\n    INDEX 01 00:00:00\n"
              "  TRACK 02 AUDIO\n    TITLE \"Two\"\n    INDEX 01 00:04:00\n"
              "  TRACK 03 AUDIO\n    TITLE \"Three\"\n    INDEX 01 00:07:00\n");
    Ffmpeg({"-f", "lavfi", "-i", ToneSource(1, 0), Path("gone/deleted.mp3")});
    Ffmpeg({"-f", "lavfi", "-i", ToneSource(1, 0), Path("gone/replaced.mp3")});
  }
  CommandResult folders = RunSonvik({"library", "list"});
  if (folders.out.find(kMusic) == std::string::npos) RunSonvikOrFail({"library", "add", kMusic});
  RunSonvikOrFail({"scan"});
  // After the scan: one file gone, one turned into a folder.
  fs::remove(Path("gone/deleted.mp3"));
  if (fs::is_regular_file(Path("gone/replaced.mp3"))) {
    fs::remove(Path("gone/replaced.mp3"));
    fs::create_directory(Path("gone/replaced.mp3"));
  }
}

int MediaTest::TrackId(const std::string& path, int virtual_index) {
  CommandResult result = RunProgram("/usr/bin/sqlite3",
                                    {"-readonly", "/var/packages/Sonvik/var/library.db",
                                     "SELECT id FROM tracks WHERE path = '" + path +
                                         "' AND virtual_index = " + std::to_string(virtual_index)});
  if (result.exit_code != 0 || result.out.empty()) return -1;
  return std::stoi(result.out);
}

std::string MediaTest::ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void MediaTest::WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string MediaTest::Probe(const std::string& path) {
  return RunProgram("/usr/bin/ffprobe",
                    {"-v", "error", "-show_entries",
                     "stream=codec_name,sample_rate,channels,bit_rate:format=duration,"
                     "format_name",
                     "-of", "default=noprint_wrappers=1", path})
      .out;
}

std::string MediaTest::ProbeValue(const std::string& probe, const std::string& key) {
  size_t at = probe.find(key + "=");
  if (at == std::string::npos) return {};
  size_t from = at + key.size() + 1;
  return probe.substr(from, probe.find('\n', from) - from);
}

}  // namespace Sonvik::e2e
