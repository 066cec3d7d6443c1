// The two ways a timestamp field becomes an integer: the leading decimal
// integer of the text (after optional white space and a sign); what differs is
// a field without one, and a value outside 32 bits.
#pragma once

#include <cstdint>
#include <string_view>

namespace korvid::subtitles {

// SubRip fields. Throws std::invalid_argument("invalid stoi argument") when the
// field has no leading integer (an empty field included) and
// std::out_of_range("stoi argument out of range") when the value does not fit
// in 32 bits. The messages are fixed: they reach the host.
int32_t StrictFieldToInt(std::string_view field);

// WebVTT fields. A field without a leading integer is 0; a value beyond 32 bits
// saturates at the nearest limit. Never throws.
int32_t TolerantFieldToInt(std::string_view field);

}  // namespace korvid::subtitles
