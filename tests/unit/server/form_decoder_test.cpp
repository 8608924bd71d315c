// Query strings and form bodies, with their limits.
#include "host/server/form_decoder.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "host/server/http_limits.h"

namespace QUOR::server {
namespace {

using Params = std::map<std::string, std::string>;

struct DecodeCase {
  const char* text;
  FormError error;
  Params params;
};

TEST(FormDecoder, DecodesPairsEscapesAndPlus) {
  const DecodeCase cases[] = {
      {"", FormError::kNone, {}},
      {"a=1&b=2", FormError::kNone, {{"a", "1"}, {"b", "2"}}},
      {"title=hey+jude", FormError::kNone, {{"title", "hey jude"}}},
      {"t=AC%2FDC%20live", FormError::kNone, {{"t", "AC/DC live"}}},
      {"t=%C3%B8", FormError::kNone, {{"t", "\xC3\xB8"}}},
      {"a=1&&b=2&", FormError::kNone, {{"a", "1"}, {"b", "2"}}},
      {"flag&x=", FormError::kNone, {{"flag", ""}, {"x", ""}}},
      {"a=1&a=2", FormError::kNone, {{"a", "1"}}},  // the first value stays
      {"k%3Dx=v%26w", FormError::kNone, {{"k=x", "v&w"}}},
      {"eq=a=b", FormError::kNone, {{"eq", "a=b"}}},
      {"a=%zz", FormError::kBadEncoding, {}},
      {"a=%4", FormError::kBadEncoding, {}},
      {"a=%", FormError::kBadEncoding, {}},
      {"a=%00", FormError::kBadEncoding, {}},
  };
  for (const DecodeCase& c : cases) {
    SCOPED_TRACE(c.text);
    Params params;
    EXPECT_EQ(DecodeForm(c.text, &params), c.error);
    if (c.error == FormError::kNone) {
      EXPECT_EQ(params, c.params);
    }
  }
}

TEST(FormDecoder, ValueLimitCountsDecodedBytes) {
  const size_t limit = limits::kMaxParamValueBytes;
  Params params;
  EXPECT_EQ(DecodeForm("v=" + std::string(limit, 'x'), &params), FormError::kNone);
  EXPECT_EQ(DecodeForm("w=" + std::string(limit + 1, 'x'), &params), FormError::kValueTooLong);
  // Escaped bytes count once each: the limit is exactly reachable through escapes too.
  std::string escaped;
  for (size_t i = 0; i < limit; ++i) escaped += "%41";
  Params escaped_params;
  EXPECT_EQ(DecodeForm("e=" + escaped, &escaped_params), FormError::kNone);
  EXPECT_EQ(escaped_params["e"], std::string(limit, 'A'));
  EXPECT_EQ(DecodeForm("f=" + escaped + "%41", &params), FormError::kValueTooLong);
  // Names are bounded too, and a 5 KiB value is refused before any decoding.
  EXPECT_EQ(DecodeForm(std::string(limit + 1, 'n') + "=1", &params), FormError::kValueTooLong);
  EXPECT_EQ(DecodeForm("big=" + std::string(5 * 1024, '%'), &params), FormError::kValueTooLong);
}

TEST(FormDecoder, ParameterCountIsBoundedAcrossCalls) {
  std::string many;
  for (size_t i = 0; i < limits::kMaxParams; ++i) many += "p" + std::to_string(i) + "=1&";
  Params params;
  EXPECT_EQ(DecodeForm(many, &params), FormError::kNone);
  EXPECT_EQ(params.size(), limits::kMaxParams);
  EXPECT_EQ(DecodeForm(many + "one_more=1", &params), FormError::kTooManyParams);
}

TEST(FormDecoder, PercentDecodeKeepsPlusOutsideForms) {
  std::string out;
  EXPECT_TRUE(PercentDecode("a+b%2B", false, &out));
  EXPECT_EQ(out, "a+b+");
  EXPECT_TRUE(PercentDecode("a+b", true, &out));
  EXPECT_EQ(out, "a b");
}

}  // namespace
}  // namespace QUOR::server
