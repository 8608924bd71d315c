#include "package/playlist/smart_query.h"

#include <algorithm>
#include <string>
#include <variant>

#include "package/library/user_view.h"
#include "package/playlist/voice_text_match.h"
#include "package/sqlite/statement.h"

namespace Sonvik::playlist {
namespace {

// Keeps rule numbers far from the 64-bit edges so the scaled bounds below cannot overflow.
constexpr int64_t kNumberBound = 1000000000000LL;

struct NumberColumn {
  const char* column;
  int64_t scale;  // stored units per unit of the rule (ms per second, bit/s per kbit/s)
};

NumberColumn NumberColumnOf(SmartField field) {
  switch (field) {
    case SmartField::kDuration:
      return {"t.duration_ms", 1000};
    case SmartField::kBitrate:
      return {"t.bitrate", 1000};
    default:
      return {"t.year", 1};
  }
}

const char* TextColumnOf(SmartField field) {
  switch (field) {
    case SmartField::kTitle:
      return "t.title";
    case SmartField::kAlbum:
      return "t.album";
    case SmartField::kArtist:
      return "t.artist";
    case SmartField::kAlbumArtist:
      return "t.album_artist";
    case SmartField::kGenre:
      return "t.genre";
    case SmartField::kPath:
      return "t.path";
    case SmartField::kContainer:
      return "t.container";
    case SmartField::kCodec:
      return "t.codec";
    default:
      return "t.title";
  }
}

using Parameter = std::variant<int64_t, std::string>;

// A condition in SQL with its parameters, in order.
struct Condition {
  std::string sql;
  std::vector<Parameter> parameters;
};

// A stored value v (in stored units) lies in rule value n's unit when n*s <= v < (n+1)*s, so
// "is" and the comparisons stay plain range tests an index can serve.
Condition NumberCondition(const SmartRule& rule) {
  const NumberColumn column = NumberColumnOf(rule.field);
  const int64_t n = std::clamp(rule.number, -kNumberBound, kNumberBound);
  const std::string c = column.column;
  const int64_t low = n * column.scale;
  const int64_t high = (n + 1) * column.scale;
  switch (rule.op) {
    case SmartOperator::kIs:
      return {"(" + c + " >= ? AND " + c + " < ?)", {low, high}};
    case SmartOperator::kIsNot:
      return {"(" + c + " < ? OR " + c + " >= ?)", {low, high}};
    case SmartOperator::kGreater:
      return {c + " >= ?", {high}};
    case SmartOperator::kLess:
      return {c + " < ?", {low}};
    default:
      return {"0", {}};
  }
}

Condition VoiceCondition(const SmartRule& rule) {
  const std::string c = TextColumnOf(rule.field);
  auto match = [&](VoiceMatchMode mode) {
    return "sonvik_voice_match(" + c + ", ?, " + std::to_string(static_cast<int>(mode)) + ")";
  };
  switch (rule.op) {
    case SmartOperator::kIs:
      return {match(VoiceMatchMode::kSame), {rule.text}};
    case SmartOperator::kIsNot:
      return {"NOT " + match(VoiceMatchMode::kSame), {rule.text}};
    case SmartOperator::kContains:
      return {match(VoiceMatchMode::kContains), {rule.text}};
    case SmartOperator::kNotContains:
      return {"NOT " + match(VoiceMatchMode::kContains), {rule.text}};
    case SmartOperator::kStartsWith:
      return {match(VoiceMatchMode::kStartsWith), {rule.text}};
    default:
      return {"0", {}};
  }
}

// Path compares byte for byte; container and codec ignore ASCII case ("FLAC" is "flac").
Condition PlainCondition(const SmartRule& rule) {
  const std::string c = TextColumnOf(rule.field);
  const bool is_path = rule.field == SmartField::kPath;
  const std::string collate = is_path ? "" : " COLLATE NOCASE";
  const std::string haystack = is_path ? c : "lower(" + c + ")";
  const std::string needle = is_path ? "?" : "lower(?)";
  switch (rule.op) {
    case SmartOperator::kIs:
      return {c + " = ?" + collate, {rule.text}};
    case SmartOperator::kIsNot:
      return {c + " <> ?" + collate, {rule.text}};
    case SmartOperator::kContains:
      return {"instr(" + haystack + ", " + needle + ") > 0", {rule.text}};
    case SmartOperator::kNotContains:
      return {"instr(" + haystack + ", " + needle + ") = 0", {rule.text}};
    case SmartOperator::kStartsWith:
      if (is_path) {
        // A range on the (path, virtual_index) index: no valid UTF-8 text continues a prefix
        // with a byte above 0xF4.
        return {"(t.path >= ? AND t.path < ?)", {rule.text, rule.text + "\xF5"}};
      }
      return {"substr(" + haystack + ", 1, length(?)) = " + needle, {rule.text, rule.text}};
    default:
      return {"0", {}};
  }
}

Condition RuleCondition(const SmartRule& rule) {
  switch (SmartFieldKind(rule.field)) {
    case SmartValueKind::kNumber:
      return NumberCondition(rule);
    case SmartValueKind::kVoiceText:
      return VoiceCondition(rule);
    case SmartValueKind::kPlainText:
      return PlainCondition(rule);
  }
  return {"0", {}};
}

Condition WhereClause(const SmartPlaylist& playlist, unsigned uid) {
  Condition where{library::UserViewCondition(uid, "t.library_id"), {}};
  if (playlist.rules.empty()) return where;
  where.sql += " AND (";
  bool first = true;
  // Number and plain-text rules first: SQLite tests them in the order written, and they are
  // cheap (or use an index) where folding a tag is not.
  std::vector<SmartRule> rules = playlist.rules;
  std::stable_partition(rules.begin(), rules.end(), [](const SmartRule& rule) {
    return SmartFieldKind(rule.field) != SmartValueKind::kVoiceText;
  });
  for (const SmartRule& rule : rules) {
    Condition condition = RuleCondition(rule);
    if (!first) where.sql += playlist.match_all ? " AND " : " OR ";
    where.sql += "(" + condition.sql + ")";
    for (auto& parameter : condition.parameters) where.parameters.push_back(std::move(parameter));
    first = false;
  }
  where.sql += ")";
  return where;
}

std::string OrderClause(const SmartPlaylist& playlist) {
  if (!playlist.order) return " ORDER BY t.id";
  const std::string direction = playlist.descending ? " DESC" : "";
  std::string column;
  switch (SmartFieldKind(*playlist.order)) {
    case SmartValueKind::kNumber:
      column = NumberColumnOf(*playlist.order).column;
      break;
    case SmartValueKind::kVoiceText:
      column = std::string(TextColumnOf(*playlist.order)) + " COLLATE NOCASE";
      break;
    case SmartValueKind::kPlainText:
      column = TextColumnOf(*playlist.order);
      break;
  }
  return " ORDER BY " + column + direction + ", t.id" + direction;
}

void BindParameters(sqlite::Statement& statement, const std::vector<Parameter>& parameters) {
  int index = 0;
  for (const auto& parameter : parameters) {
    std::visit([&](const auto& value) { statement.Bind(++index, value); }, parameter);
  }
}

}  // namespace

int64_t EvaluateSmartPlaylist(sqlite3* db, const SmartPlaylist& playlist, unsigned uid,
                              int64_t offset, int64_t limit, TrackObjectParts parts,
                              Json::Value& tracks) {
  RegisterVoiceMatchFunctions(db);
  const Condition where = WhereClause(playlist, uid);
  const std::string cap = playlist.limit > 0 ? " LIMIT " + std::to_string(playlist.limit) : "";

  sqlite::Statement count(
      db, "SELECT count(*) FROM (SELECT 1 FROM tracks t WHERE " + where.sql + cap + ")");
  BindParameters(count, where.parameters);
  count.Step();
  const int64_t total = count.ColumnInt64(0);

  // The page lies within the playlist's own limit.
  const int64_t page = std::max<int64_t>(0, std::min(limit, total - offset));
  if (page == 0) return total;
  sqlite::Statement select(db, std::string("SELECT ") + kTrackObjectColumns +
                                   " FROM tracks t WHERE " + where.sql + OrderClause(playlist) +
                                   " LIMIT ? OFFSET ?");
  BindParameters(select, where.parameters);
  select.Bind(static_cast<int>(where.parameters.size()) + 1, page);
  select.Bind(static_cast<int>(where.parameters.size()) + 2, offset);
  while (select.Step()) tracks.append(TrackObject(select, parts));
  return total;
}

}  // namespace Sonvik::playlist
