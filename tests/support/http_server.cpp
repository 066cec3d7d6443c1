#include "support/http_server.h"

#ifdef _WIN32
#include <winsock2.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "support/headless_env.h"
#include "support/media.h"
#include "support/process.h"

namespace korvid::test {
namespace {

namespace fs = std::filesystem;

bool EqualsIgnoringCase(const std::string& a, const std::string& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

void WriteFileWhole(const fs::path& file, const std::string& bytes) {
  const fs::path partial = file.string() + ".partial";
  std::ofstream(partial, std::ios::binary | std::ios::trunc) << bytes;
  fs::rename(partial, file);  // the server never reads a half-written file
}

// The port the server writes into its folder once it listens; 0 after ten seconds without.
uint16_t AwaitPort(const fs::path& root) {
  for (int tries = 0; tries < 200; ++tries) {
    const std::string text = ReadFile((root / ".port").string());
    if (!text.empty()) return static_cast<uint16_t>(std::stoi(text));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return 0;
}

}  // namespace

std::string RecordedRequest::header(const std::string& name) const {
  for (const auto& [key, value] : headers) {
    if (EqualsIgnoringCase(key, name)) return value;
  }
  return {};
}

bool RecordedRequest::hasHeader(const std::string& name) const {
  return std::any_of(headers.begin(), headers.end(),
                     [&name](const auto& entry) { return EqualsIgnoringCase(entry.first, name); });
}

void HttpServer::PipeClose::operator()([[maybe_unused]] std::FILE* pipe) const noexcept {
#ifndef _WIN32
  pclose(pipe);  // the server sees its input end, stops, and is waited for
#endif
}

HttpServer::HttpServer(Scheme scheme) : scheme_(scheme) {
  const bool tls = scheme_ == Scheme::kHttps;
#ifdef _WIN32
  const char* shared = std::getenv(tls ? "KORVID_TEST_HTTPS_ROOT" : "KORVID_TEST_HTTP_ROOT");
  if (shared == nullptr) throw std::runtime_error("no loopback server was started for the Windows tests");
  root_ = shared;
  routes_.clear();
  writeRoutes();
  clearRequests();
#else
  static std::atomic<int> servers{0};
  root_ = WorkDir() + "/server-" + std::to_string(servers++);
  fs::create_directories(root_);
  const std::string command = "exec python3 " + ShellQuote(KORVID_LOOPBACK_SERVER) + " " + ShellQuote(root_) +
                              (tls ? " --tls" : "") + " >/dev/null 2>&1";
  process_.reset(popen(command.c_str(), "w"));
  if (!process_) throw std::runtime_error("could not start the loopback server");
#endif
  port_ = AwaitPort(root_);
  if (port_ == 0) throw std::runtime_error("the loopback server did not start in " + root_);
}

HttpServer::~HttpServer() = default;

std::string HttpServer::url(const std::string& path) const {
  return (scheme_ == Scheme::kHttps ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port_) + path;
}

void HttpServer::serve(const std::string& path, const std::string& body, const std::string& contentType) {
  route(path, 200, -1, contentType, body);
}

void HttpServer::serveDirectory(const std::string& prefix, const std::string& dir) {
  directories_[prefix] = dir;
  writeRoutes();
}

void HttpServer::serveStatus(const std::string& path, int status, const std::string& body) {
  route(path, status, -1, "text/plain", body);
}

void HttpServer::serveTruncated(const std::string& path, const std::string& body, std::size_t bytesBeforeClose) {
  route(path, 200, static_cast<long>(bytesBeforeClose), "application/octet-stream", body);
}

void HttpServer::route(const std::string& path, int status, long cut, const std::string& type,
                       const std::string& body) {
  const std::string file = ".body-" + std::to_string(bodies_++);
  WriteFileWhole(fs::path(root_) / file, body);
  routes_[path] = "exact\t" + path + '\t' + std::to_string(status) + '\t' + std::to_string(cut) + '\t' + type + '\t' +
                  file + '\n';
  writeRoutes();
}

void HttpServer::writeRoutes() const {
  std::string text;
  for (const auto& entry : routes_) text += entry.second;
  for (const auto& [prefix, dir] : directories_) text += "dir\t" + prefix + '\t' + dir + '\n';
  WriteFileWhole(fs::path(root_) / ".routes", text);
}

std::vector<RecordedRequest> HttpServer::requests() const {
  std::istringstream log(ReadFile(root_ + "/.requests"));
  std::vector<RecordedRequest> all;
  std::string line;
  while (std::getline(log, line)) {
    RecordedRequest request;
    const std::size_t tab = line.find('\t');
    const std::size_t tab2 = line.find('\t', tab + 1);
    if (tab == std::string::npos || tab2 == std::string::npos) continue;
    request.method = line.substr(0, tab);
    request.path = line.substr(tab + 1, tab2 - tab - 1);
    request.query = line.substr(tab2 + 1);
    while (std::getline(log, line) && !line.empty()) {
      const std::size_t colon = line.find(": ");
      request.headers.emplace_back(line.substr(0, colon), colon == std::string::npos ? "" : line.substr(colon + 2));
    }
    all.push_back(std::move(request));
  }
  return all;
}

std::vector<RecordedRequest> HttpServer::requestsFor(const std::string& path) const {
  std::vector<RecordedRequest> matching = requests();
  matching.erase(std::remove_if(matching.begin(), matching.end(),
                                [&path](const RecordedRequest& request) { return request.path != path; }),
                 matching.end());
  return matching;
}

void HttpServer::clearRequests() { std::ofstream(fs::path(root_) / ".requests", std::ios::trunc); }

HttpServer& SharedServer(HttpServer::Scheme scheme) {
  static std::unique_ptr<HttpServer> servers[2];
  std::unique_ptr<HttpServer>& server = servers[scheme == HttpServer::Scheme::kHttps ? 1 : 0];
  if (!server) server = std::make_unique<HttpServer>(scheme);
  return *server;
}

bool UntrustedCertificatesAreRefused() {
#ifdef _WIN32
  return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr;
#else
  return true;
#endif
}

std::string DeadLocation(const std::string& path) {
  return "http://127.0.0.1:" + std::to_string(DeadLoopbackPort()) + path;
}

uint16_t DeadLoopbackPort() {
#ifdef _WIN32
  static const bool started = [] {
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 2), &data) == 0;
  }();
  if (!started) throw std::runtime_error("WSAStartup failed");
  using Handle = SOCKET;
  using Length = int;
  const auto closeSocket = [](Handle s) { closesocket(s); };
  const Handle invalid = INVALID_SOCKET;
#else
  using Handle = int;
  using Length = socklen_t;
  const auto closeSocket = [](Handle s) { close(s); };
  const Handle invalid = -1;
#endif
  const Handle s = ::socket(AF_INET, SOCK_STREAM, 0);
  if (s == invalid) throw std::runtime_error("socket failed");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  Length length = sizeof address;
  const bool bound = bind(s, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                     getsockname(s, reinterpret_cast<sockaddr*>(&address), &length) == 0;
  closeSocket(s);  // released: nothing listens there
  if (!bound) throw std::runtime_error("could not bind a loopback port");
  return ntohs(address.sin_port);
}

}  // namespace korvid::test
