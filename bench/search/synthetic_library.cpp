#include "synthetic_library.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>

#include "package/library/library_database.h"
#include "package/search/search_index.h"
#include "package/sqlite/statement.h"
#include "package/sqlite/transaction.h"

namespace Sonvik::bench {
namespace {

// The head of the vocabulary: words that real titles use again and again, most common first.
const char* const kCommonWords[] = {
    "the",      "you",      "love",    "i",         "me",       "my",     "a",        "of",
    "in",       "to",       "and",     "it",        "on",       "your",   "is",       "be",
    "all",      "night",    "don't",   "baby",      "heart",    "time",   "we",       "for",
    "with",     "no",       "up",      "down",      "go",       "this",   "one",      "what",
    "day",      "girl",     "man",     "life",      "world",    "home",   "away",     "blue",
    "dream",    "light",    "never",   "little",    "good",     "back",   "come",     "song",
    "can't",    "i'm",      "it's",    "rock",      "roll",     "fire",   "rain",     "sun",
    "moon",     "star",     "stars",   "dance",     "dancing",  "feel",   "tonight",  "forever",
    "again",    "together", "alone",   "way",       "road",     "sky",    "sweet",    "dark",
    "black",    "white",    "red",     "gold",      "summer",   "winter", "river",    "ocean",
    "city",     "street",   "train",   "hey",       "oh",       "yeah",   "got",      "get",
    "let",      "take",     "make",    "want",      "need",     "know",   "say",      "tell",
    "think",    "look",     "run",     "live",      "die",      "young",  "old",      "new",
    "last",     "first",    "two",     "three",     "four",     "five",   "ten",      "hundred",
    "blues",    "lady",     "king",    "queen",     "angel",    "devil",  "heaven",   "hell",
    "shadow",   "shadows",  "ghost",   "wild",      "free",     "crazy",  "lonely",   "happy",
    "sad",      "cold",     "hot",     "hard",      "soft",     "slow",   "fast",     "high",
    "low",      "long",     "lost",    "found",     "broken",   "golden", "silver",   "electric",
    "midnight", "morning",  "evening", "yesterday", "tomorrow", "today",  "story",    "kiss",
    "touch",    "eyes",     "hand",    "hands",     "soul",     "mind",   "body",     "boy",
    "boys",     "girls",    "friend",  "friends",   "mother",   "father", "brother",  "sister",
    "sea",      "mountain", "valley",  "garden",    "paradise", "memory", "memories", "secret",
    "promise",  "fool",     "money",   "war",       "peace",    "power",  "time's",   "café",
    "señorita", "naïve",    "über",    "déjà",      "vu",       "fiancé", "rosé",     "smørrebrød",
    "straße",   "live",     "remix",   "edit",      "version",  "mix",    "part",     "ii",
    "iv",       "vol"};

const char* const kSyllables[] = {"ka",  "lo", "mi",  "ren", "tor", "sa", "vel", "ni",  "dor",
                                  "al",  "be", "cri", "dan", "el",  "fo", "gar", "hu",  "ix",
                                  "jo",  "ke", "lum", "mar", "no",  "ol", "pra", "qui", "ros",
                                  "sil", "tu", "ur",  "vo",  "wen", "xa", "yo",  "zen", "bri"};

std::string Capitalised(const std::string& word) {
  std::string text = word;
  if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 32);
  return text;
}

}  // namespace

ZipfDistribution::ZipfDistribution(size_t n, double exponent) : cumulative_(n) {
  double sum = 0;
  for (size_t rank = 0; rank < n; ++rank) {
    sum += 1.0 / std::pow(static_cast<double>(rank + 1), exponent);
    cumulative_[rank] = sum;
  }
  for (double& value : cumulative_) value /= sum;
}

size_t ZipfDistribution::operator()(std::mt19937_64& random) const {
  const double u = std::uniform_real_distribution<double>(0, 1)(random);
  const auto it = std::lower_bound(cumulative_.begin(), cumulative_.end(), u);
  return std::min(static_cast<size_t>(it - cumulative_.begin()), cumulative_.size() - 1);
}

Vocabulary::Vocabulary(size_t size, uint64_t seed) : zipf_(size, 1.0) {
  for (const char* word : kCommonWords) {
    if (std::find(words_.begin(), words_.end(), word) == words_.end()) words_.push_back(word);
  }
  std::mt19937_64 random(seed);
  const size_t syllables = std::size(kSyllables);
  while (words_.size() < size) {
    std::string word;
    const int parts = 2 + static_cast<int>(random() % 2);
    for (int i = 0; i < parts; ++i) word += kSyllables[random() % syllables];
    words_.push_back(word);  // repeats are fine: they only make a word a little more common
  }
  words_.resize(size);
}

std::string Vocabulary::Phrase(size_t count, std::mt19937_64& random) const {
  std::string phrase;
  for (size_t i = 0; i < count; ++i) {
    if (i > 0) phrase += ' ';
    phrase += Capitalised(words_[zipf_(random)]);
  }
  return phrase;
}

std::string Vocabulary::Nonsense(std::mt19937_64& random) {
  std::string word = "q";
  const int letters = 4 + static_cast<int>(random() % 5);
  for (int i = 0; i < letters; ++i) word += static_cast<char>('a' + random() % 26);
  return word;
}

SyntheticLibrary::SyntheticLibrary(int64_t count, uint64_t seed)
    : count_(count), seed_(seed), vocabulary_(std::max<size_t>(5000, count / 20), seed) {
  std::mt19937_64 random(seed ^ 0xA5A5);
  const size_t artist_count = static_cast<size_t>(std::max<int64_t>(50, count / 40));
  for (size_t i = 0; i < artist_count; ++i) artists_.push_back(ArtistName(i));
  // Popular artists make many albums.
  const ZipfDistribution artist_zipf(artist_count, 0.8);
  std::uniform_int_distribution<int> title_words(1, 4);
  for (int64_t first = 0; first < count;) {
    Album album;
    album.first_track = first;
    album.tracks =
        static_cast<int>(std::min<int64_t>(6 + static_cast<int64_t>(random() % 9), count - first));
    album.discs = random() % 10 == 0 ? 2 : 1;
    album.artist = artist_zipf(random);
    album.title = vocabulary_.Phrase(static_cast<size_t>(title_words(random)), random);
    if (random() % 12 == 0) album.title = "Greatest Hits";
    if (random() % 20 == 0) album.title += " (Deluxe Edition)";
    albums_.push_back(album);
    first += album.tracks;
  }
}

std::string SyntheticLibrary::ArtistName(size_t artist) const {
  std::mt19937_64 random(seed_ + 7919 * artist);
  switch (random() % 50) {
    case 0: {  // a dotted acronym
      std::string name;
      for (int i = 0; i < 3; ++i)
        name += std::string(1, static_cast<char>('A' + random() % 26)) + ".";
      return name;
    }
    case 1:  // a slashed name
      return std::string(1, static_cast<char>('A' + random() % 26)) +
             static_cast<char>('A' + random() % 26) + "/" + static_cast<char>('A' + random() % 26) +
             static_cast<char>('A' + random() % 26);
    case 2: {  // capitals only, the way the speech service spells such names
      std::string name;
      for (int i = 0; i < 4; ++i) name += static_cast<char>('A' + random() % 26);
      return name;
    }
    default:
      break;
  }
  std::string name = vocabulary_.Phrase(1 + random() % 3, random);
  if (random() % 5 == 0) name = "The " + name;
  if (random() % 25 == 0) name += " & The " + vocabulary_.Phrase(1, random);
  return name;
}

const SyntheticLibrary::Album& SyntheticLibrary::AlbumOf(int64_t index) const {
  const auto it =
      std::upper_bound(albums_.begin(), albums_.end(), index,
                       [](int64_t i, const Album& album) { return i < album.first_track; });
  return *(it - 1);
}

SyntheticTrack SyntheticLibrary::Track(int64_t index) const {
  const Album& album = AlbumOf(index);
  std::mt19937_64 random(seed_ * 31 + static_cast<uint64_t>(index));
  static const int kWordCounts[] = {1, 1, 1, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 4, 4, 4, 5, 5, 6, 6};
  SyntheticTrack track;
  track.title = vocabulary_.Phrase(static_cast<size_t>(kWordCounts[random() % 20]), random);
  if (random() % 20 == 0) track.title += " (Live)";
  if (random() % 40 == 0) track.title += " - Remastered 2009";
  track.album = album.title;
  track.artist = artists_[album.artist];
  const int position = static_cast<int>(index - album.first_track);
  const int per_disc = (album.tracks + album.discs - 1) / album.discs;
  track.disc = 1 + position / per_disc;
  track.track_number = 1 + position % per_disc;
  return track;
}

void WriteLibraryDatabase(const SyntheticLibrary& library, const std::string& path) {
  sqlite::Database db = library::OpenLibraryDatabase(path);
  db.Exec(
      "INSERT INTO libraries (id, path, owner_uid, owner_name, enabled) VALUES"
      " (1, '/music', 0, '', 1), (2, '/home/someone/music', 5000, 'someone', 1)");
  sqlite::Statement insert(db.get(),
                           "INSERT INTO tracks (id, library_id, path, title, album, artist, disc,"
                           " track_number, container, codec) VALUES (?, ?, ?, ?, ?, ?, ?, ?,"
                           " 'flac', 'flac')",
                           true);
  const auto start = std::chrono::steady_clock::now();
  constexpr int64_t kBatch = 20000;
  for (int64_t first = 0; first < library.count(); first += kBatch) {
    sqlite::Transaction batch(db.get());
    for (int64_t i = first; i < std::min(library.count(), first + kBatch); ++i) {
      const SyntheticTrack track = library.Track(i);
      const int64_t id = i + 1;
      insert.BindAll(id, i % 100 == 99 ? 2 : 1, "/music/" + std::to_string(id) + ".flac",
                     track.title, track.album, track.artist, track.disc, track.track_number);
      insert.Run();
      insert.Reset();
      search::IndexTrack(db.get(), id, track.title, track.album, track.artist);
    }
    batch.Commit();
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const int64_t done = std::min(library.count(), first + kBatch);
    std::cerr << "\r  generated " << done << " / " << library.count() << " tracks ("
              << static_cast<int64_t>(static_cast<double>(done) / seconds) << " tracks/s)"
              << std::flush;
  }
  std::cerr << "\n";
  db.Exec("PRAGMA wal_checkpoint(TRUNCATE)");
}

}  // namespace Sonvik::bench
