#pragma once
// Key/value files of the package: `key=value` or `key="value"` lines, `#` comments.
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace Sonvik::util {

// Reads the whole file; nullopt when it cannot be opened.
std::optional<std::map<std::string, std::string>> ReadKeyValueFile(const std::string& path);

// The same, for files read on every request (INFO, audio.conf): the parsed content is kept per
// process and re-read only when the file's identity (inode, size, times) changes. A file changed
// within the last seconds is always re-read, since a rewrite in place may keep its identity
// within the file system's timestamp resolution.
std::shared_ptr<const std::map<std::string, std::string>> ReadKeyValueFileCached(
    const std::string& path);

// Writes the map atomically: a temporary file beside `path`, fsync, rename, fsync of the folder.
// False (with errno set) on failure; the old file is then untouched.
bool WriteKeyValueFileAtomically(const std::string& path,
                                 const std::map<std::string, std::string>& values);

}  // namespace Sonvik::util

// Reads `key` of the key/value file at `path` into `buffer` (NUL-terminated, at most
// `buffer_length` bytes with the NUL). Answers the value's length plus one (at least 1) when the
// key was found and fitted; 0 when the key is missing, -1 when the file cannot be read or the
// value does not fit.
extern "C" int QLIBCFileGetKeyValue(const char* path, const char* key, char* buffer,
                                    int buffer_length, int flags);
// Non-zero when `path` exists (any kind of file).
extern "C" int QLIBCFileExist(const char* path);
