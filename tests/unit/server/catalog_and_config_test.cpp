// Finding methods in module tables, CGI variables of a request, and the serve options.
#include <gtest/gtest.h>

#include <cstdlib>

#include "host/server/api_catalog.h"
#include "host/server/cgi_environment.h"
#include "host/server/listen_address.h"
#include "host/server/server.h"

namespace QUOR::server {
namespace {

void Handler(QUOR::APIRequest*, QUOR::APIResponse*) {}
bool Check(QUOR::APIRequest*, QUOR::APIResponse*) { return true; }

const APIEntry kTable[] = {
    {"Test.Browse", 1, "search", Handler},    {"Test.Browse", 2, "search", Handler},
    {"Test.Browse", 2, "unchecked", Handler}, {"Test.Info", 1, "get", Handler},
    {nullptr, 0, nullptr, nullptr},
};
const APICheckEntry kChecks[] = {
    {"Test.Info", 1, "get", Check, nullptr, nullptr},
    {"Test.Browse", 2, "search", Check, nullptr, nullptr},
    {"Test.Browse", 1, "search", Check, nullptr, nullptr},
    {nullptr, 0, nullptr, nullptr, nullptr, nullptr},
};

TEST(ApiCatalog, LooksUpApiThenVersionThenMethod) {
  ApiCatalog catalog;
  catalog.AddHostMethod("QUOR.API.Info", 1, "query");
  std::vector<std::string> unchecked = catalog.AddModule(kTable, kChecks);
  EXPECT_EQ(unchecked, std::vector<std::string>{"Test.Browse/unchecked"});
  const MethodEntry* entry = nullptr;
  EXPECT_EQ(catalog.Find("Test.Browse", 2, "search", &entry), ApiCatalog::Lookup::kFound);
  EXPECT_EQ(entry->check, &Check);
  EXPECT_FALSE(entry->host_method);
  EXPECT_EQ(catalog.Find("Test.Nothing", 1, "search", &entry), ApiCatalog::Lookup::kNoSuchApi);
  EXPECT_EQ(catalog.Find("Test.Browse", 3, "nothing", &entry),
            ApiCatalog::Lookup::kVersionNotSupported);
  EXPECT_EQ(catalog.Find("Test.Browse", -1, "search", &entry),
            ApiCatalog::Lookup::kVersionNotSupported);
  EXPECT_EQ(catalog.Find("Test.Browse", 1, "nothing", &entry), ApiCatalog::Lookup::kNoSuchMethod);
  // A method without a check is never offered.
  EXPECT_EQ(catalog.Find("Test.Browse", 2, "unchecked", &entry), ApiCatalog::Lookup::kNoSuchMethod);
  EXPECT_EQ(catalog.Find("QUOR.API.Info", 1, "query", &entry), ApiCatalog::Lookup::kFound);
  EXPECT_TRUE(entry->host_method);
  auto versions = catalog.Versions();
  EXPECT_EQ(versions["Test.Browse"].min_version, 1);
  EXPECT_EQ(versions["Test.Browse"].max_version, 2);
  EXPECT_EQ(versions.size(), 3u);
}

TEST(CgiEnvironment, HeadersBecomeVariablesWithoutCredentials) {
  HttpRequest request;
  request.method = "HEAD";
  request.target = "/webapi/entry?api=x&_sid=s";
  request.client_address = "127.0.0.1";
  request.headers = {{"range", "bytes=0-99"},     {"if-none-match", "\"e1\""},
                     {"if-none-match", "\"e2\""}, {"authorization", "Bearer t"},
                     {"cookie", "sonvik_sid=s"},  {"content-type", "text/plain"},
                     {"x.odd", "dropped"}};
  CgiVariables variables = MakeCgiVariables(request);
  auto value = [&](const std::string& name) -> std::optional<std::string> {
    for (const auto& [n, v] : variables) {
      if (n == name) return v;
    }
    return std::nullopt;
  };
  EXPECT_EQ(value("REQUEST_METHOD"), "HEAD");
  EXPECT_EQ(value("QUERY_STRING"), "api=x&_sid=s");
  EXPECT_EQ(value("HTTP_RANGE"), "bytes=0-99");
  EXPECT_EQ(value("HTTP_IF_NONE_MATCH"), "\"e1\", \"e2\"");
  EXPECT_EQ(value("CONTENT_TYPE"), "text/plain");
  EXPECT_EQ(value("REMOTE_ADDR"), "127.0.0.1");
  EXPECT_EQ(value("HTTP_AUTHORIZATION"), std::nullopt);
  EXPECT_EQ(value("HTTP_COOKIE"), std::nullopt);
  EXPECT_EQ(value("HTTP_X.ODD"), std::nullopt);
  // The worker's own variables stay visible; one of the same name as a request's is hidden
  // for the request and is back afterwards.
  setenv("QUERY_STRING", "the worker's own", 1);
  setenv("SONVIK_TEST_OUTER", "kept", 1);
  {
    CgiEnvironmentScope scope(request);
    ASSERT_NE(std::getenv("HTTP_RANGE"), nullptr);
    EXPECT_STREQ(std::getenv("HTTP_RANGE"), "bytes=0-99");
    EXPECT_STREQ(std::getenv("QUERY_STRING"), "api=x&_sid=s");
    EXPECT_STREQ(std::getenv("SONVIK_TEST_OUTER"), "kept");
  }
  EXPECT_EQ(std::getenv("HTTP_RANGE"), nullptr);
  EXPECT_EQ(std::getenv("REQUEST_METHOD"), nullptr);
  EXPECT_STREQ(std::getenv("QUERY_STRING"), "the worker's own");
  unsetenv("QUERY_STRING");
  unsetenv("SONVIK_TEST_OUTER");
}

TEST(ServeOptions, ListenAddressAndPoolSize) {
  ListenAddress address;
  std::string error;
  ASSERT_TRUE(ParseListenAddress("127.0.0.1:5080", &address, &error));
  EXPECT_EQ(address.host, "127.0.0.1");
  EXPECT_EQ(address.port, 5080);
  ASSERT_TRUE(ParseListenAddress("[::1]:8080", &address, &error));
  EXPECT_TRUE(address.ipv6);
  EXPECT_EQ(address.ToString(), "[::1]:8080");
  for (const char* bad : {"5080", "127.0.0.1", "127.0.0.1:0", "127.0.0.1:65536", "host:80",
                          "[::1:80", "1.2.3.4:80x", ":80"}) {
    EXPECT_FALSE(ParseListenAddress(bad, &address, &error)) << bad;
    EXPECT_FALSE(error.empty());
  }
  PoolSize pool;
  ASSERT_TRUE(ParsePoolSize("1:1", &pool, &error));
  ASSERT_TRUE(ParsePoolSize("3:40", &pool, &error));
  EXPECT_EQ(pool.min_workers, 3);
  EXPECT_EQ(pool.max_workers, 40);
  for (const char* bad : {"0:4", "4:2", "2", "a:b", "2:", "1:1000", "-1:2"}) {
    EXPECT_FALSE(ParsePoolSize(bad, &pool, &error)) << bad;
  }
}

}  // namespace
}  // namespace QUOR::server
