#include "support/process.h"

#include <cstdlib>
#include <stdexcept>

namespace korvid::test {

void RunCommand(const std::string& command) {
  if (const int status = std::system(command.c_str()); status != 0) {
    throw std::runtime_error("command failed (" + std::to_string(status) + "): " + command);
  }
}

std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace korvid::test
