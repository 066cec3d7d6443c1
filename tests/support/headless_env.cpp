#include "support/headless_env.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <unistd.h>

namespace korvid::test {
namespace {

std::string& Dir() {
  static std::string dir;
  return dir;
}

}  // namespace

const std::string& WorkDir() { return Dir(); }

void EnterHeadlessEnvironment() {
  std::string pattern = (std::filesystem::temp_directory_path() / "korvid-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  Dir() = pattern;
  std::ofstream(pattern + "/.asoundrc") << "pcm.!default { type null }\n";
  setenv("HOME", pattern.c_str(), 1);
  setenv("SDL_VIDEODRIVER", "dummy", 1);
  setenv("SDL_AUDIODRIVER", "dummy", 1);
  if (chdir(pattern.c_str()) != 0) throw std::runtime_error("chdir failed");
}

}  // namespace korvid::test
