#pragma once
// The error codes the host itself answers in the envelope. The module's own are 100, 101, 120.
namespace QUOR::server::codes {

inline constexpr int kUnknown = 100;  // the host's own failure (account store down)
inline constexpr int kNoSuchApi = 102;
inline constexpr int kNoSuchMethod = 103;
inline constexpr int kVersionNotSupported = 104;
inline constexpr int kNotLoggedIn = 105;       // no credentials, or expired/invalid ones
inline constexpr int kWrongCredentials = 106;  // also when failed logins are rate limited
inline constexpr int kHandlerFailed = 107;     // crashed (threw) or answered nothing
inline constexpr int kMalformedRequest = 114;  // bad encoding, oversized value, bad body

}  // namespace QUOR::server::codes
