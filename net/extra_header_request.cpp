#include "net/extra_header_request.h"

#include "net/easy_handle.h"
#include "net/header_list.h"

namespace korvid::net {

int32_t ExtraHeaderRequest(const char* header, const char* url) {
  // Declared before the handle so that it is freed after the handle is cleaned
  // up: libcurl borrows the list for as long as the handle lives.
  HeaderList headers;
  const EasyHandle curl(curl_easy_init());
  if (!curl) return kExtraHeaderSent;  // same value as success, by design
  headers.reset(curl_slist_append(nullptr, header != nullptr ? header : ""));
  curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(curl.get(), CURLOPT_URL, url != nullptr ? url : "");
  curl_easy_setopt(curl.get(), CURLOPT_VERBOSE, 1L);
  return curl_easy_perform(curl.get()) == CURLE_OK ? kExtraHeaderSent : kExtraHeaderFailed;
}

}  // namespace korvid::net
