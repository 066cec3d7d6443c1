#include "net/http_fetch.h"

#include <curl/curl.h>

#include <new>

#include "net/easy_handle.h"

namespace korvid::net {

std::size_t CurlWriteToString(char* data, std::size_t size, std::size_t nmemb, void* userdata) noexcept {
  const std::size_t bytes = size * nmemb;
  if (bytes == 0) return 0;
  try {
    static_cast<std::string*>(userdata)->append(data, bytes);
  } catch (const std::bad_alloc&) {
    return 0;  // no exception may cross libcurl's C frames; taking nothing ends the transfer
  }
  return bytes;
}

void WriteResponseInto(void* handle, std::string* body) {
  curl_easy_setopt(static_cast<CURL*>(handle), CURLOPT_WRITEFUNCTION, &CurlWriteToString);
  curl_easy_setopt(static_cast<CURL*>(handle), CURLOPT_WRITEDATA, body);
}

std::string HttpGetToString(std::string url) {
  std::string body;
  const EasyHandle curl = OpenUnverifiedHandle();
  if (!curl) return body;
  curl_easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
  WriteResponseInto(curl.get(), &body);
  curl_easy_perform(curl.get());  // a failed transfer just leaves less in the body
  return body;
}

}  // namespace korvid::net
