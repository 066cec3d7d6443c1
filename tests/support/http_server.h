// A real HTTP or HTTPS server on the loopback interface for tests, built on
// libmicrohttpd. It listens on 127.0.0.1 on a free port chosen at start and
// stops in its destructor (open connections are closed then).
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
// later registration for the same path replaces the earlier one. Routes may be
// changed while the server runs, for example to turn a live playlist into an
// on-demand one.
//
// Bodies and files answer GET and HEAD, announce "Accept-Ranges: bytes", and
// honour one range per request: "Range: bytes=a-b", "bytes=a-" and "bytes=-n"
// answer 206 with Content-Range; a range starting past the end answers 416;
// several ranges or a malformed header get the whole body (200).
//
// HTTPS uses a self-signed certificate for CN 127.0.0.1 (also as IP subject
// alternative name), made once per test process with the openssl command-line
// tool. Clients that verify peers must therefore fail against it.
//
// Every member function is safe to call from any thread while the server's
// own thread answers requests.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

struct MHD_Daemon;

namespace korvid::test {

struct ServedRoute;  // what one path answers; defined in http_server.cpp

// One request as the server saw it.
struct RecordedRequest {
  std::string method;  // "GET", "HEAD", ...
  std::string path;    // decoded path, without the query
  std::string query;   // the query arguments as "k=v&k2=v2" in arrival order, "" without any
  std::vector<std::pair<std::string, std::string>> headers;  // in arrival order

  // The value of the first header named `name` (case-insensitive); "" if absent.
  std::string header(const std::string& name) const;
  bool hasHeader(const std::string& name) const;
};

class HttpServer {
 public:
  enum class Scheme { kHttp, kHttps };

  // Starts listening; throws std::runtime_error when the server cannot start.
  explicit HttpServer(Scheme scheme = Scheme::kHttp);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  Scheme scheme() const { return scheme_; }
  uint16_t port() const { return port_; }
  // "http://127.0.0.1:<port>" (or https) followed by `path`, which should
  // start with "/".
  std::string url(const std::string& path) const;

  // Answers `path` with `body` (any bytes, NULs included) and status 200.
  void serve(const std::string& path, std::string body,
             std::string contentType = "application/octet-stream");
  // Answers every path that starts with `prefix` (e.g. "/hls/") with the file
  // at `dir` + the rest of the path; paths with a ".." segment answer 403,
  // missing files 404. The content type follows the file's extension.
  void serveDirectory(const std::string& prefix, const std::string& dir);
  // Answers `path` with `status` (e.g. 404, 500) and `body`.
  void serveStatus(const std::string& path, int status, std::string body = {});
  // Announces the whole `body` as its Content-Length, sends its first
  // `bytesBeforeClose` bytes and then closes the connection.
  void serveTruncated(const std::string& path, std::string body, std::size_t bytesBeforeClose);

  // Requests seen so far, in arrival order (recorded when their headers arrive).
  std::vector<RecordedRequest> requests() const;
  std::vector<RecordedRequest> requestsFor(const std::string& path) const;
  void clearRequests();
  // Waits until at least `count` requests have arrived or `timeout` passes;
  // true when they have.
  bool waitForRequests(std::size_t count, std::chrono::milliseconds timeout) const;

  // The certificate the HTTPS server presents, in PEM (empty for HTTP).
  const std::string& certificatePem() const { return certificatePem_; }

 private:
  struct DaemonStop {
    void operator()(MHD_Daemon* daemon) const noexcept;
  };

  // Called on the server's thread; see http_server.cpp.
  friend struct HttpServerAccess;

  void setRoute(const std::string& path, std::shared_ptr<const ServedRoute> route);
  std::shared_ptr<const ServedRoute> findRoute(const std::string& path, std::string* filePath) const;
  void record(RecordedRequest request);

  const Scheme scheme_;
  std::string certificatePem_;  // held for the daemon's lifetime: it reads the text in place
  std::string keyPem_;

  mutable std::mutex mutex_;
  mutable std::condition_variable requestArrived_;
  std::map<std::string, std::shared_ptr<const ServedRoute>> exact_;
  std::map<std::string, std::string> directories_;  // prefix -> directory
  std::vector<RecordedRequest> requests_;

  // Last member: stopped (and its thread joined) first, while everything the
  // request handler reaches is still alive.
  std::unique_ptr<MHD_Daemon, DaemonStop> daemon_;
  uint16_t port_ = 0;
};

// A loopback port on which nothing listens: bound once, then released.
uint16_t DeadLoopbackPort();

}  // namespace korvid::test
