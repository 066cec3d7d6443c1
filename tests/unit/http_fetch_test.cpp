#include <gtest/gtest.h>

#include <string>

#include "core/log.h"
#include "exports/korvid_exports.h"
#include "net/http_fetch.h"
#include "support/http_server.h"

namespace {

using korvid::net::HttpGetToString;
using korvid::test::DeadLocation;
using korvid::test::HttpServer;
using korvid::test::SharedServer;

// Every byte value, NULs included, over several of libcurl's write chunks.
std::string BinaryBody(std::size_t size) {
  std::string body(size, '\0');
  for (std::size_t i = 0; i < size; ++i) body[i] = static_cast<char>((i * 7 + i / 256) % 256);
  return body;
}

TEST(HttpFetch, BodiesArriveWholeAndFailuresLeaveWhatArrived) {
  char chunk[] = {'x', '\0', 'y', '\0'};
  std::string appended = "ab";
  EXPECT_EQ(korvid::net::CurlWriteToString(chunk, 1, 3, &appended), 3u);
  EXPECT_EQ(korvid::net::CurlWriteToString(chunk, 2, 2, &appended), 4u);
  EXPECT_EQ(appended, std::string("abx\0yx\0y\0", 9));

  HttpServer& http = SharedServer();
  HttpServer& https = SharedServer(true);
  const std::string body = BinaryBody(600 * 1024);
  http.serve("/blob.bin", body);
  https.serve("/blob.bin", body);  // untrusted: the plain fetch does not verify peers
  EXPECT_EQ(HttpGetToString(http.url("/blob.bin")), body);
  EXPECT_EQ(HttpGetToString(https.url("/blob.bin")), body);

  http.clearRequests();
  http.serve("/missing.vtt", "no such file", 404);
  EXPECT_EQ(HttpGetToString(http.url("/missing.vtt")), "no such file");
  const auto requests = http.requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].method, "GET");
  EXPECT_EQ(requests[0].headers.count("user-agent"), 0u);

  EXPECT_EQ(HttpGetToString(DeadLocation("/a.m3u8")), "");
  EXPECT_EQ(HttpGetToString(""), "");
  http.serve("/cut.bin", body, 200, static_cast<long>(1000));
  EXPECT_EQ(HttpGetToString(http.url("/cut.bin")), body.substr(0, 1000));
}

struct Sent {
  int32_t result;
  std::string out;
  std::string err;
};

Sent SendExtraHeader(const char* header, const std::string& url) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int32_t result = NativeSetAdditionalHttpHeader(header, url.c_str());
  std::string out = testing::internal::GetCapturedStdout();
  return {result, std::move(out), testing::internal::GetCapturedStderr()};
}

TEST(ExtraHeaderRequest, ReachesTheServerOnceAndPrintsTheBodyAfterItsLogLine) {
  HttpServer& http = SharedServer();
  http.clearRequests();
  const std::string body("page\0with nul\n", 14);
  http.serve("/page", body);
  korvid::SetLogEnabled(1);
  const Sent sent = SendExtraHeader("X-Korvid-Token: abc123", http.url("/page"));
  korvid::SetLogEnabled(0);
  EXPECT_EQ(sent.result, 0);
  // The verbose trace goes to standard error, never between the line and the body.
  EXPECT_EQ(sent.out, "Korvid Native Windows Log : method : NativeSetAdditionalHttpHeader (L 2040) \n" + body);
  EXPECT_NE(sent.err.find("X-Korvid-Token: abc123"), std::string::npos);

  HttpGetToString(http.url("/page"));
  const auto requests = http.requestsFor("/page");
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].headers.at("x-korvid-token"), "abc123");
  EXPECT_EQ(requests[1].headers.count("x-korvid-token"), 0u);  // not remembered for later fetches

  const Sent noHeader = SendExtraHeader(nullptr, http.url("/page"));
  EXPECT_EQ(noHeader.result, 0);
  EXPECT_EQ(noHeader.out, body);
}

TEST(ExtraHeaderRequest, FailuresAnswerMinusOneAndPrintNothing) {
  const Sent dead = SendExtraHeader("X-A: 1", DeadLocation("/page"));
  EXPECT_EQ(dead.result, -1);
  EXPECT_EQ(dead.out, "");
  EXPECT_EQ(NativeSetAdditionalHttpHeader("X-A: 1", nullptr), -1);

  if (!korvid::test::UntrustedCertificatesAreRefused()) {
    GTEST_SKIP() << "Wine's TLS accepts the self-signed certificate that Windows refuses";
  }
  // Peer verification stays on here: the self-signed server is refused
  // before any request is made.
  HttpServer& https = SharedServer(true);
  https.clearRequests();
  https.serve("/page", "secret");
  const Sent untrusted = SendExtraHeader("X-A: 1", https.url("/page"));
  EXPECT_EQ(untrusted.result, -1);
  EXPECT_EQ(untrusted.out, "");
  EXPECT_TRUE(https.requests().empty());
}

}  // namespace
