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

}  // namespace korvid::net
