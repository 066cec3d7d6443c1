// Runs helper programs (ffmpeg, openssl, nginx) for the tests.
#pragma once

#include <string>

namespace korvid::test {

// Runs `command` through the shell; throws std::runtime_error with the command
// and its exit status when it fails.
void RunCommand(const std::string& command);

// Quotes `text` as one shell word.
std::string ShellQuote(const std::string& text);

}  // namespace korvid::test
