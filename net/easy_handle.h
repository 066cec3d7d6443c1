// The owning type for a libcurl easy handle: cleaned up with curl_easy_cleanup
// when it goes out of scope (null is allowed).
#pragma once

#include <curl/curl.h>

#include <memory>

namespace korvid::net {

struct EasyCleanup {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
using EasyHandle = std::unique_ptr<CURL, EasyCleanup>;

// A new handle with peer verification off, as every fetch of the library sets
// it; null when libcurl cannot make one.
inline EasyHandle OpenUnverifiedHandle() {
  EasyHandle handle(curl_easy_init());
  if (handle) curl_easy_setopt(handle.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  return handle;
}

}  // namespace korvid::net
