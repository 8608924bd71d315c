#include "package/scanner/cue_sheet.h"

#include <fcntl.h>
#include <libcue.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <mutex>

#include "package/scanner/text_encoding.h"

namespace Sonvik::scanner {
namespace {

// INDEX positions are CD frames: 75 per second.
int64_t FramesToMs(long frames) { return static_cast<int64_t>(frames) * 1000 / 75; }

std::string CdText(Cdtext* cdtext, Pti field) {
  if (cdtext == nullptr) return {};
  const char* value = cdtext_get(field, cdtext);
  return value != nullptr ? value : "";
}

int LeadingYear(const char* text) {
  if (text == nullptr) return 0;
  int year = 0;
  for (int i = 0; i < 4; ++i) {
    if (text[i] < '0' || text[i] > '9') return 0;
    year = year * 10 + (text[i] - '0');
  }
  return year;
}

// libcue reports syntax errors by printing them to stderr, character by character; the scanner
// reports a bad sheet itself, once. Silences fd 2 for the lifetime of the object.
class StderrSilenced {
 public:
  StderrSilenced() {
    std::fflush(stderr);
    saved_ = dup(STDERR_FILENO);
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (saved_ >= 0 && null >= 0) dup2(null, STDERR_FILENO);
    if (null >= 0) close(null);
  }
  ~StderrSilenced() {
    std::fflush(stderr);
    if (saved_ >= 0) {
      dup2(saved_, STDERR_FILENO);
      close(saved_);
    }
  }
  StderrSilenced(const StderrSilenced&) = delete;
  StderrSilenced& operator=(const StderrSilenced&) = delete;

 private:
  int saved_ = -1;
};

std::mutex& ParserMutex() {
  static std::mutex mutex;
  return mutex;
}

}  // namespace

std::optional<CueSheet> ParseCueSheet(const std::string& raw_text, std::string* error) {
  const std::string text = ToUtf8FromUtf8OrLatin1(raw_text);
  std::unique_ptr<Cd, decltype(&cd_delete)> cd(nullptr, &cd_delete);
  {
    std::lock_guard lock(ParserMutex());
    StderrSilenced quiet;
    cd.reset(cue_parse_string(text.c_str()));
  }
  if (cd == nullptr) {
    *error = "not a valid CUE sheet";
    return std::nullopt;
  }
  CueSheet sheet;
  sheet.title = CdText(cd_get_cdtext(cd.get()), PTI_TITLE);
  sheet.performer = CdText(cd_get_cdtext(cd.get()), PTI_PERFORMER);
  sheet.genre = CdText(cd_get_cdtext(cd.get()), PTI_GENRE);
  sheet.year = LeadingYear(rem_get(REM_DATE, cd_get_rem(cd.get())));
  const int count = cd_get_ntrack(cd.get());
  for (int i = 1; i <= count; ++i) {
    Track* track = cd_get_track(cd.get(), i);
    if (track == nullptr || track_get_mode(track) != MODE_AUDIO) continue;
    const char* file = track_get_filename(track);
    if (file == nullptr || *file == '\0') continue;
    CueEntry entry;
    entry.number = i;
    entry.file = file;
    entry.title = CdText(track_get_cdtext(track), PTI_TITLE);
    entry.performer = CdText(track_get_cdtext(track), PTI_PERFORMER);
    if (entry.performer.empty()) entry.performer = sheet.performer;
    entry.start_ms = FramesToMs(track_get_start(track));
    sheet.entries.push_back(std::move(entry));
  }
  // An entry ends where the next one of the same file begins; the last one at the file's end.
  for (size_t i = 0; i + 1 < sheet.entries.size(); ++i) {
    if (sheet.entries[i + 1].file == sheet.entries[i].file) {
      sheet.entries[i].end_ms = sheet.entries[i + 1].start_ms;
    }
  }
  if (sheet.entries.empty()) {
    *error = "the CUE sheet names no audio track";
    return std::nullopt;
  }
  return sheet;
}

}  // namespace Sonvik::scanner
