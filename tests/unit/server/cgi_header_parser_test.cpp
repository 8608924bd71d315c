// The CGI header block a handler writes, as the host reads it.
#include "host/server/cgi_header_parser.h"

#include <gtest/gtest.h>

#include <string>

#include "host/server/http_limits.h"

namespace QUOR::server {
namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

struct BlockCase {
  const char* name;
  std::string output;  // what the handler wrote
  CgiHeaderParser::State state;
  int status;
  const char* reason;
  Fields fields;
  std::optional<uint64_t> length;
  std::string body;  // bytes after the block
};

TEST(CgiHeaderParser, ReadsBlocksAsHandlersWriteThem) {
  const BlockCase cases[] = {
      {"plain",
       "Content-Type: audio/mpeg\r\n\r\nID3",
       CgiHeaderParser::State::kBody,
       200,
       "OK",
       {{"Content-Type", "audio/mpeg"}},
       std::nullopt,
       "ID3"},
      {"status line",
       "Status: 404 Not Found\r\nContent-Type: text/html\r\n\r\n",
       CgiHeaderParser::State::kBody,
       404,
       "Not Found",
       {{"Content-Type", "text/html"}},
       std::nullopt,
       ""},
      {"status without reason",
       "Status: 416\r\n\r\n",
       CgiHeaderParser::State::kBody,
       416,
       "Range Not Satisfiable",
       {},
       std::nullopt,
       ""},
      {"partial content",
       "Status: 206 Partial Content\r\nContent-Range: bytes 0-9/100\r\nContent-Length: 10\r\n\r\n"
       "0123456789",
       CgiHeaderParser::State::kBody,
       206,
       "Partial Content",
       {{"Content-Range", "bytes 0-9/100"}},
       10,
       "0123456789"},
      {"bare newlines",
       "Content-Type: image/png\n\n\x89PNG",
       CgiHeaderParser::State::kBody,
       200,
       "OK",
       {{"Content-Type", "image/png"}},
       std::nullopt,
       "\x89PNG"},
      {"blanks around value",
       "X-A:   spaced \t\r\n\r\n",
       CgiHeaderParser::State::kBody,
       200,
       "OK",
       {{"X-A", "spaced"}},
       std::nullopt,
       ""},
      {"location means redirect",
       "Location: /elsewhere\r\n\r\n",
       CgiHeaderParser::State::kBody,
       302,
       "Found",
       {{"Location", "/elsewhere"}},
       std::nullopt,
       ""},
      {"status wins over location",
       "Status: 301\r\nLocation: /x\r\n\r\n",
       CgiHeaderParser::State::kBody,
       301,
       "Moved Permanently",
       {{"Location", "/x"}},
       std::nullopt,
       ""},
      {"repeated equal length",
       "Content-Length: 3\r\nContent-Length: 3\r\n\r\nabc",
       CgiHeaderParser::State::kBody,
       200,
       "OK",
       {},
       3,
       "abc"},
      {"unfinished",
       "Content-Type: audio/mpeg\r\n",
       CgiHeaderParser::State::kHeaders,
       200,
       "OK",
       {},
       std::nullopt,
       ""},
      {"no colon", "garbage\r\n\r\n", CgiHeaderParser::State::kError, 0, "", {}, std::nullopt, ""},
      {"empty name", ": v\r\n\r\n", CgiHeaderParser::State::kError, 0, "", {}, std::nullopt, ""},
      {"blank in name",
       "Bad Name: v\r\n\r\n",
       CgiHeaderParser::State::kError,
       0,
       "",
       {},
       std::nullopt,
       ""},
      {"folded",
       "X-A: 1\r\n continued\r\n\r\n",
       CgiHeaderParser::State::kError,
       0,
       "",
       {},
       std::nullopt,
       ""},
      {"status not a number",
       "Status: abc\r\n\r\n",
       CgiHeaderParser::State::kError,
       0,
       "",
       {},
       std::nullopt,
       ""},
      {"status out of range",
       "Status: 999 Nope\r\n\r\n",
       CgiHeaderParser::State::kError,
       0,
       "",
       {},
       std::nullopt,
       ""},
      {"status four digits",
       "Status: 2000\r\n\r\n",
       CgiHeaderParser::State::kError,
       0,
       "",
       {},
       std::nullopt,
       ""},
      {"length not a number",
       "Content-Length: 12x\r\n\r\n",
       CgiHeaderParser::State::kError,
       0,
       "",
       {},
       std::nullopt,
       ""},
      {"conflicting lengths",
       "Content-Length: 3\r\nContent-Length: 4\r\n\r\n",
       CgiHeaderParser::State::kError,
       0,
       "",
       {},
       std::nullopt,
       ""},
      {"carriage return inside",
       "X-A: a\rInjected: b\r\n\r\n",
       CgiHeaderParser::State::kError,
       0,
       "",
       {},
       std::nullopt,
       ""},
  };
  for (const BlockCase& c : cases) {
    SCOPED_TRACE(c.name);
    CgiHeaderParser parser;
    size_t taken = parser.Feed(c.output);
    ASSERT_EQ(parser.state(), c.state) << parser.error();
    if (c.state != CgiHeaderParser::State::kBody) continue;
    EXPECT_EQ(parser.headers().status, c.status);
    EXPECT_EQ(parser.headers().reason, c.reason);
    EXPECT_EQ(parser.headers().fields, c.fields);
    EXPECT_EQ(parser.headers().content_length, c.length);
    EXPECT_EQ(c.output.substr(taken), c.body);
  }
}

TEST(CgiHeaderParser, SameResultWhateverPiecesTheOutputArrivesIn) {
  const std::string output =
      "Status: 206 Partial Content\r\nContent-Type: audio/flac\r\nContent-Length: 4\r\n\r\nfLaC";
  for (size_t piece = 1; piece <= output.size(); ++piece) {
    SCOPED_TRACE(piece);
    CgiHeaderParser parser;
    std::string body;
    for (size_t at = 0; at < output.size(); at += piece) {
      std::string chunk = output.substr(at, piece);
      size_t taken = parser.Feed(chunk);
      if (parser.state() == CgiHeaderParser::State::kBody) body += chunk.substr(taken);
    }
    ASSERT_EQ(parser.state(), CgiHeaderParser::State::kBody);
    EXPECT_EQ(parser.headers().status, 206);
    EXPECT_EQ(parser.headers().content_length, 4u);
    EXPECT_EQ(body, "fLaC");
  }
}

TEST(CgiHeaderParser, StartedTellsAnEmptyOutputFromAnUnfinishedBlock) {
  CgiHeaderParser parser;
  EXPECT_FALSE(parser.started());
  parser.Feed("Content-Ty");
  EXPECT_TRUE(parser.started());
  EXPECT_EQ(parser.state(), CgiHeaderParser::State::kHeaders);
}

TEST(CgiHeaderParser, OversizedBlockIsRefused) {
  CgiHeaderParser parser;
  std::string line = "X-Filler: " + std::string(1000, 'f') + "\r\n";
  for (int i = 0; i < 100 && parser.state() == CgiHeaderParser::State::kHeaders; ++i) {
    parser.Feed(line);
  }
  EXPECT_EQ(parser.state(), CgiHeaderParser::State::kError);
  // Nothing more is taken once refused.
  EXPECT_EQ(parser.Feed("\r\n"), 0u);
}

}  // namespace
}  // namespace QUOR::server
