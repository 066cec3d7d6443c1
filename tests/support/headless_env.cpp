#include "support/headless_env.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>

namespace korvid::test {
namespace {

namespace fs = std::filesystem;

std::string& Dir() {
  static std::string dir;
  return dir;
}

void SetEnvironment(const char* name, const std::string& value) {
#ifdef _WIN32
  _putenv_s(name, value.c_str());
#else
  setenv(name, value.c_str(), 1);
#endif
}

// A new, empty folder of our own under the system's temporary folder.
fs::path FreshDirectory() {
  std::random_device seed;
  for (int tries = 0; tries < 100; ++tries) {
    const fs::path dir = fs::temp_directory_path() / ("korvid-test-" + std::to_string(seed()));
    if (fs::create_directory(dir)) return dir;
  }
  throw std::runtime_error("no temporary folder could be made");
}

}  // namespace

const std::string& WorkDir() { return Dir(); }

void EnterHeadlessEnvironment() {
  const fs::path dir = FreshDirectory();
  Dir() = dir.string();
  std::ofstream(dir / ".asoundrc") << "pcm.!default { type null }\n";
  SetEnvironment("HOME", Dir());
  SetEnvironment("SDL_VIDEODRIVER", "dummy");
  SetEnvironment("SDL_AUDIODRIVER", "dummy");
  fs::current_path(dir);
}

}  // namespace korvid::test
