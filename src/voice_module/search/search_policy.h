#pragma once
// The voice search keyword engine: holds the spoken album, artist and title of one request and
// turns them into an ordered list of ever broader search attempts for the track search engine.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "package/search/search_kinds.h"

namespace Sonvik::search {

class SearchDBManager;

// Which voice assistant produced the keywords. Only Alexa changes how words are treated.
enum VoiceAssistant : int32_t {
  Alexa = 0,
};

using KeywordTransform = std::function<std::string(const std::string&)>;

// One keyword slot; the empty text means that kind was not asked for.
class SearchPolicyItem {
 public:
  SearchPolicyItem() = default;
  explicit SearchPolicyItem(std::string keyword) : keyword_(std::move(keyword)) {}

  const std::string& GetKeyword() const { return keyword_; }
  void SetKeyword(const std::string& keyword) { keyword_ = keyword; }
  bool IsEmpty() const { return keyword_.empty(); }

 private:
  std::string keyword_;
};

class AllSearchPolicyItem;
// One attempt: items the engine receives together. The attempts, most specific first.
using SearchAttempt = std::vector<AllSearchPolicyItem>;
using SearchAttempts = std::vector<SearchAttempt>;

// The three keyword slots, in the order album, artist, title.
class AllSearchPolicyItem {
 public:
  // How many slots hold a non-empty keyword (0 to 3).
  unsigned GetNumberOfItem() const;

  template <typename Kind>
  const SearchPolicyItem& GetSearchPolicyItem() const;
  template <typename Kind>
  SearchPolicyItem& GetEditableSearchPolicyItem();

  // The attempts for the keyword of `Kind`: for N words, N attempts; attempt k holds the runs of
  // N - k consecutive words, left to right, each in a copy of this item. `transform` (may be
  // empty) is applied to every word. Empty when the slot holds no word.
  template <typename Kind>
  SearchAttempts Extend(KeywordTransform transform) const;

 private:
  SearchPolicyItem album_;
  SearchPolicyItem artist_;
  SearchPolicyItem title_;
};

template <>
inline const SearchPolicyItem& AllSearchPolicyItem::GetSearchPolicyItem<SearchAlbum>() const {
  return album_;
}
template <>
inline const SearchPolicyItem& AllSearchPolicyItem::GetSearchPolicyItem<SearchArtist>() const {
  return artist_;
}
template <>
inline const SearchPolicyItem& AllSearchPolicyItem::GetSearchPolicyItem<SearchTitle>() const {
  return title_;
}
template <>
inline SearchPolicyItem& AllSearchPolicyItem::GetEditableSearchPolicyItem<SearchAlbum>() {
  return album_;
}
template <>
inline SearchPolicyItem& AllSearchPolicyItem::GetEditableSearchPolicyItem<SearchArtist>() {
  return artist_;
}
template <>
inline SearchPolicyItem& AllSearchPolicyItem::GetEditableSearchPolicyItem<SearchTitle>() {
  return title_;
}

// The keywords of one request and the attempts built from them. Calling order: construct;
// SetSearchKeyword per named kind; ExtendSearchKeyword; then, while results are wanted and
// keyword_index() < extended_keywords().size(): reset the engine, SetSearchKeywordToDBManager,
// run the query.
class SearchPolicy {
 public:
  explicit SearchPolicy(VoiceAssistant type);

  // Alexa installs NormalizeVoiceKeyword; any other value leaves the transform as it is.
  void SetVoiceAssistantType(VoiceAssistant type);

  // Sets the keyword of `Kind`; an empty keyword leaves the slot as it was.
  template <typename Kind>
  void SetSearchKeyword(const std::string& keyword) {
    if (keyword.empty()) return;
    search_keyword_.GetEditableSearchPolicyItem<Kind>().SetKeyword(keyword);
  }

  // Rebuilds the attempts and rewinds to the first. A single kind is split into runs of words;
  // two or three kinds make one attempt of the keywords as they stand. With no keyword at all it
  // logs and keeps whatever an earlier call left.
  void ExtendSearchKeyword();
  // Replaces the attempts by those of `Kind` alone; false (attempts untouched) if there are none.
  template <typename Kind>
  bool ExtendSearchKeywordByType();

  // Appends the conditions of the next attempt to `manager` and moves on; logs and changes
  // nothing when the attempts are used up.
  void SetSearchKeywordToDBManager(SearchDBManager& manager);

  const AllSearchPolicyItem& search_keyword() const { return search_keyword_; }
  const SearchAttempts& extended_keywords() const { return extended_keywords_; }
  size_t keyword_index() const { return keyword_index_; }

 private:
  AllSearchPolicyItem search_keyword_;
  SearchAttempts extended_keywords_;
  size_t keyword_index_ = 0;
  KeywordTransform keyword_transform_;
};

// Alexa's habits undone for one word: apostrophes become blanks, and a word of capitals only
// (an acronym as the speech service writes it) is spelled out: "ABBA" -> "A B B A".
std::string NormalizeVoiceKeyword(const std::string& word);
// The words of `text`, split at blanks (code 32) only; empty pieces are dropped.
std::vector<std::string> SplitKeyword(const std::string& text);

}  // namespace Sonvik::search

// Upper-cases every byte in the POSIX locale; other bytes stay.
std::string ToUpper(std::string text);

namespace Sonvik::search {

template <typename Kind>
SearchAttempts AllSearchPolicyItem::Extend(KeywordTransform transform) const {
  SearchAttempts attempts;
  const std::string& keyword = GetSearchPolicyItem<Kind>().GetKeyword();
  if (keyword.empty()) return attempts;
  const std::vector<std::string> words = SplitKeyword(keyword);
  const size_t n = words.size();
  for (size_t length = n; length >= 1; --length) {
    SearchAttempt attempt;
    for (size_t start = 0; start + length <= n; ++start) {
      std::string phrase;
      for (size_t i = start; i < start + length; ++i) {
        phrase += ' ';
        phrase += transform ? transform(words[i]) : words[i];
      }
      phrase.erase(0, 1);
      AllSearchPolicyItem item = *this;
      item.GetEditableSearchPolicyItem<Kind>().SetKeyword(phrase);
      attempt.push_back(std::move(item));
    }
    attempts.push_back(std::move(attempt));
  }
  return attempts;
}

template <typename Kind>
bool SearchPolicy::ExtendSearchKeywordByType() {
  SearchAttempts attempts = search_keyword_.Extend<Kind>(keyword_transform_);
  if (attempts.empty()) return false;
  extended_keywords_ = std::move(attempts);
  return true;
}

}  // namespace Sonvik::search
