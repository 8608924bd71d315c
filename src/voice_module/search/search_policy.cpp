#include "voice_module/search/search_policy.h"

#include <sys/types.h>
#include <syslog.h>

#include "package/search/search_db_manager.h"

namespace Sonvik::search {
namespace {
constexpr const char* kUnit = "search_policy";

// POSIX-locale character classes, byte by byte: bytes above 127 are never letters here.
bool IsPosixUpper(char c) { return c >= 'A' && c <= 'Z'; }
}  // namespace

unsigned AllSearchPolicyItem::GetNumberOfItem() const {
  return static_cast<unsigned>(!album_.IsEmpty()) + static_cast<unsigned>(!artist_.IsEmpty()) +
         static_cast<unsigned>(!title_.IsEmpty());
}

SearchPolicy::SearchPolicy(VoiceAssistant type) { SetVoiceAssistantType(type); }

void SearchPolicy::SetVoiceAssistantType(VoiceAssistant type) {
  if (type != Alexa) return;
  keyword_transform_ = NormalizeVoiceKeyword;
}

void SearchPolicy::ExtendSearchKeyword() {
  const unsigned kinds = search_keyword_.GetNumberOfItem();
  if (kinds == 0) {
    syslog(LOG_ERR, "%s:%d illegal search keyword: empty keyword set", kUnit, __LINE__);
    return;
  }
  extended_keywords_.clear();
  keyword_index_ = 0;
  if (kinds == 1) {
    // Only the one named kind can produce attempts.
    if (!ExtendSearchKeywordByType<SearchAlbum>() && !ExtendSearchKeywordByType<SearchArtist>()) {
      ExtendSearchKeywordByType<SearchTitle>();
    }
    return;
  }
  // Several kinds narrow each other enough: search them together, exactly as spoken.
  extended_keywords_.push_back(SearchAttempt{search_keyword_});
}

void SearchPolicy::SetSearchKeywordToDBManager(SearchDBManager& manager) {
  const size_t size = extended_keywords_.size();
  const size_t index = keyword_index_;
  if (index >= size) {
    syslog(LOG_ERR, "%s:%d has no more search keyword. index [%zd] size [%zd]", kUnit, __LINE__,
           static_cast<ssize_t>(index), static_cast<ssize_t>(size));
    return;
  }
  keyword_index_ = index + 1;
  const SearchAttempt attempt = extended_keywords_[index];
  for (const AllSearchPolicyItem& item : attempt) {
    manager.conditions.emplace_back(item.GetSearchPolicyItem<SearchAlbum>().GetKeyword(),
                                    item.GetSearchPolicyItem<SearchArtist>().GetKeyword(),
                                    item.GetSearchPolicyItem<SearchTitle>().GetKeyword());
  }
}

std::string NormalizeVoiceKeyword(const std::string& word) {
  if (word.empty()) return std::string();
  std::string copy = word;
  for (char& c : copy) {
    if (c == '\'') c = ' ';
  }
  for (char c : copy) {
    if (!IsPosixUpper(c)) return copy;
  }
  std::string spelled;
  for (char c : copy) {
    spelled += ' ';
    spelled += c;
  }
  return spelled.substr(1);
}

std::vector<std::string> SplitKeyword(const std::string& text) {
  std::vector<std::string> words;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find(' ', start);
    if (end == std::string::npos) end = text.size();
    if (end > start) words.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return words;
}

}  // namespace Sonvik::search

std::string ToUpper(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}
