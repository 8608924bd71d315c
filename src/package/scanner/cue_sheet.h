#pragma once
// CUE sheets, read with libcue: each entry becomes a virtual track over the audio file it names.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Sonvik::scanner {

struct CueEntry {
  int number = 0;         // the sheet's TRACK number, from 1
  std::string file;       // the FILE the entry plays, as written in the sheet
  std::string title;      // TITLE of the entry
  std::string performer;  // PERFORMER of the entry, else the sheet's
  int64_t start_ms = 0;   // INDEX 01 within `file`
  int64_t end_ms = 0;     // where the next entry of the same file starts; 0 = end of file
};

struct CueSheet {
  std::string title;      // the album
  std::string performer;  // the album artist
  std::string genre;      // REM GENRE
  int year = 0;           // REM DATE
  std::vector<CueEntry> entries;
};

// Parses a sheet's text. Texts that are not valid UTF-8 are read as Latin-1, the usual encoding
// of older sheets. Answers nullopt with `*error` set when libcue refuses the text or the sheet has
// no audio entry. libcue's parser keeps global state: calls are serialised inside.
std::optional<CueSheet> ParseCueSheet(const std::string& text, std::string* error);

}  // namespace Sonvik::scanner
