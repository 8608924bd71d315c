#include "host/accounts/secrets.h"

#include <sodium.h>

#include "host/accounts/account_store.h"

namespace QUOR::accounts::detail {
namespace {

std::string RandomHex(size_t bytes) {
  unsigned char raw[64];
  randombytes_buf(raw, bytes);
  char hex[2 * sizeof raw + 1];
  sodium_bin2hex(hex, sizeof hex, raw, bytes);
  sodium_memzero(raw, sizeof raw);
  std::string out(hex, 2 * bytes);
  sodium_memzero(hex, sizeof hex);
  return out;
}

}  // namespace

void InitSodium() {
  if (sodium_init() < 0) throw AccountError("libsodium cannot be initialised");
}

std::string HashPassword(std::string_view password) {
  char hash[crypto_pwhash_STRBYTES];
  if (crypto_pwhash_str(hash, password.data(), password.size(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                        crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0) {
    throw AccountError("not enough memory to hash the password");
  }
  return hash;
}

bool VerifyPassword(std::string_view password, const std::string& hash) {
  return crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}

bool NeedsRehash(const std::string& hash) {
  return crypto_pwhash_str_needs_rehash(hash.c_str(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                                        crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0;
}

void VerifyAgainstDummy(std::string_view password) {
  static const std::string dummy = HashPassword(RandomSecret());
  VerifyPassword(password, dummy);
}

std::string RandomSecret() { return RandomHex(32); }

SecretDigest DigestSecret(std::string_view secret) {
  SecretDigest digest;
  crypto_generichash(digest.data(), digest.size(),
                     reinterpret_cast<const unsigned char*>(secret.data()), secret.size(), nullptr,
                     0);
  return digest;
}

}  // namespace QUOR::accounts::detail
