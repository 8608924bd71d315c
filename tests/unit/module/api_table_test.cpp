// The exported tables as a host walks them.
#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>

#include "voice_module/module/api_table.h"

namespace {

// The rows are shared with hosts built separately: their layout must not drift.
static_assert(sizeof(APIEntry) == 4 * sizeof(void*));
static_assert(offsetof(APIEntry, version) == sizeof(void*));
static_assert(offsetof(APIEntry, handler) == 3 * sizeof(void*));
static_assert(sizeof(APICheckEntry) == 6 * sizeof(void*));
static_assert(offsetof(APICheckEntry, check) == 3 * sizeof(void*));

std::string Key(const char* api, const char* method) { return std::string(api) + "/" + method; }

TEST(ApiTables, NineRowsEachEndingInZeroRowWithSameMethods) {
  std::set<std::string> handlers;
  size_t rows = 0;
  for (const APIEntry* row = GetAPITable(); row->api != nullptr; ++row, ++rows) {
    EXPECT_EQ(row->version, 1);
    EXPECT_NE(row->handler, nullptr);
    handlers.insert(Key(row->api, row->method));
  }
  EXPECT_EQ(rows, 9u);
  EXPECT_EQ(GetAPITable()[9].method, nullptr);
  EXPECT_EQ(GetAPITable()[9].handler, nullptr);

  std::set<std::string> checks;
  rows = 0;
  for (const APICheckEntry* row = GetAPICheckTable(); row->api != nullptr; ++row, ++rows) {
    EXPECT_EQ(row->version, 1);
    EXPECT_NE(row->check, nullptr);
    EXPECT_EQ(row->reserved1, nullptr);
    EXPECT_EQ(row->reserved2, nullptr);
    checks.insert(Key(row->api, row->method));
  }
  EXPECT_EQ(rows, 9u);
  EXPECT_EQ(handlers, checks);
  EXPECT_EQ(handlers.size(), 9u);
}

TEST(ApiTables, OrdersAreTheDocumentedOnes) {
  EXPECT_STREQ(GetAPITable()[0].method, "count_search");
  EXPECT_STREQ(GetAPITable()[7].api, "QUOR.Sonvik.VoiceAssistant.Info");
  EXPECT_STREQ(GetAPICheckTable()[0].api, "QUOR.Sonvik.VoiceAssistant.Info");
  EXPECT_STREQ(GetAPICheckTable()[1].method, "transcode");
  EXPECT_STREQ(GetAPICheckTable()[8].api, "QUOR.Sonvik.VoiceAssistant.Challenge");
}

}  // namespace
