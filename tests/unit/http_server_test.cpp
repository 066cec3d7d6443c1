// The loopback server fixture itself: other tests rely on its ranges,
// routes, failure behaviours and request records.
#include <gtest/gtest.h>

#include <curl/curl.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "support/headless_env.h"
#include "support/http_server.h"

namespace {

using korvid::test::HttpServer;

struct Reply {
  CURLcode code = CURLE_OK;
  long status = 0;
  std::string body;
  std::string contentRange;
};

struct FetchOptions {
  const char* range = nullptr;  // e.g. "2-5": sent as "Range: bytes=2-5"
  bool pathAsIs = false;        // send "/../" segments unchanged
  const char* caPem = nullptr;  // verify the peer against this certificate
  curl_slist* headers = nullptr;
};

size_t Append(char* data, size_t size, size_t nmemb, void* body) {
  static_cast<std::string*>(body)->append(data, size * nmemb);
  return size * nmemb;
}

Reply Fetch(const std::string& url, const FetchOptions& options = {}) {
  Reply reply;
  const std::unique_ptr<CURL, void (*)(CURL*)> curl(curl_easy_init(), &curl_easy_cleanup);
  curl_easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, &Append);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &reply.body);
  if (options.range != nullptr) curl_easy_setopt(curl.get(), CURLOPT_RANGE, options.range);
  if (options.pathAsIs) curl_easy_setopt(curl.get(), CURLOPT_PATH_AS_IS, 1L);
  if (options.headers != nullptr) curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, options.headers);
  if (options.caPem != nullptr) {
    curl_blob blob{const_cast<char*>(options.caPem), std::strlen(options.caPem), CURL_BLOB_COPY};
    curl_easy_setopt(curl.get(), CURLOPT_CAINFO_BLOB, &blob);
  }
  reply.code = curl_easy_perform(curl.get());
  curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &reply.status);
  curl_header* header = nullptr;
  if (curl_easy_header(curl.get(), "Content-Range", 0, CURLH_HEADER, -1, &header) == CURLHE_OK) {
    reply.contentRange = header->value;
  }
  return reply;
}

TEST(HttpServerFixture, AnswersSingleByteRanges) {
  HttpServer server;
  server.serve("/digits", "0123456789");
  const std::string file = korvid::test::WorkDir() + "/digits.bin";
  std::ofstream(file, std::ios::binary) << "0123456789";
  server.serveDirectory("/files/", korvid::test::WorkDir());
  struct Case {
    const char* range;
    long status;
    const char* body;
    const char* contentRange;
  };
  const Case cases[] = {
      {"2-5", 206, "2345", "bytes 2-5/10"},  {"7-", 206, "789", "bytes 7-9/10"},
      {"-3", 206, "789", "bytes 7-9/10"},    {"8-100", 206, "89", "bytes 8-9/10"},
      {"10-", 416, "", "bytes */10"},        {"5-2", 200, "0123456789", ""},
      {"0-1,3-4", 200, "0123456789", ""},    {"x-", 200, "0123456789", ""},
  };
  for (const char* path : {"/digits", "/files/digits.bin"}) {
    for (const Case& c : cases) {
      const Reply reply = Fetch(server.url(path), {c.range});
      EXPECT_EQ(reply.status, c.status) << path << " " << c.range;
      EXPECT_EQ(reply.body, c.body) << path << " " << c.range;
      EXPECT_EQ(reply.contentRange, c.contentRange) << path << " " << c.range;
    }
  }
}

TEST(HttpServerFixture, RoutesDirectoriesStatusesAndCutBodies) {
  HttpServer server;
  std::ofstream(korvid::test::WorkDir() + "/index.m3u8") << "#EXTM3U\n";
  server.serveDirectory("/hls/", korvid::test::WorkDir());
  server.serve("/hls/index.m3u8", "replaced");
  server.serveStatus("/boom", 500, "failure");
  server.serveTruncated("/cut", std::string(100000, 'c'), 3000);

  EXPECT_EQ(Fetch(server.url("/hls/index.m3u8")).body, "replaced");  // an exact path wins
  EXPECT_EQ(Fetch(server.url("/hls/../hls/index.m3u8"), {nullptr, true}).status, 403);
  EXPECT_EQ(Fetch(server.url("/hls/absent.ts")).status, 404);
  EXPECT_EQ(Fetch(server.url("/elsewhere")).status, 404);
  const Reply boom = Fetch(server.url("/boom"));
  EXPECT_EQ(boom.status, 500);
  EXPECT_EQ(boom.body, "failure");
  const Reply cut = Fetch(server.url("/cut"));
  EXPECT_EQ(cut.code, CURLE_PARTIAL_FILE);
  EXPECT_EQ(cut.body, std::string(3000, 'c'));
}

TEST(HttpServerFixture, RecordsRequestsFromEveryThread) {
  HttpServer server;
  server.serve("/a", "a");
  const std::unique_ptr<curl_slist, void (*)(curl_slist*)> headers(curl_slist_append(nullptr, "X-Test: 42"),
                                                                     &curl_slist_free_all);
  std::thread other([&] { Fetch(server.url("/a?b=1&c"), {nullptr, false, nullptr, headers.get()}); });
  EXPECT_TRUE(server.waitForRequests(1, std::chrono::seconds(10)));
  other.join();
  const auto requests = server.requestsFor("/a");
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].method, "GET");
  EXPECT_EQ(requests[0].query, "b=1&c");
  EXPECT_EQ(requests[0].header("x-test"), "42");
  EXPECT_EQ(requests[0].header("Host"), "127.0.0.1:" + std::to_string(server.port()));
  server.clearRequests();
  EXPECT_FALSE(server.waitForRequests(1, std::chrono::milliseconds(1)));
}

TEST(HttpServerFixture, HttpsPresentsASelfSignedCertificateFor127001) {
  HttpServer server(HttpServer::Scheme::kHttps);
  server.serve("/x", "secure");
  EXPECT_EQ(server.url("/x").rfind("https://127.0.0.1:", 0), 0u);
  EXPECT_EQ(Fetch(server.url("/x")).code, CURLE_PEER_FAILED_VERIFICATION);
  const Reply pinned = Fetch(server.url("/x"), {nullptr, false, server.certificatePem().c_str()});
  EXPECT_EQ(pinned.code, CURLE_OK);
  EXPECT_EQ(pinned.body, "secure");
}

}  // namespace
