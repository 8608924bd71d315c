#pragma once
// The package's fixed places. Everything the product writes lives below kPackageRoot (music
// folders aside); tests get their own copy of it through a private mount namespace.
namespace Sonvik::paths {

inline constexpr const char* kPackageRoot = "/var/packages/Sonvik";
inline constexpr const char* kInfoFile = "/var/packages/Sonvik/INFO";
inline constexpr const char* kEtcDir = "/var/packages/Sonvik/etc";
inline constexpr const char* kAudioConf = "/var/packages/Sonvik/etc/audio.conf";
inline constexpr const char* kStateDir = "/var/packages/Sonvik/var";
inline constexpr const char* kLibraryDb = "/var/packages/Sonvik/var/library.db";
inline constexpr const char* kAccountsDb = "/var/packages/Sonvik/var/accounts.db";
inline constexpr const char* kAlexaConf = "/var/packages/Sonvik/var/alexa.conf";
inline constexpr const char* kSharedSmartPlaylists = "/var/packages/Sonvik/var/smart.playlist";
inline constexpr const char* kCoverCache = "/var/packages/Sonvik/var/covers";
inline constexpr const char* kUsersDir = "/var/packages/Sonvik/var/users";
// The service account that serves requests; created by `sonvik init`.
inline constexpr const char* kServiceAccount = "Sonvik";

}  // namespace Sonvik::paths
