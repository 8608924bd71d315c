#pragma once
// A scanned library of generated files for the media methods: plain tracks with and without
// pictures, a CUE sheet's virtual tracks, and tracks whose files go away after the scan.
#include <string>

#include "e2e/support/command.h"
#include "e2e/support/server_test.h"

namespace Sonvik::e2e {

class MediaTest : public ServerTest {
 protected:
  static constexpr const char* kMusic = "/var/packages/e2e-music";
  static constexpr const char* kStream = "QUOR.Sonvik.VoiceAssistant.Stream";
  static constexpr const char* kBrowse = "QUOR.Sonvik.VoiceAssistant.Browse";

  void PreparePackage() override;

  // The library's id of the track at `path` (virtual_index 0: the plain file); -1 when unknown.
  static int TrackId(const std::string& path, int virtual_index = 0);
  static std::string Path(const std::string& relative) {
    return std::string(kMusic) + "/" + relative;
  }
  static std::string ReadFile(const std::string& path);
  static void WriteFile(const std::string& path, const std::string& bytes);
  // ffprobe's "key=value" lines for one file (stream and format entries).
  static std::string Probe(const std::string& path);
  // A value of Probe's output, e.g. ProbeValue(probe, "duration").
  static std::string ProbeValue(const std::string& probe, const std::string& key);
};

}  // namespace Sonvik::e2e
