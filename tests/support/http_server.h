// A real HTTP or HTTPS server on the loopback interface for tests: Python's
// http.server running support/loopback_server.py over a folder of its own,
// which the test fills. It listens on 127.0.0.1 on a port it picks and ends
// with this object.
//
//   HttpServer server;                                 // HttpServer(true): HTTPS, self-signed
//   server.serve("/live.mpd", manifestText);           // 200 and the whole body
//   server.serve("/missing.m3u8", "", 404);            // another status
//   server.serve("/cut.vtt", fullText, 200, 10);       // 10 bytes, then the connection drops
//   server.serveDirectory("/hls/", "/tmp/.../hls");    // a copy of the files below a folder
//   fetch(server.url("/hls/master.m3u8"));
//   EXPECT_EQ(server.requests("/hls/low/index.m3u8").size(), 1u);
//
// Paths that were not served answer 404. Files answer GET and honour
// one byte range; the content type follows the extension. HTTPS presents a
// self-signed certificate for 127.0.0.1, so verifying clients fail.
//
// On Windows (the tests run under Wine) nothing is started: the test script
// runs one server per scheme on the Linux side and names their folders in
// KORVID_TEST_HTTP_ROOT and KORVID_TEST_HTTPS_ROOT.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace korvid::test {

class HttpServer {
 public:
  // Starts (or attaches to) the server; throws std::runtime_error when it cannot.
  explicit HttpServer(bool tls = false);

  // "http://127.0.0.1:<port>" (or https) followed by `path`, which starts with "/".
  std::string url(const std::string& path) const;
  // The folder behind `path`, made if need be: what a program writes there is served.
  std::string folder(const std::string& path) const;

  // Answers `path` with `body` (any bytes) and `status`; with `cut` >= 0 only
  // the first `cut` bytes are sent, under the whole body's length, and the
  // connection is closed. A later call for the same path replaces the answer.
  void serve(const std::string& path, const std::string& body, int status = 200, long cut = -1);
  // Serves a copy of the files below `dir` under `prefix` ("/hls/").
  void serveDirectory(const std::string& prefix, const std::string& dir);

  // Requests seen so far, in arrival order: those for `path`, or all of them.
  // Each is the line the server logged: the target as sent (path and query),
  // then a tab and "name: value" for each header, names in lower case.
  std::vector<std::string> requests(const std::string& path = {}) const;
  void clearRequests();

 private:
  const bool tls_;
  std::string root_;  // the served folder; the server's control files live in it
  // The server's input: closing it ends the server, and pclose waits for that.
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> process_{nullptr, &pclose};
  uint16_t port_ = 0;
};

// The process's server of each scheme, started on first use and kept to the
// end; what it serves and its requests carry over from test to test.
HttpServer& SharedServer(bool tls = false);

// A loopback port on which nothing listens (bound once by the shared server, then released).
uint16_t DeadLoopbackPort();
// `path` on 127.0.0.1 at that port.
std::string DeadLocation(const std::string& path);

// False under Wine, whose TLS takes any server certificate: there a client
// that verifies peers still reaches the self-signed server.
bool UntrustedCertificatesAreRefused();

}  // namespace korvid::test
