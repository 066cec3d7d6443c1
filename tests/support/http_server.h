// A real HTTP or HTTPS server on the loopback interface for tests: Python's
// http.server running support/loopback_server.py over a folder of its own.
// It listens on 127.0.0.1 on a port it picks and ends with this object.
//
// Usage:
//   HttpServer server;                                   // or HttpServer(HttpServer::Scheme::kHttps)
//   server.serve("/live.mpd", manifestText, "application/dash+xml");
//   server.serveDirectory("/hls/", "/tmp/.../hls");      // ffmpeg-made sets, media files
//   server.serveStatus("/missing.m3u8", 404);
//   server.serveTruncated("/cut.vtt", fullText, 10);     // connection dropped after 10 bytes
//   fetch(server.url("/hls/master.m3u8"));
//   EXPECT_EQ(server.requestsFor("/hls/low/index.m3u8").size(), 1u);
//
// Routing: a path given to serve, serveStatus or serveTruncated matches that
// exact path (query text is not part of it). Otherwise the longest matching
// directory prefix serves the file below it; anything else answers 404. A
// later registration for the same path replaces the earlier one, also while
// the server runs. Bodies answer GET and HEAD and honour one byte range
// ("bytes=a-b", "bytes=a-", "bytes=-n": 206, or 416 past the end). HTTPS
// presents a self-signed certificate for 127.0.0.1, so verifying clients fail.
//
// On Windows (the tests run under Wine) nothing is started: the test script
// runs one server per scheme on the Linux side and names their folders in
// KORVID_TEST_HTTP_ROOT and KORVID_TEST_HTTPS_ROOT; an HttpServer attaches to
// its scheme's server and resets its routes and log, so only one per scheme
// may exist at a time there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace korvid::test {

// One request as the server saw it.
struct RecordedRequest {
  std::string method;  // "GET", "HEAD", ...
  std::string path;    // decoded path, without the query
  std::string query;   // the query text as sent, "" without any
  std::vector<std::pair<std::string, std::string>> headers;  // in arrival order

  // The value of the first header named `name` (case-insensitive); "" if absent.
  std::string header(const std::string& name) const;
  bool hasHeader(const std::string& name) const;
};

class HttpServer {
 public:
  enum class Scheme { kHttp, kHttps };

  // Starts (or attaches to) the server; throws std::runtime_error when it cannot.
  explicit HttpServer(Scheme scheme = Scheme::kHttp);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  // "http://127.0.0.1:<port>" (or https) followed by `path`, which should
  // start with "/".
  std::string url(const std::string& path) const;

  // Answers `path` with `body` (any bytes, NULs included) and status 200.
  void serve(const std::string& path, const std::string& body,
             const std::string& contentType = "application/octet-stream");
  // Answers every path that starts with `prefix` (e.g. "/hls/") with the file
  // at `dir` + the rest of the path; ".." segments answer 403, missing files 404.
  void serveDirectory(const std::string& prefix, const std::string& dir);
  // Answers `path` with `status` (e.g. 404, 500) and `body`.
  void serveStatus(const std::string& path, int status, const std::string& body = {});
  // Announces the whole `body` as its Content-Length, sends its first
  // `bytesBeforeClose` bytes and then closes the connection.
  void serveTruncated(const std::string& path, const std::string& body, std::size_t bytesBeforeClose);

  // Requests seen so far, in arrival order (recorded when their headers arrive).
  std::vector<RecordedRequest> requests() const;
  std::vector<RecordedRequest> requestsFor(const std::string& path) const;
  void clearRequests();

 private:
  struct PipeClose {
    void operator()(std::FILE* pipe) const noexcept;
  };

  void route(const std::string& path, int status, long cut, const std::string& type, const std::string& body);
  void writeRoutes() const;

  const Scheme scheme_;
  std::string root_;  // the served folder; the server's control files live in it
  std::map<std::string, std::string> routes_;       // exact path -> its route line
  std::map<std::string, std::string> directories_;  // prefix -> folder
  int bodies_ = 0;
  // The server's standard input: closing it ends the server.
  std::unique_ptr<std::FILE, PipeClose> process_;
  uint16_t port_ = 0;
};

// The process's server of `scheme`, started on first use and kept to the end;
// its routes and requests carry over from test to test.
HttpServer& SharedServer(HttpServer::Scheme scheme = HttpServer::Scheme::kHttp);

// A loopback port on which nothing listens: bound once, then released.
uint16_t DeadLoopbackPort();
// `path` on 127.0.0.1 at such a port.
std::string DeadLocation(const std::string& path);

// False under Wine, whose TLS takes any server certificate: there a client
// that verifies peers still reaches the self-signed server.
bool UntrustedCertificatesAreRefused();

}  // namespace korvid::test
