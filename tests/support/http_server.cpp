#include "support/http_server.h"

#ifdef _WIN32
#include <windows.h>
#endif

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "support/headless_env.h"
#include "support/media.h"

namespace korvid::test {
namespace {

namespace fs = std::filesystem;

// The number the server writes into `file` once it listens.
uint16_t AwaitNumber(const std::string& file) {
  std::string text;
  AwaitOrThrow([&] { return !(text = ReadFile(file)).empty(); }, 10, "the loopback server did not write " + file);
  return static_cast<uint16_t>(std::stoi(text));
}

}  // namespace

HttpServer::HttpServer(bool tls) : tls_(tls) {
#ifdef _WIN32
  const char* shared = std::getenv(tls ? "KORVID_TEST_HTTPS_ROOT" : "KORVID_TEST_HTTP_ROOT");
  if (shared == nullptr) throw std::runtime_error("no loopback server was started for the Windows tests");
  root_ = shared;
#else
  static std::atomic<int> servers{0};
  root_ = WorkDir() + "/server-" + std::to_string(servers++);
  fs::create_directories(root_);
  const std::string command = "exec python3 " + ShellQuote(KORVID_LOOPBACK_SERVER) + " " + ShellQuote(root_) +
                              (tls ? " --tls" : "") + " >/dev/null 2>&1";
  process_.reset(popen(command.c_str(), "w"));
  if (!process_) throw std::runtime_error("could not start the loopback server");
#endif
  port_ = AwaitNumber(root_ + "/.port");
  clearRequests();
}

std::string HttpServer::url(const std::string& path) const {
  return (tls_ ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port_) + path;
}

std::string HttpServer::folder(const std::string& path) const {
  fs::create_directories(root_ + path);
  return root_ + path;
}

void HttpServer::serve(const std::string& path, const std::string& body, int status, long cut) {
  const std::string file = root_ + path;
  fs::remove(file + "~");
  WriteFile(file, body);
  if (status != 200 || cut >= 0) WriteFile(file + "~", std::to_string(status) + " " + std::to_string(cut));
}

// File by file: the C++ runtime of the Windows build copies no folder's content.
void HttpServer::serveDirectory(const std::string& prefix, const std::string& dir) {
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(dir)) {
    if (!entry.is_regular_file()) continue;
    const fs::path target = fs::path(folder(prefix)) / fs::relative(entry.path(), dir);
    fs::create_directories(target.parent_path());
    fs::copy_file(entry.path(), target, fs::copy_options::overwrite_existing);
  }
}

std::vector<std::string> HttpServer::requests(const std::string& path) const {
  std::istringstream log(ReadFile(root_ + "/.requests"));
  std::vector<std::string> found;
  for (std::string line; std::getline(log, line);) {
    if (path.empty() || line.rfind(path + "\t", 0) == 0 || line.rfind(path + "?", 0) == 0) found.push_back(line);
  }
  return found;
}

void HttpServer::clearRequests() { WriteFile(root_ + "/.requests", ""); }

HttpServer& SharedServer(bool tls) {
  static std::unique_ptr<HttpServer> servers[2];
  std::unique_ptr<HttpServer>& server = servers[tls ? 1 : 0];
  if (!server) server = std::make_unique<HttpServer>(tls);
  return *server;
}

uint16_t DeadLoopbackPort() {
  static const uint16_t port = AwaitNumber(SharedServer().folder("/") + ".dead-port");
  return port;
}

std::string DeadLocation(const std::string& path) { return "http://127.0.0.1:" + std::to_string(DeadLoopbackPort()) + path; }

bool UntrustedCertificatesAreRefused() {
#ifdef _WIN32
  return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr;
#else
  return true;
#endif
}

}  // namespace korvid::test
