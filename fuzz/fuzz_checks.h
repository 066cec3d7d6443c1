// What every fuzz target shares: the only errors the text scans may raise, and
// a check that ends the run (as a crash libFuzzer records) when an invariant
// of a scan's result does not hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

namespace korvid::fuzz {

// The input as text, NUL bytes and all.
inline std::string AsText(const uint8_t* data, std::size_t size) {
  return std::string(reinterpret_cast<const char*>(data), size);
}

// Stops the run with `what` when `holds` is false.
inline void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz invariant broken: %s\n", what);
  std::abort();
}

// Occurrences of `part` in `text`, each search resuming one character after
// the previous match.
inline std::size_t CountOccurrences(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

// How a cue parser converts a timestamp field.
enum class Numbers { kTolerant, kStrict };

// Runs `parse`, letting through only the errors the cue parsers are documented
// to raise: a cue text that would start past the end of the document (both
// parsers), and a field that is no number or does not fit in 32 bits (strict
// conversion only). Any other exception escapes and ends the run.
template <typename Parse>
void RunAllowingNamedErrors(Numbers numbers, Parse&& parse) {
  try {
    parse();
  } catch (const std::invalid_argument& e) {
    if (numbers != Numbers::kStrict || std::string_view(e.what()) != "invalid stoi argument") throw;
  } catch (const std::out_of_range& e) {
    const std::string_view message = e.what();
    const bool named = message == "invalid string position" ||
                       (numbers == Numbers::kStrict && message == "stoi argument out of range");
    if (!named) throw;
  }
}

}  // namespace korvid::fuzz
