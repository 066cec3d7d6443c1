// The one-shot request that sends one extra header line to a URL.
#pragma once

#include <cstdint>

namespace korvid::net {

// Result of ExtraHeaderRequest.
inline constexpr int32_t kExtraHeaderSent = 0;     // performed, or no handle could be made
inline constexpr int32_t kExtraHeaderFailed = -1;  // libcurl reported a transfer error

// Requests `url` with `header` added as one header line, verbosely (the trace
// goes to standard error) and with no write function, so libcurl's default
// writer sends the body to the process's standard output. Peer verification
// stays at libcurl's default (on). The header is not remembered for any later
// request. Null texts are taken as empty; an empty URL fails like an
// unreachable one. Blocks the calling thread for the whole transfer.
int32_t ExtraHeaderRequest(const char* header, const char* url);

}  // namespace korvid::net
