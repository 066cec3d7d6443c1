// Puts the test process in a headless, self-contained setting before any test
// runs: SDL's dummy video driver, audio to a null ALSA device, and a fresh
// temporary working directory (the engine writes its log file there).
#pragma once

#include <string>

namespace korvid::test {

// The temporary directory the process works in.
const std::string& WorkDir();

void EnterHeadlessEnvironment();

}  // namespace korvid::test
