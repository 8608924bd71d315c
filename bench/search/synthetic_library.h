#pragma once
// A synthetic music library for measuring search: albums of about ten tracks by artists of very
// different popularity, title, album and artist phrases drawn from a vocabulary with Zipf-like
// word frequencies (the commonest words are in a good part of all titles), plus the spellings a
// voice search must cope with: acronyms, dotted and slashed names, apostrophes, accents.
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace Sonvik::bench {

// Draws ranks 0..n-1 with probability proportional to 1 / (rank + 1)^exponent.
class ZipfDistribution {
 public:
  ZipfDistribution(size_t n, double exponent);
  size_t operator()(std::mt19937_64& random) const;

 private:
  std::vector<double> cumulative_;
};

class Vocabulary {
 public:
  // Common words first (the head of the distribution), then made-up words for the long tail.
  explicit Vocabulary(size_t size, uint64_t seed);
  const std::string& Word(size_t rank) const { return words_[rank]; }
  size_t size() const { return words_.size(); }
  // A phrase of `count` Zipf-drawn words, capitalised like a tag.
  std::string Phrase(size_t count, std::mt19937_64& random) const;
  // A word that is not in the vocabulary (for phrases that must find nothing).
  static std::string Nonsense(std::mt19937_64& random);

 private:
  std::vector<std::string> words_;
  ZipfDistribution zipf_;
};

struct SyntheticTrack {
  std::string title;
  std::string album;
  std::string artist;
  int disc = 1;
  int track_number = 1;
};

// Track i of a library of `count` tracks built from `seed`: the same arguments give the same
// track, so the query mix can be drawn from the tracks without keeping them all.
class SyntheticLibrary {
 public:
  SyntheticLibrary(int64_t count, uint64_t seed);
  int64_t count() const { return count_; }
  SyntheticTrack Track(int64_t index) const;
  const Vocabulary& vocabulary() const { return vocabulary_; }

 private:
  struct Album {
    std::string title;
    size_t artist;
    int64_t first_track;
    int tracks;
    int discs;
  };
  std::string ArtistName(size_t artist) const;
  const Album& AlbumOf(int64_t index) const;

  int64_t count_;
  uint64_t seed_;
  Vocabulary vocabulary_;
  std::vector<std::string> artists_;
  std::vector<Album> albums_;
};

// Writes the library into a new library database at `path` (shared folder "/music"; one track in
// a hundred goes to another user's personal folder, hidden from the measuring user) through the
// same IndexTrack the scanner uses. Prints progress to stderr.
void WriteLibraryDatabase(const SyntheticLibrary& library, const std::string& path);

}  // namespace Sonvik::bench
