// The owning type for a libcurl header list (CURLOPT_HTTPHEADER): freed with
// curl_slist_free_all when it goes out of scope (null is allowed). libcurl only
// borrows the list, so it must outlive every perform on the handle it was
// given to.
#pragma once

#include <curl/curl.h>

#include <memory>

namespace korvid::net {

struct SlistFree {
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, SlistFree>;

}  // namespace korvid::net
