#pragma once
// Smart playlists: rules over track fields, evaluated against a user's view of the library.
//
// Rule file (JSON):
//   {"playlists": [
//     {"name": "Eighties rock", "match": "all",
//      "rules": [{"field": "genre", "operator": "is", "value": "rock"},
//                {"field": "year", "operator": "less", "value": 1990}],
//      "order": "year", "descending": false, "limit": 100}]}
// "match" is "all" (every rule) or "any" (at least one); "order" is a field or "" (library
// order), "limit" 0 means no limit. Text fields compare with the same voice folding as track
// search; path, container and codec compare as written.
#include <json/value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Sonvik::playlist {

enum class SmartField {
  kTitle,
  kAlbum,
  kArtist,
  kAlbumArtist,
  kGenre,
  kYear,
  kDuration,  // seconds
  kBitrate,   // kbit/s
  kPath,
  kContainer,
  kCodec,
};

enum class SmartOperator {
  kIs,
  kIsNot,
  kContains,
  kNotContains,
  kStartsWith,
  kGreater,
  kLess,
};

enum class SmartValueKind {
  kVoiceText,  // folded like track search
  kPlainText,  // compared as written (container and codec ignore ASCII case)
  kNumber,
};

struct SmartRule {
  SmartField field;
  SmartOperator op;
  std::string text;    // text fields
  int64_t number = 0;  // number fields
};

struct SmartPlaylist {
  std::string name;
  bool match_all = true;
  std::vector<SmartRule> rules;
  std::optional<SmartField> order;  // none: library order (track id)
  bool descending = false;
  int64_t limit = 0;  // 0: no limit
};

inline constexpr int64_t kMaxSmartLimit = 1000000;

std::string_view SmartFieldName(SmartField field);
std::string_view SmartOperatorName(SmartOperator op);
SmartValueKind SmartFieldKind(SmartField field);
std::optional<SmartField> SmartFieldFromName(std::string_view name);
std::optional<SmartOperator> SmartOperatorFromName(std::string_view name);
// The operators a field takes.
std::vector<SmartOperator> SmartOperatorsFor(SmartField field);

// "genre: is, is_not, ...; year: is, ..." for messages that list what exists.
std::string DescribeSmartFieldsAndOperators();

// Builds a rule, checking that the operator fits the field and the value its kind. Answers the
// reason in `problem` and nullopt on refusal.
std::optional<SmartRule> MakeSmartRule(std::string_view field, std::string_view op,
                                       const std::string& value, std::string* problem);
// "FIELD OP VALUE" as typed on the command line (the value is the rest of the text, which may
// hold blanks); quotes around the value are taken off.
std::optional<SmartRule> ParseSmartRuleText(std::string_view text, std::string* problem);

// One playlist of a rule file; nullopt with `problem` when anything in it is wrong.
std::optional<SmartPlaylist> SmartPlaylistFromJson(const Json::Value& value, std::string* problem);
Json::Value SmartPlaylistToJson(const SmartPlaylist& playlist);

// A whole rule file's text. A file that is no JSON, or not of the form above, gives nullopt with
// `problem`. Playlists that are wrong in themselves are skipped and named in `skipped`.
struct SmartPlaylistFile {
  std::vector<SmartPlaylist> playlists;
  std::vector<std::string> skipped;
};
std::optional<SmartPlaylistFile> ParseSmartPlaylistFile(std::string_view text,
                                                        std::string* problem);
std::string FormatSmartPlaylistFile(const std::vector<SmartPlaylist>& playlists);

}  // namespace Sonvik::playlist
