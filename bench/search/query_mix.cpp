#include "query_mix.h"

#include <random>

namespace Sonvik::bench {
namespace {

// A tag as a person says it: lower case, punctuation other than apostrophes gone, words apart.
std::vector<std::string> SpokenWords(const std::string& tag) {
  std::vector<std::string> words;
  std::string word;
  for (char c : tag) {
    const bool keep = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '\'' ||
                      (static_cast<unsigned char>(c) >= 0x80);
    if (c >= 'A' && c <= 'Z') {
      word += static_cast<char>(c + 32);
    } else if (keep) {
      word += c;
    } else if (!word.empty()) {
      words.push_back(word);
      word.clear();
    }
  }
  if (!word.empty()) words.push_back(word);
  return words;
}

std::string Join(const std::vector<std::string>& words, size_t from, size_t count) {
  std::string text;
  for (size_t i = from; i < from + count && i < words.size(); ++i) {
    if (!text.empty()) text += ' ';
    text += words[i];
  }
  return text;
}

// A run of up to `max_words` consecutive words of `tag`.
std::string RunOf(const std::string& tag, size_t max_words, std::mt19937_64& random, int* words) {
  const std::vector<std::string> all = SpokenWords(tag);
  if (all.empty()) return std::string();
  const size_t length = 1 + random() % std::min(max_words, all.size());
  const size_t from = random() % (all.size() - length + 1);
  *words += static_cast<int>(length);
  return Join(all, from, length);
}

}  // namespace

const char* ShapeName(SpokenQuery::Shape shape) {
  switch (shape) {
    case SpokenQuery::Shape::kFirstAttempt:
      return "title, first attempt hits";
    case SpokenQuery::Shape::kLaterAttempt:
      return "title, later attempt hits";
    case SpokenQuery::Shape::kMiss:
      return "title, every attempt misses";
    case SpokenQuery::Shape::kArtist:
      return "artist";
    case SpokenQuery::Shape::kAlbum:
      return "album";
    case SpokenQuery::Shape::kAlbumAndArtist:
      return "album and artist";
  }
  return "?";
}

std::vector<SpokenQuery> BuildQueryMix(const SyntheticLibrary& library, size_t count,
                                       uint64_t seed) {
  std::mt19937_64 random(seed);
  std::vector<SpokenQuery> queries;
  std::uniform_int_distribution<int64_t> any_track(0, library.count() - 1);
  while (queries.size() < count) {
    SpokenQuery query{};
    const unsigned roll = static_cast<unsigned>(random() % 100);
    const SyntheticTrack track = library.Track(any_track(random));
    if (roll < 35) {
      query.shape = SpokenQuery::Shape::kFirstAttempt;
      query.title = RunOf(track.title, 6, random, &query.words);
    } else if (roll < 50) {
      query.shape = SpokenQuery::Shape::kLaterAttempt;
      std::vector<std::string> words = SpokenWords(RunOf(track.title, 5, random, &query.words));
      words.insert(words.begin() + static_cast<long>(random() % (words.size() + 1)),
                   Vocabulary::Nonsense(random));
      query.title = Join(words, 0, words.size());
      query.words += 1;
    } else if (roll < 65) {
      query.shape = SpokenQuery::Shape::kMiss;
      const int n = 1 + static_cast<int>(random() % 6);
      std::vector<std::string> words;
      for (int i = 0; i < n; ++i) words.push_back(Vocabulary::Nonsense(random));
      query.title = Join(words, 0, words.size());
      query.words = n;
    } else if (roll < 80) {
      query.shape = SpokenQuery::Shape::kArtist;
      query.artist = RunOf(track.artist, 3, random, &query.words);
    } else if (roll < 90) {
      query.shape = SpokenQuery::Shape::kAlbum;
      query.album = RunOf(track.album, 4, random, &query.words);
    } else {
      query.shape = SpokenQuery::Shape::kAlbumAndArtist;
      query.album = RunOf(track.album, 3, random, &query.words);
      query.artist = RunOf(track.artist, 3, random, &query.words);
    }
    if (query.title.empty() && query.album.empty() && query.artist.empty()) continue;
    query.sort_by = random() % 2 == 0 ? "track_id" : "album";
    query.offset = random() % 5 == 0 ? 20 : 0;
    queries.push_back(query);
  }
  return queries;
}

}  // namespace Sonvik::bench
