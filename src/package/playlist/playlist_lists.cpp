// The plain list functions of the playlist library: normal playlists from the database or a
// preference folder, smart playlist names from a rule file, and the web-API track id form.
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "package/library/fixed_text.h"
#include "package/library/library_database.h"
#include "package/playlist/playlist_files.h"
#include "package/playlist/playlist_library.h"
#include "package/playlist/playlist_store.h"
#include "package/playlist/smart_playlist_store.h"

namespace {

constexpr int kFailure = -1;

// Builds the linked list in order; the caller owns it and frees it with QUORPlayListFree.
class ListBuilder {
 public:
  ~ListBuilder() { QUORPlayListFree(head_); }
  void Append(unsigned long id, const std::string& name) {
    auto* record = new PlaylistListRecord{};
    record->id = id;
    Sonvik::library::CopyFixedText(name, record->name);
    *tail_ = record;
    tail_ = &record->next;
    ++count_;
  }
  int Release(PlaylistListRecord** list) {
    *list = head_;
    head_ = nullptr;
    return count_;
  }

 private:
  PlaylistListRecord* head_ = nullptr;
  PlaylistListRecord** tail_ = &head_;
  int count_ = 0;
};

}  // namespace

int QUORPlaylistListAll(const char* kind, unsigned uid, PlaylistListRecord** list, int, int, int) {
  if (list == nullptr) return kFailure;
  *list = nullptr;
  if (kind == nullptr) return kFailure;
  unsigned owner;
  if (std::strcmp(kind, "shared") == 0) {
    owner = 0;
  } else if (std::strcmp(kind, "personal") == 0 && uid != 0) {
    owner = uid;
  } else {
    return kFailure;
  }
  try {
    ListBuilder builder;
    sqlite3* db = Sonvik::library::ProcessLibraryDatabase().get();
    for (const auto& playlist : Sonvik::playlist::ListStoredPlaylists(db, owner)) {
      builder.Append(static_cast<unsigned long>(playlist.id), playlist.name);
    }
    return builder.Release(list);
  } catch (const std::exception&) {
    return kFailure;
  }
}

int QUORPersonalPlaylistListAll(const char* preference_dir, PlaylistListRecord** list, int, int) {
  if (list == nullptr) return kFailure;
  *list = nullptr;
  if (preference_dir == nullptr || *preference_dir == '\0') return kFailure;
  try {
    auto files = Sonvik::playlist::ListPlaylistFiles(
        Sonvik::playlist::PersonalPlaylistFolder(preference_dir));
    if (!files) return kFailure;
    ListBuilder builder;
    for (const auto& file : *files) builder.Append(file.number, file.name);
    return builder.Release(list);
  } catch (const std::exception&) {
    return kFailure;
  }
}

void QUORPlayListFree(PlaylistListRecord* list) {
  while (list != nullptr) {
    PlaylistListRecord* next = list->next;
    delete list;
    list = next;
  }
}

int QUORAudioWebapiUtilsParseSongId(const std::string& text, std::string* number) {
  constexpr std::string_view kPrefix = "track_";
  std::string_view digits(text);
  if (!digits.starts_with(kPrefix)) return -1;
  digits.remove_prefix(kPrefix.size());
  // Track ids are positive 32-bit numbers written without sign or leading zero.
  if (digits.empty() || digits.size() > 10 || digits.front() == '0') return -1;
  long long value = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') return -1;
    value = value * 10 + (c - '0');
  }
  if (value > 2147483647LL) return -1;
  if (number != nullptr) number->assign(digits);
  return 0;
}

namespace QuorAudioUtils {

std::vector<std::string> SmartPLSEnum(int, int, int& count, const char* path) {
  std::vector<std::string> names;
  try {
    std::string problem;
    auto file = Sonvik::playlist::LoadSmartPlaylists(
        path != nullptr ? std::string(path) : Sonvik::playlist::SharedSmartPlaylistPath(),
        &problem);
    if (file) {
      for (const auto& playlist : file->playlists) names.push_back(playlist.name);
    }
  } catch (const std::exception&) {
    names.clear();
  }
  count = static_cast<int>(names.size());
  return names;
}

}  // namespace QuorAudioUtils
