#include "package/playlist/smart_rules.h"

#include <json/reader.h>
#include <json/writer.h>

#include <charconv>
#include <memory>

#include "package/playlist/playlist_name.h"

namespace Sonvik::playlist {
namespace {

struct FieldInfo {
  SmartField field;
  std::string_view name;
  SmartValueKind kind;
};
constexpr FieldInfo kFields[] = {
    {SmartField::kTitle, "title", SmartValueKind::kVoiceText},
    {SmartField::kAlbum, "album", SmartValueKind::kVoiceText},
    {SmartField::kArtist, "artist", SmartValueKind::kVoiceText},
    {SmartField::kAlbumArtist, "album_artist", SmartValueKind::kVoiceText},
    {SmartField::kGenre, "genre", SmartValueKind::kVoiceText},
    {SmartField::kYear, "year", SmartValueKind::kNumber},
    {SmartField::kDuration, "duration", SmartValueKind::kNumber},
    {SmartField::kBitrate, "bitrate", SmartValueKind::kNumber},
    {SmartField::kPath, "path", SmartValueKind::kPlainText},
    {SmartField::kContainer, "container", SmartValueKind::kPlainText},
    {SmartField::kCodec, "codec", SmartValueKind::kPlainText},
};

struct OperatorInfo {
  SmartOperator op;
  std::string_view name;
  bool for_text;
  bool for_numbers;
};
constexpr OperatorInfo kOperators[] = {
    {SmartOperator::kIs, "is", true, true},
    {SmartOperator::kIsNot, "is_not", true, true},
    {SmartOperator::kContains, "contains", true, false},
    {SmartOperator::kNotContains, "not_contains", true, false},
    {SmartOperator::kStartsWith, "starts_with", true, false},
    {SmartOperator::kGreater, "greater", false, true},
    {SmartOperator::kLess, "less", false, true},
};

constexpr size_t kMaxValueBytes = 1024;
constexpr size_t kMaxRules = 64;
constexpr size_t kMaxPlaylistsPerFile = 10000;

bool OperatorFits(SmartOperator op, SmartValueKind kind) {
  for (const auto& info : kOperators) {
    if (info.op == op) return kind == SmartValueKind::kNumber ? info.for_numbers : info.for_text;
  }
  return false;
}

std::optional<int64_t> ParseNumber(std::string_view text) {
  int64_t value = 0;
  auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || ptr != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

std::string TrimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return std::string(text);
}

bool HasControlByte(std::string_view text) {
  for (char c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) return true;
  }
  return false;
}

}  // namespace

std::string_view SmartFieldName(SmartField field) {
  for (const auto& info : kFields) {
    if (info.field == field) return info.name;
  }
  return "";
}

std::string_view SmartOperatorName(SmartOperator op) {
  for (const auto& info : kOperators) {
    if (info.op == op) return info.name;
  }
  return "";
}

SmartValueKind SmartFieldKind(SmartField field) {
  for (const auto& info : kFields) {
    if (info.field == field) return info.kind;
  }
  return SmartValueKind::kPlainText;
}

std::optional<SmartField> SmartFieldFromName(std::string_view name) {
  for (const auto& info : kFields) {
    if (info.name == name) return info.field;
  }
  return std::nullopt;
}

std::optional<SmartOperator> SmartOperatorFromName(std::string_view name) {
  for (const auto& info : kOperators) {
    if (info.name == name) return info.op;
  }
  return std::nullopt;
}

std::vector<SmartOperator> SmartOperatorsFor(SmartField field) {
  std::vector<SmartOperator> ops;
  for (const auto& info : kOperators) {
    if (OperatorFits(info.op, SmartFieldKind(field))) ops.push_back(info.op);
  }
  return ops;
}

std::string DescribeSmartFieldsAndOperators() {
  std::string text;
  for (const auto& info : kFields) {
    if (!text.empty()) text += "; ";
    text += std::string(info.name) + ": ";
    bool first = true;
    for (SmartOperator op : SmartOperatorsFor(info.field)) {
      if (!first) text += ", ";
      text += SmartOperatorName(op);
      first = false;
    }
  }
  return text;
}

std::optional<SmartRule> MakeSmartRule(std::string_view field_name, std::string_view op_name,
                                       const std::string& value, std::string* problem) {
  auto field = SmartFieldFromName(field_name);
  if (!field) {
    *problem = "unknown field \"" + std::string(field_name) + "\"";
    return std::nullopt;
  }
  auto op = SmartOperatorFromName(op_name);
  if (!op || !OperatorFits(*op, SmartFieldKind(*field))) {
    *problem = "field \"" + std::string(field_name) + "\" takes no operator \"" +
               std::string(op_name) + "\"";
    return std::nullopt;
  }
  SmartRule rule{*field, *op, {}, 0};
  if (SmartFieldKind(*field) == SmartValueKind::kNumber) {
    auto number = ParseNumber(value);
    if (!number) {
      *problem =
          "field \"" + std::string(field_name) + "\" needs a whole number, not \"" + value + "\"";
      return std::nullopt;
    }
    rule.number = *number;
  } else {
    if (value.size() > kMaxValueBytes || HasControlByte(value)) {
      *problem = "a rule's text is at most 1024 bytes without control characters";
      return std::nullopt;
    }
    rule.text = value;
  }
  return rule;
}

std::optional<SmartRule> ParseSmartRuleText(std::string_view text, std::string* problem) {
  std::string trimmed = TrimBlanks(text);
  size_t first_blank = trimmed.find_first_of(" \t");
  if (first_blank == std::string::npos) {
    *problem = "a rule is \"FIELD OPERATOR VALUE\", not \"" + trimmed + "\"";
    return std::nullopt;
  }
  std::string field = trimmed.substr(0, first_blank);
  std::string rest = TrimBlanks(std::string_view(trimmed).substr(first_blank));
  size_t second_blank = rest.find_first_of(" \t");
  std::string op = rest.substr(0, second_blank);
  std::string value = second_blank == std::string::npos
                          ? ""
                          : TrimBlanks(std::string_view(rest).substr(second_blank));
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return MakeSmartRule(field, op, value, problem);
}

std::optional<SmartPlaylist> SmartPlaylistFromJson(const Json::Value& value, std::string* problem) {
  if (!value.isObject()) {
    *problem = "a smart playlist must be a JSON object";
    return std::nullopt;
  }
  SmartPlaylist playlist;
  const Json::Value& name = value["name"];
  if (!name.isString() || !IsValidPlaylistName(name.asString())) {
    *problem = "a smart playlist needs a valid \"name\"";
    return std::nullopt;
  }
  playlist.name = name.asString();
  const std::string prefix = "smart playlist \"" + playlist.name + "\": ";

  const Json::Value& match = value.get("match", "all");
  if (!match.isString() || (match.asString() != "all" && match.asString() != "any")) {
    *problem = prefix + "\"match\" is \"all\" or \"any\"";
    return std::nullopt;
  }
  playlist.match_all = match.asString() == "all";

  const Json::Value& rules = value["rules"];
  if (!rules.isArray() || rules.empty() || rules.size() > kMaxRules) {
    *problem = prefix + "\"rules\" must be a list of 1 to 64 rules";
    return std::nullopt;
  }
  for (const Json::Value& item : rules) {
    if (!item.isObject() || !item["field"].isString() || !item["operator"].isString() ||
        !(item["value"].isString() || item["value"].isIntegral())) {
      *problem = prefix + "each rule has a \"field\", an \"operator\" and a \"value\"";
      return std::nullopt;
    }
    const Json::Value& raw = item["value"];
    std::string text = raw.isString() ? raw.asString() : std::to_string(raw.asInt64());
    std::string why;
    auto rule = MakeSmartRule(item["field"].asString(), item["operator"].asString(), text, &why);
    if (!rule) {
      *problem = prefix + why;
      return std::nullopt;
    }
    playlist.rules.push_back(std::move(*rule));
  }

  const Json::Value& order = value.get("order", "");
  if (!order.isString()) {
    *problem = prefix + "\"order\" must be a field name";
    return std::nullopt;
  }
  if (!order.asString().empty()) {
    playlist.order = SmartFieldFromName(order.asString());
    if (!playlist.order) {
      *problem = prefix + "unknown order field \"" + order.asString() + "\"";
      return std::nullopt;
    }
  }
  const Json::Value& descending = value.get("descending", false);
  if (!descending.isBool()) {
    *problem = prefix + "\"descending\" is true or false";
    return std::nullopt;
  }
  playlist.descending = descending.asBool();
  const Json::Value& limit = value.get("limit", 0);
  if (!limit.isIntegral() || limit.asInt64() < 0 || limit.asInt64() > kMaxSmartLimit) {
    *problem = prefix + "\"limit\" is a whole number from 0 (no limit) to 1000000";
    return std::nullopt;
  }
  playlist.limit = limit.asInt64();
  return playlist;
}

Json::Value SmartPlaylistToJson(const SmartPlaylist& playlist) {
  Json::Value value(Json::objectValue);
  value["name"] = playlist.name;
  value["match"] = playlist.match_all ? "all" : "any";
  Json::Value rules(Json::arrayValue);
  for (const auto& rule : playlist.rules) {
    Json::Value item(Json::objectValue);
    item["field"] = std::string(SmartFieldName(rule.field));
    item["operator"] = std::string(SmartOperatorName(rule.op));
    if (SmartFieldKind(rule.field) == SmartValueKind::kNumber) {
      item["value"] = static_cast<Json::Int64>(rule.number);
    } else {
      item["value"] = rule.text;
    }
    rules.append(item);
  }
  value["rules"] = rules;
  value["order"] = playlist.order ? std::string(SmartFieldName(*playlist.order)) : "";
  value["descending"] = playlist.descending;
  value["limit"] = static_cast<Json::Int64>(playlist.limit);
  return value;
}

std::optional<SmartPlaylistFile> ParseSmartPlaylistFile(std::string_view text,
                                                        std::string* problem) {
  Json::CharReaderBuilder builder;
  builder["collectComments"] = false;
  builder["rejectDupKeys"] = true;
  builder["failIfExtra"] = true;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value root;
  std::string errors;
  if (!reader->parse(text.data(), text.data() + text.size(), &root, &errors)) {
    *problem = "not valid JSON: " + errors;
    return std::nullopt;
  }
  if (!root.isObject() || !root["playlists"].isArray() ||
      root["playlists"].size() > kMaxPlaylistsPerFile) {
    *problem = "a smart playlist file is an object with a \"playlists\" list";
    return std::nullopt;
  }
  SmartPlaylistFile file;
  for (const Json::Value& item : root["playlists"]) {
    std::string why;
    auto playlist = SmartPlaylistFromJson(item, &why);
    if (!playlist) {
      file.skipped.push_back(why);
      continue;
    }
    bool duplicate = false;
    for (const auto& known : file.playlists) duplicate = duplicate || known.name == playlist->name;
    if (duplicate) {
      file.skipped.push_back("smart playlist \"" + playlist->name + "\" appears twice");
      continue;
    }
    file.playlists.push_back(std::move(*playlist));
  }
  return file;
}

std::string FormatSmartPlaylistFile(const std::vector<SmartPlaylist>& playlists) {
  Json::Value root(Json::objectValue);
  Json::Value list(Json::arrayValue);
  for (const auto& playlist : playlists) list.append(SmartPlaylistToJson(playlist));
  root["playlists"] = list;
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "  ";
  return Json::writeString(builder, root) + "\n";
}

}  // namespace Sonvik::playlist
