#pragma once
// Helpers shared by the media tests: stdout capture, CGI environment, scratch files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace Sonvik::testing {

// Sends everything written to stdout (fd 1) into a temporary file until Finish().
class StdoutCapture {
 public:
  StdoutCapture() {
    std::fflush(stdout);
    saved_ = ::dup(1);
    file_ = std::tmpfile();
    ::dup2(::fileno(file_), 1);
  }
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;
  ~StdoutCapture() { Restore(); }

  std::string Finish() {
    Restore();
    std::string text;
    std::rewind(file_);
    char buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof(buffer), file_)) > 0) text.append(buffer, n);
    return text;
  }

 private:
  void Restore() {
    if (saved_ < 0) return;
    std::fflush(stdout);
    ::dup2(saved_, 1);
    ::close(saved_);
    saved_ = -1;
  }
  int saved_ = -1;
  std::FILE* file_ = nullptr;
};

// Sets CGI request variables for one scope; every variable a media answer reads starts unset.
class CgiEnvironment {
 public:
  CgiEnvironment(std::initializer_list<std::pair<const char*, std::string>> variables) {
    for (const char* name : {"REQUEST_METHOD", "HTTP_RANGE", "HTTP_IF_RANGE", "HTTP_IF_NONE_MATCH",
                             "HTTP_IF_MODIFIED_SINCE"}) {
      ::unsetenv(name);
    }
    ::setenv("REQUEST_METHOD", "GET", 1);
    for (const auto& [name, value] : variables) ::setenv(name, value.c_str(), 1);
  }
  CgiEnvironment(const CgiEnvironment&) = delete;
  CgiEnvironment& operator=(const CgiEnvironment&) = delete;
};

// A scratch folder below the test namespace's private /var/packages.
inline std::string ScratchDir(const std::string& name) {
  std::string dir = "/var/packages/media-test/" + name;
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  ::chmod("/var/packages/media-test", 0755);
  ::chmod(dir.c_str(), 0755);
  return dir;
}

inline void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Bytes that differ at every offset within a period of 251, so a misplaced range shows.
inline std::string PatternBytes(size_t size) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 7 + i / 251) % 256);
  return bytes;
}

// Fixes a file's modification time, so that its validators are known in advance.
inline void SetModificationTime(const std::string& path, time_t seconds, long nanoseconds) {
  struct timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
  ::utimensat(AT_FDCWD, path.c_str(), times, 0);
}

// Runs a shell command (fixture generation with the ffmpeg tools); true on exit status 0.
inline bool RunCommand(const std::string& command) { return std::system(command.c_str()) == 0; }

}  // namespace Sonvik::testing

namespace Sonvik::testing {

// Generates an audio file with the ffmpeg command line: `seconds` of a 1 kHz tone that starts
// at `burst_at` seconds (silence before), at `rate` Hz with `channels` channels. The output
// format follows the path's extension; `codec_options` picks codecs where that is not enough.
inline bool MakeAudio(const std::string& path, double seconds, int rate = 44100, int channels = 2,
                      double burst_at = 0, const std::string& codec_options = "") {
  char filter[256];
  std::snprintf(filter, sizeof(filter),
                "aevalsrc='if(gte(t,%.6f),0.5*sin(2*PI*1000*t),0)':s=%d:d=%.6f", burst_at, rate,
                seconds);
  return RunCommand("ffmpeg -hide_banner -loglevel error -y -f lavfi -i \"" + std::string(filter) +
                    "\" -ac " + std::to_string(channels) + " " + codec_options + " '" + path + "'");
}

// Decodes any audio file with the ffmpeg command line to mono float samples at `rate`.
inline std::vector<float> DecodeWithFfmpeg(const std::string& path, int rate = 48000) {
  std::string command = "ffmpeg -hide_banner -loglevel error -i '" + path +
                        "' -f f32le -ac 1 -ar " + std::to_string(rate) + " -";
  std::vector<float> samples;
  std::FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return samples;
  float buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, sizeof(float), 4096, pipe)) > 0) {
    samples.insert(samples.end(), buffer, buffer + n);
  }
  ::pclose(pipe);
  return samples;
}

// Index of the first sample louder than `level`; -1 when there is none.
inline long FirstLoud(const std::vector<float>& samples, float level = 0.05f) {
  for (size_t i = 0; i < samples.size(); ++i) {
    if (samples[i] > level || samples[i] < -level) return static_cast<long>(i);
  }
  return -1;
}

// Splits a captured CGI answer at its blank line.
inline std::pair<std::string, std::string> SplitAnswer(const std::string& answer) {
  size_t end = answer.find("\r\n\r\n");
  if (end == std::string::npos) return {answer, ""};
  return {answer.substr(0, end + 4), answer.substr(end + 4)};
}

}  // namespace Sonvik::testing
