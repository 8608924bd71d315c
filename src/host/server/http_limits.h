#pragma once
// The abuse limits of the HTTP front end. A request that breaks one is answered with the HTTP
// status that fits (or error 114 in the envelope) and the server goes on.
#include <chrono>
#include <cstddef>

namespace QUOR::server::limits {

inline constexpr size_t kMaxHeadBytes = 16 * 1024;   // request line and header fields: 431
inline constexpr size_t kMaxUrlBytes = 8 * 1024;     // the request target alone: 414
inline constexpr size_t kMaxHeaderFields = 100;      // more fields: 431
inline constexpr size_t kMaxBodyBytes = 64 * 1024;   // form bodies: 413
inline constexpr size_t kMaxParamValueBytes = 1024;  // one decoded parameter value: 114
inline constexpr size_t kMaxParams = 256;            // parameters in one request: 114

// The whole head must arrive within this time of its first byte (of the accept for a new
// connection), however slowly it trickles: 408 and close.
inline constexpr std::chrono::seconds kHeadTimeout{10};
// The body, once the head is in.
inline constexpr std::chrono::seconds kBodyTimeout{10};
// A keep-alive connection with no request under way is closed after this.
inline constexpr std::chrono::seconds kIdleTimeout{15};

}  // namespace QUOR::server::limits
