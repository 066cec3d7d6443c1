// Puts the test process in a headless, self-contained setting before any test
// runs: SDL's dummy video driver, audio to a null ALSA device, and a fresh
// temporary working directory (the engine writes its log file there; on
// Windows its path has "/" separators, the form Unity's path properties give).
// Also runs the helper programs (ffmpeg, openssl, nginx) the tests need.
#pragma once

#include <functional>
#include <string>

namespace korvid::test {

// The temporary directory the process works in.
const std::string& WorkDir();

void EnterHeadlessEnvironment();

// Runs `command` through the shell; throws std::runtime_error with the command
// and its exit status when it fails. Under Wine the shell is the Linux side's
// /bin/sh, started as a Unix process, and `command` names files by ShellPath.
void RunCommand(const std::string& command);

// The name the shell knows the file `path` by: `path` itself, except under
// Wine, where a Windows path ("C:/users/...") becomes the Unix path behind it.
std::string ShellPath(const std::string& path);

// Polls `condition` every 50 ms for up to `seconds`; throws std::runtime_error
// with `failure` when it never holds (a helper program did not come up).
void AwaitOrThrow(const std::function<bool()>& condition, int seconds, const std::string& failure);

// Quotes `text` as one shell word.
std::string ShellQuote(const std::string& text);

}  // namespace korvid::test
