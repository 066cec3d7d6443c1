#include "subtitles/number_fields.h"

#include <limits>
#include <optional>
#include <stdexcept>

namespace korvid::subtitles {
namespace {

// The white space the C library skips in front of a number ("C" locale).
bool IsLeadingSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

struct LeadingInteger {
  int64_t value = 0;  // saturated at the 32-bit limits when out of range
  bool outOfRange = false;
};

// The leading integer of `field`, or nothing when there is none.
std::optional<LeadingInteger> ReadLeadingInteger(std::string_view field) {
  std::size_t i = 0;
  while (i < field.size() && IsLeadingSpace(field[i])) ++i;
  bool negative = false;
  if (i < field.size() && (field[i] == '+' || field[i] == '-')) {
    negative = field[i] == '-';
    ++i;
  }
  if (i == field.size() || !IsDigit(field[i])) return std::nullopt;

  // Accumulate the magnitude, stopping the growth just past the 32-bit range so
  // that any number of digits is safe.
  constexpr int64_t kLimit = int64_t{std::numeric_limits<int32_t>::max()} + 1;
  int64_t magnitude = 0;
  for (; i < field.size() && IsDigit(field[i]); ++i) {
    magnitude = magnitude * 10 + (field[i] - '0');
    if (magnitude > kLimit) magnitude = kLimit + 1;
  }
  LeadingInteger result;
  result.value = negative ? -magnitude : magnitude;
  if (result.value > std::numeric_limits<int32_t>::max()) {
    result.value = std::numeric_limits<int32_t>::max();
    result.outOfRange = true;
  } else if (result.value < std::numeric_limits<int32_t>::min()) {
    result.value = std::numeric_limits<int32_t>::min();
    result.outOfRange = true;
  }
  return result;
}

}  // namespace

int32_t StrictFieldToInt(std::string_view field) {
  const std::optional<LeadingInteger> number = ReadLeadingInteger(field);
  if (!number) throw std::invalid_argument("invalid stoi argument");
  if (number->outOfRange) throw std::out_of_range("stoi argument out of range");
  return static_cast<int32_t>(number->value);
}

int32_t TolerantFieldToInt(std::string_view field) {
  const std::optional<LeadingInteger> number = ReadLeadingInteger(field);
  return number ? static_cast<int32_t>(number->value) : 0;
}

}  // namespace korvid::subtitles
