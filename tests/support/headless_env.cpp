#include "support/headless_env.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <thread>

namespace korvid::test {
namespace {

namespace fs = std::filesystem;

std::string workDir;  // set once, before the first test runs

void SetEnvironment(const char* name, const std::string& value) {
#ifdef _WIN32
  _putenv_s(name, value.c_str());
#else
  setenv(name, value.c_str(), 1);
#endif
}

}  // namespace

const std::string& WorkDir() { return workDir; }

void EnterHeadlessEnvironment() {
  std::random_device seed;
  fs::path dir;
  do {  // a new, empty folder of our own
    dir = fs::temp_directory_path() / ("korvid-test-" + std::to_string(seed()));
  } while (!fs::create_directory(dir));
  workDir = dir.string();
  std::ofstream(dir / ".asoundrc") << "pcm.!default { type null }\n";
  SetEnvironment("HOME", workDir);
  SetEnvironment("SDL_VIDEODRIVER", "dummy");
  SetEnvironment("SDL_AUDIODRIVER", "dummy");
  fs::current_path(dir);
}

void RunCommand(const std::string& command) {
  if (const int status = std::system(command.c_str()); status != 0) {
    throw std::runtime_error("command failed (" + std::to_string(status) + "): " + command);
  }
}

void AwaitOrThrow(const std::function<bool()>& condition, int seconds, const std::string& failure) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error(failure);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace korvid::test
