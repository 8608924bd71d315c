// Text copied into the exported records' fixed arrays: always terminated, never a broken character.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "package/library/fixed_text.h"

namespace Sonvik::library {
namespace {

TEST(FixedText, CutsBeforeTheCharacterThatDoesNotFit) {
  struct Case {
    std::string text;
    size_t capacity;
    std::string expected;
    bool fits;
  };
  const Case cases[] = {
      {"abc", 4, "abc", true},
      {"abcd", 4, "abc", false},
      {"", 1, "", true},
      {"a", 1, "", false},
      {"ab\xc3\xa9", 4, "ab", false},  // 2-byte character cut in half
      {"ab\xc3\xa9", 5, "ab\xc3\xa9", true},
      {"a\xe2\x82\xac"
       "b",
       4, "a", false},  // 3-byte euro sign needs 4 with the NUL
      {"a\xe2\x82\xac"
       "b",
       5, "a\xe2\x82\xac", false},
      {"\xf0\x9f\x8e\xb5", 4, "", false},  // 4-byte character alone
  };
  for (const Case& c : cases) {
    char buffer[16];
    std::memset(buffer, 'x', sizeof(buffer));
    EXPECT_EQ(CopyFixedText(c.text, buffer, c.capacity), c.fits) << c.text;
    EXPECT_EQ(std::string(buffer), c.expected) << c.text;
  }
}

}  // namespace
}  // namespace Sonvik::library
