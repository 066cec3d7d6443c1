#include "support/http_server.h"

#include <microhttpd.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "support/headless_env.h"
#include "support/process.h"

namespace korvid::test {

struct ServedRoute {
  enum class Kind { kBody, kStatus, kTruncated };
  Kind kind = Kind::kBody;
  int status = MHD_HTTP_OK;
  std::string body;
  std::string contentType;
  std::size_t bytesBeforeClose = 0;
};

namespace {

namespace fs = std::filesystem;

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

std::string ContentTypeFor(const fs::path& file) {
  static const std::map<std::string, std::string> kTypes = {
      {".m3u8", "application/vnd.apple.mpegurl"},
      {".mpd", "application/dash+xml"},
      {".ts", "video/mp2t"},
      {".mp4", "video/mp4"},
      {".m4s", "video/iso.segment"},
      {".mkv", "video/x-matroska"},
      {".vtt", "text/vtt"},
      {".srt", "application/x-subrip"},
  };
  const auto found = kTypes.find(file.extension().string());
  return found == kTypes.end() ? "application/octet-stream" : found->second;
}

// One byte range of a body of `size` bytes, as asked by a Range header.
struct ByteRange {
  enum class Kind { kWhole, kPartial, kUnsatisfiable };
  Kind kind = Kind::kWhole;
  std::size_t first = 0;
  std::size_t last = 0;  // inclusive
};

bool ParseCount(std::string_view text, std::size_t* value) {
  if (text.empty()) return false;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *value);
  return error == std::errc() && end == text.data() + text.size();
}

ByteRange ParseRange(std::string_view header, std::size_t size) {
  constexpr std::string_view kUnit = "bytes=";
  ByteRange range;
  if (header.substr(0, kUnit.size()) != kUnit) return range;
  const std::string_view rangeSet = header.substr(kUnit.size());
  const std::size_t dash = rangeSet.find('-');
  if (dash == std::string_view::npos || rangeSet.find(',') != std::string_view::npos) return range;
  const std::string_view from = rangeSet.substr(0, dash);
  const std::string_view to = rangeSet.substr(dash + 1);
  std::size_t first = 0;
  std::size_t last = 0;
  if (from.empty()) {  // the last `to` bytes
    std::size_t suffix = 0;
    if (!ParseCount(to, &suffix)) return range;
    if (suffix == 0 || size == 0) return {ByteRange::Kind::kUnsatisfiable};
    first = size - std::min(suffix, size);
    last = size - 1;
  } else {
    if (!ParseCount(from, &first)) return range;
    if (to.empty()) {
      last = size == 0 ? 0 : size - 1;
    } else if (!ParseCount(to, &last) || last < first) {
      return range;
    }
    if (first >= size) return {ByteRange::Kind::kUnsatisfiable};
    last = std::min(last, size - 1);
  }
  return {ByteRange::Kind::kPartial, first, last};
}

struct ResponseRelease {
  void operator()(MHD_Response* response) const noexcept { MHD_destroy_response(response); }
};
using Response = std::unique_ptr<MHD_Response, ResponseRelease>;

MHD_Result Queue(MHD_Connection* connection, int status, const Response& response) {
  if (!response) return MHD_NO;
  return MHD_queue_response(connection, static_cast<unsigned int>(status), response.get());
}

Response BufferResponse(const std::string& bytes) {
  return Response(MHD_create_response_from_buffer(bytes.size(), const_cast<char*>(bytes.data()),
                                                  MHD_RESPMEM_MUST_COPY));
}

MHD_Result QueueStatus(MHD_Connection* connection, int status, const std::string& body = {}) {
  return Queue(connection, status, BufferResponse(body));
}

// Answers with the bytes `read(first, count)` yields out of a body of `size`
// bytes, honouring the request's Range header.
template <typename ReadSlice>
MHD_Result QueueBody(MHD_Connection* connection, std::size_t size, const std::string& contentType,
                     ReadSlice read) {
  const char* rangeHeader = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_RANGE);
  const ByteRange range = ParseRange(rangeHeader != nullptr ? rangeHeader : "", size);
  if (range.kind == ByteRange::Kind::kUnsatisfiable) {
    const Response response = BufferResponse({});
    if (!response) return MHD_NO;
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_RANGE,
                            ("bytes */" + std::to_string(size)).c_str());
    return Queue(connection, MHD_HTTP_RANGE_NOT_SATISFIABLE, response);
  }
  const bool partial = range.kind == ByteRange::Kind::kPartial;
  const std::size_t first = partial ? range.first : 0;
  const std::size_t count = partial ? range.last - range.first + 1 : size;
  const Response response = BufferResponse(read(first, count));
  if (!response) return MHD_NO;
  MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_TYPE, contentType.c_str());
  MHD_add_response_header(response.get(), MHD_HTTP_HEADER_ACCEPT_RANGES, "bytes");
  if (partial) {
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_RANGE,
                            ("bytes " + std::to_string(range.first) + "-" + std::to_string(range.last) + "/" +
                             std::to_string(size))
                                .c_str());
  }
  return Queue(connection, partial ? MHD_HTTP_PARTIAL_CONTENT : MHD_HTTP_OK, response);
}

MHD_Result QueueFile(MHD_Connection* connection, const fs::path& file) {
  std::error_code error;
  if (!fs::is_regular_file(file, error)) return QueueStatus(connection, MHD_HTTP_NOT_FOUND);
  const std::size_t size = static_cast<std::size_t>(fs::file_size(file, error));
  if (error) return QueueStatus(connection, MHD_HTTP_NOT_FOUND);
  return QueueBody(connection, size, ContentTypeFor(file), [&file](std::size_t first, std::size_t count) {
    std::string bytes(count, '\0');
    std::ifstream in(file, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(first));
    in.read(bytes.data(), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(in.gcount(), 0)));
    return bytes;
  });
}

// A body that is cut off: the reader hands out bytes up to the cut, then
// reports an error, on which the server closes the connection.
struct TruncatedBody {
  std::shared_ptr<const ServedRoute> route;  // keeps the bytes alive while the response is sent
};

ssize_t ReadTruncated(void* cls, uint64_t pos, char* buf, size_t max) {
  const auto& route = *static_cast<const TruncatedBody*>(cls)->route;
  const std::size_t cut = std::min(route.bytesBeforeClose, route.body.size());
  if (pos >= cut) return MHD_CONTENT_READER_END_WITH_ERROR;
  const std::size_t count = std::min<std::size_t>(max, cut - pos);
  std::copy_n(route.body.data() + pos, count, buf);
  return static_cast<ssize_t>(count);
}

void FreeTruncated(void* cls) { const std::unique_ptr<TruncatedBody> owned(static_cast<TruncatedBody*>(cls)); }

MHD_Result QueueTruncated(MHD_Connection* connection, std::shared_ptr<const ServedRoute> route) {
  const std::size_t size = route->body.size();
  auto body = std::make_unique<TruncatedBody>(TruncatedBody{std::move(route)});
  // On success the response owns `body` and frees it through FreeTruncated.
  const Response response(MHD_create_response_from_callback(size, 4096, &ReadTruncated, body.get(), &FreeTruncated));
  if (!response) return MHD_NO;
  body.release();
  return Queue(connection, MHD_HTTP_OK, response);
}

bool HasParentSegment(std::string_view path) {
  std::size_t start = 0;
  while (start <= path.size()) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    if (path.substr(start, end - start) == "..") return true;
    start = end + 1;
  }
  return false;
}

// Key and certificate for CN 127.0.0.1, made once per process.
struct TlsIdentity {
  std::string keyPem;
  std::string certificatePem;
};

std::string ReadWholeFile(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TlsIdentity MakeTlsIdentity() {
  const fs::path base = WorkDir().empty() ? fs::temp_directory_path() : fs::path(WorkDir());
  std::string pattern = (base / "tls-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed for the TLS identity");
  const fs::path dir = pattern;
  const fs::path key = dir / "key.pem";
  const fs::path certificate = dir / "cert.pem";
  RunCommand("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2"
             " -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 -keyout " +
             ShellQuote(key.string()) + " -out " + ShellQuote(certificate.string()) + " >/dev/null 2>&1");
  TlsIdentity identity{ReadWholeFile(key), ReadWholeFile(certificate)};
  std::error_code ignored;
  fs::remove_all(dir, ignored);
  if (identity.keyPem.empty() || identity.certificatePem.empty()) {
    throw std::runtime_error("openssl made no key or certificate");
  }
  return identity;
}

const TlsIdentity& SharedTlsIdentity() {
  static const TlsIdentity identity = MakeTlsIdentity();
  return identity;
}

MHD_Result CollectPair(void* cls, MHD_ValueKind /*kind*/, const char* key, const char* value) {
  static_cast<std::vector<std::pair<std::string, std::string>>*>(cls)->emplace_back(
      key != nullptr ? key : "", value != nullptr ? value : "");
  return MHD_YES;
}

}  // namespace

// The request handler, run on the server's thread.
struct HttpServerAccess {
  static MHD_Result Handle(void* cls, MHD_Connection* connection, const char* url, const char* method,
                           const char* /*version*/, const char* /*uploadData*/, size_t* uploadDataSize,
                           void** requestState) noexcept {
    static int headersSeen;  // the address marks a request whose headers were recorded
    try {
      auto& server = *static_cast<HttpServer*>(cls);
      if (*requestState == nullptr) {
        *requestState = &headersSeen;
        server.record(Describe(connection, url, method));
        return MHD_YES;
      }
      if (*uploadDataSize != 0) {  // a request body is read and dropped
        *uploadDataSize = 0;
        return MHD_YES;
      }
      return Respond(server, connection, url);
    } catch (...) {
      return MHD_NO;  // nothing may cross the server's C frames; the connection is closed
    }
  }

  static RecordedRequest Describe(MHD_Connection* connection, const char* url, const char* method) {
    RecordedRequest request;
    request.method = method != nullptr ? method : "";
    request.path = url != nullptr ? url : "";
    MHD_get_connection_values(connection, MHD_HEADER_KIND, &CollectPair, &request.headers);
    std::vector<std::pair<std::string, std::string>> arguments;
    MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, &CollectPair, &arguments);
    for (const auto& [key, value] : arguments) {
      if (!request.query.empty()) request.query += '&';
      request.query += value.empty() ? key : key + "=" + value;
    }
    return request;
  }

  static MHD_Result Respond(const HttpServer& server, MHD_Connection* connection, const char* url) {
    const std::string path = url != nullptr ? url : "";
    std::string file;
    std::shared_ptr<const ServedRoute> route = server.findRoute(path, &file);
    if (route) {
      switch (route->kind) {
        case ServedRoute::Kind::kStatus:
          return QueueStatus(connection, route->status, route->body);
        case ServedRoute::Kind::kTruncated:
          return QueueTruncated(connection, std::move(route));
        case ServedRoute::Kind::kBody:
          return QueueBody(connection, route->body.size(), route->contentType,
                           [&route](std::size_t first, std::size_t count) { return route->body.substr(first, count); });
      }
    }
    if (file.empty()) return QueueStatus(connection, MHD_HTTP_NOT_FOUND);
    if (HasParentSegment(path)) return QueueStatus(connection, MHD_HTTP_FORBIDDEN);
    return QueueFile(connection, file);
  }
};

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

void HttpServer::DaemonStop::operator()(MHD_Daemon* daemon) const noexcept { MHD_stop_daemon(daemon); }

HttpServer::HttpServer(Scheme scheme) : scheme_(scheme) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = 0;  // the system picks a free port
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const unsigned int flags = MHD_USE_AUTO_INTERNAL_THREAD;
  if (scheme_ == Scheme::kHttps) {
    if (MHD_is_feature_supported(MHD_FEATURE_TLS) != MHD_YES) {
      throw std::runtime_error("libmicrohttpd was built without TLS");
    }
    const TlsIdentity& identity = SharedTlsIdentity();
    keyPem_ = identity.keyPem;
    certificatePem_ = identity.certificatePem;
    daemon_.reset(MHD_start_daemon(flags | MHD_USE_TLS, 0, nullptr, nullptr, &HttpServerAccess::Handle, this,
                                   MHD_OPTION_SOCK_ADDR, &address, MHD_OPTION_HTTPS_MEM_KEY, keyPem_.c_str(),
                                   MHD_OPTION_HTTPS_MEM_CERT, certificatePem_.c_str(), MHD_OPTION_END));
  } else {
    daemon_.reset(MHD_start_daemon(flags, 0, nullptr, nullptr, &HttpServerAccess::Handle, this,
                                   MHD_OPTION_SOCK_ADDR, &address, MHD_OPTION_END));
  }
  if (!daemon_) throw std::runtime_error("the loopback HTTP server did not start");
  const MHD_DaemonInfo* info = MHD_get_daemon_info(daemon_.get(), MHD_DAEMON_INFO_BIND_PORT);
  if (info == nullptr || info->port == 0) throw std::runtime_error("the loopback HTTP server has no port");
  port_ = info->port;
}

HttpServer::~HttpServer() = default;

std::string HttpServer::url(const std::string& path) const {
  return std::string(scheme_ == Scheme::kHttps ? "https" : "http") + "://127.0.0.1:" + std::to_string(port_) + path;
}

void HttpServer::serve(const std::string& path, std::string body, std::string contentType) {
  auto route = std::make_shared<ServedRoute>();
  route->body = std::move(body);
  route->contentType = std::move(contentType);
  setRoute(path, std::move(route));
}

void HttpServer::serveDirectory(const std::string& prefix, const std::string& dir) {
  const std::lock_guard<std::mutex> lock(mutex_);
  directories_[prefix] = dir;
}

void HttpServer::serveStatus(const std::string& path, int status, std::string body) {
  auto route = std::make_shared<ServedRoute>();
  route->kind = ServedRoute::Kind::kStatus;
  route->status = status;
  route->body = std::move(body);
  setRoute(path, std::move(route));
}

void HttpServer::serveTruncated(const std::string& path, std::string body, std::size_t bytesBeforeClose) {
  auto route = std::make_shared<ServedRoute>();
  route->kind = ServedRoute::Kind::kTruncated;
  route->body = std::move(body);
  route->bytesBeforeClose = bytesBeforeClose;
  setRoute(path, std::move(route));
}

void HttpServer::setRoute(const std::string& path, std::shared_ptr<const ServedRoute> route) {
  const std::lock_guard<std::mutex> lock(mutex_);
  exact_[path] = std::move(route);
}

std::shared_ptr<const ServedRoute> HttpServer::findRoute(const std::string& path, std::string* filePath) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (const auto exact = exact_.find(path); exact != exact_.end()) return exact->second;
  std::size_t longest = 0;
  for (const auto& [prefix, dir] : directories_) {
    if (prefix.size() >= longest && path.compare(0, prefix.size(), prefix) == 0) {
      longest = prefix.size();
      *filePath = (fs::path(dir) / path.substr(prefix.size())).string();
    }
  }
  return nullptr;
}

void HttpServer::record(RecordedRequest request) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.push_back(std::move(request));
  }
  requestArrived_.notify_all();
}

std::vector<RecordedRequest> HttpServer::requests() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

std::vector<RecordedRequest> HttpServer::requestsFor(const std::string& path) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<RecordedRequest> matching;
  std::copy_if(requests_.begin(), requests_.end(), std::back_inserter(matching),
               [&path](const RecordedRequest& request) { return request.path == path; });
  return matching;
}

void HttpServer::clearRequests() {
  const std::lock_guard<std::mutex> lock(mutex_);
  requests_.clear();
}

bool HttpServer::waitForRequests(std::size_t count, std::chrono::milliseconds timeout) const {
  std::unique_lock<std::mutex> lock(mutex_);
  return requestArrived_.wait_for(lock, timeout, [&] { return requests_.size() >= count; });
}

uint16_t DeadLoopbackPort() {
  struct Socket {
    int fd;
    ~Socket() {
      if (fd >= 0) close(fd);
    }
  };
  const Socket socket{::socket(AF_INET, SOCK_STREAM, 0)};
  if (socket.fd < 0) throw std::runtime_error("socket failed");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (bind(socket.fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      getsockname(socket.fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("could not bind a loopback port");
  }
  return ntohs(address.sin_port);  // released when `socket` closes: nothing listens there
}

}  // namespace korvid::test
