#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/log.h"
#include "exports/korvid_exports.h"
#include "net/http_fetch.h"
#include "support/http_server.h"

namespace {

using korvid::net::HttpGetToString;
using korvid::test::HttpServer;

// Every byte value, NULs included, over several of libcurl's write chunks.
std::string BinaryBody(std::size_t size) {
  std::string body(size, '\0');
  for (std::size_t i = 0; i < size; ++i) body[i] = static_cast<char>((i * 7 + i / 256) % 256);
  return body;
}

TEST(CurlWriteToString, AppendsTheWholeChunkByCount) {
  std::string body = "ab";
  char chunk[] = {'x', '\0', 'y', '\0'};
  EXPECT_EQ(korvid::net::CurlWriteToString(chunk, 1, 3, &body), 3u);
  EXPECT_EQ(korvid::net::CurlWriteToString(chunk, 2, 2, &body), 4u);
  EXPECT_EQ(body, std::string("abx\0yx\0y\0", 9));
}

class HttpFetch : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    http_ = std::make_unique<HttpServer>();
    https_ = std::make_unique<HttpServer>(HttpServer::Scheme::kHttps);
  }
  static void TearDownTestSuite() {
    http_.reset();
    https_.reset();
  }
  void SetUp() override {
    http_->clearRequests();
    https_->clearRequests();
  }

  static std::string Dead(const std::string& path) {
    return "http://127.0.0.1:" + std::to_string(korvid::test::DeadLoopbackPort()) + path;
  }

  static std::unique_ptr<HttpServer> http_;
  static std::unique_ptr<HttpServer> https_;
};

std::unique_ptr<HttpServer> HttpFetch::http_;
std::unique_ptr<HttpServer> HttpFetch::https_;

TEST_F(HttpFetch, BinaryBodyArrivesWholeOverHttpAndUntrustedHttps) {
  const std::string body = BinaryBody(600 * 1024);
  http_->serve("/blob.bin", body);
  https_->serve("/blob.bin", body);
  EXPECT_EQ(HttpGetToString(http_->url("/blob.bin")), body);
  EXPECT_EQ(HttpGetToString(https_->url("/blob.bin")), body);
}

TEST_F(HttpFetch, PlainGetKeepsErrorBodiesAndSetsNoUserAgent) {
  http_->serveStatus("/missing.vtt", 404, "no such file");
  EXPECT_EQ(HttpGetToString(http_->url("/missing.vtt")), "no such file");
  const auto requests = http_->requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].method, "GET");
  EXPECT_FALSE(requests[0].hasHeader("User-Agent"));
}

TEST_F(HttpFetch, FailedTransfersLeaveWhatArrived) {
  EXPECT_EQ(HttpGetToString(Dead("/a.m3u8")), "");
  EXPECT_EQ(HttpGetToString(""), "");
  const std::string body = BinaryBody(5000);
  http_->serveTruncated("/cut.bin", body, 1000);
  EXPECT_EQ(HttpGetToString(http_->url("/cut.bin")), body.substr(0, 1000));
}

// --- NativeSetAdditionalHttpHeader ---------------------------------------------------

struct Captured {
  int32_t result;
  std::string out;
  std::string err;
};

Captured SendExtraHeader(const char* header, const std::string& url) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int32_t result = NativeSetAdditionalHttpHeader(header, url.c_str());
  std::string out = testing::internal::GetCapturedStdout();
  std::string err = testing::internal::GetCapturedStderr();
  return {result, std::move(out), std::move(err)};
}

TEST_F(HttpFetch, ExtraHeaderReachesTheServerOnceAndTheBodyGoesToStdout) {
  const std::string body("page\0with nul\n", 14);
  http_->serve("/page", body);
  const Captured sent = SendExtraHeader("X-Korvid-Token: abc123", http_->url("/page"));
  EXPECT_EQ(sent.result, 0);
  EXPECT_EQ(sent.out, body);  // the verbose trace stays off standard output
  EXPECT_NE(sent.err.find("X-Korvid-Token: abc123"), std::string::npos);

  HttpGetToString(http_->url("/page"));
  const auto requests = http_->requestsFor("/page");
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].header("x-korvid-token"), "abc123");
  EXPECT_FALSE(requests[1].hasHeader("X-Korvid-Token"));  // not remembered for later fetches
}

TEST_F(HttpFetch, ExtraHeaderLogLinePrecedesTheBody) {
  http_->serve("/page", "hello");
  korvid::SetLogEnabled(1);
  const Captured sent = SendExtraHeader("X-A: 1", http_->url("/page"));
  korvid::SetLogEnabled(0);
  EXPECT_EQ(sent.out, "Korvid Native Windows Log : method : NativeSetAdditionalHttpHeader (L 2040) \nhello");
}

TEST_F(HttpFetch, ExtraHeaderFailuresAnswerMinusOne) {
  const Captured dead = SendExtraHeader("X-A: 1", Dead("/page"));
  EXPECT_EQ(dead.result, -1);
  EXPECT_EQ(dead.out, "");

  // Peer verification stays on here: the self-signed server is refused
  // before any request is made.
  https_->serve("/page", "secret");
  const Captured untrusted = SendExtraHeader("X-A: 1", https_->url("/page"));
  EXPECT_EQ(untrusted.result, -1);
  EXPECT_EQ(untrusted.out, "");
  EXPECT_TRUE(https_->requests().empty());

  EXPECT_EQ(NativeSetAdditionalHttpHeader("X-A: 1", nullptr), -1);
  http_->serve("/page", "ok");
  const Captured noHeader = SendExtraHeader(nullptr, http_->url("/page"));
  EXPECT_EQ(noHeader.result, 0);
  EXPECT_EQ(noHeader.out, "ok");
}

}  // namespace
