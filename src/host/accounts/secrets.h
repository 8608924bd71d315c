#pragma once
// The account store's cryptography, all from libsodium: argon2id password hashes, random
// session ids and token secrets, and the one-way digests under which those secrets are stored.
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace QUOR::accounts::detail {

// Initialises libsodium once; throws AccountError when it cannot.
void InitSodium();

// The argon2id hash in libsodium's self-describing text form (interactive limits).
// Throws AccountError when the memory for it cannot be had.
std::string HashPassword(std::string_view password);
bool VerifyPassword(std::string_view password, const std::string& hash);
// True when `hash` was made with other limits than HashPassword uses now (older settings).
bool NeedsRehash(const std::string& hash);
// Spends the time of one verification against nothing, so that an unknown account name answers
// as slowly as a wrong password.
void VerifyAgainstDummy(std::string_view password);

// 32 random bytes as 64 lower-case hex digits.
std::string RandomSecret();

// BLAKE2b-256 of a secret. Secrets carry 256 random bits, so a fast digest suffices: the stored
// value gives nothing to guess from.
using SecretDigest = std::array<unsigned char, 32>;
SecretDigest DigestSecret(std::string_view secret);

}  // namespace QUOR::accounts::detail
