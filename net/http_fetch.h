// One-shot HTTP(S) fetches into memory, synchronous on the caller's thread.
// No state is kept between calls: each fetch makes, uses and cleans up its own
// easy handle. Peer verification is off; no time-out, redirect or user-agent
// option is set anywhere.
#pragma once

#include <cstddef>
#include <string>

namespace korvid::net {

// CURLOPT_WRITEFUNCTION that appends each chunk to the std::string given as
// CURLOPT_WRITEDATA, byte count and all (embedded NULs are kept). Always
// reports the whole chunk as taken, unless memory runs out (then it takes
// nothing, which ends the transfer with what arrived before).
std::size_t CurlWriteToString(char* data, std::size_t size, std::size_t nmemb, void* userdata) noexcept;

// Sets the write function and target of `handle` to `body` (the handle is a CURL*).
void WriteResponseInto(void* handle, std::string* body);

// Fetches `url` into a new string. A failed transfer leaves whatever arrived
// (often nothing); no error is reported.
std::string HttpGetToString(std::string url);

}  // namespace korvid::net
