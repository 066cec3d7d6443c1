#include "support/headless_env.h"

#ifdef _WIN32
#include <windows.h>
#endif

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <thread>

#include "support/media.h"

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
  workDir = dir.generic_string();
  std::ofstream(dir / ".asoundrc") << "pcm.!default { type null }\n";
  SetEnvironment("HOME", workDir);
  SetEnvironment("SDL_VIDEODRIVER", "dummy");
  SetEnvironment("SDL_AUDIODRIVER", "dummy");
  fs::current_path(dir);
}

#ifdef _WIN32
// Wine runs a Unix program named to CreateProcess as a Unix process and hands
// back no handle to wait on. So the shell runs a script whose last act is to
// write the command's exit status into a file, and the test waits for that
// file (the slowest command, a long clip's encoding, takes seconds). The
// handle fields Wine fills in then are not handles of ours: closing them
// closed whatever handle of the process had that number, once an engine
// thread's, whose join then never returned.
void RunCommand(const std::string& command) {
  static std::atomic<int> commands{0};
  const std::string base = workDir + "/.command-" + std::to_string(commands++);
  const std::string status = ShellQuote(ShellPath(base + ".status"));
  WriteFile(base + ".sh", "PATH=/usr/bin:/bin:$PATH\n( cd " + ShellQuote(ShellPath(workDir)) + " && " + command +
                              "\n)\necho $? > " + status + ".part && mv " + status + ".part " + status + "\n");
  std::string line = "/bin/sh \"" + ShellPath(base + ".sh") + "\"";
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
    throw std::runtime_error("could not start the shell for: " + command);
  }
  std::string result;
  AwaitOrThrow([&] { return !(result = ReadFile(base + ".status")).empty(); }, 900, "command never ended: " + command);
  if (std::stoi(result) != 0) throw std::runtime_error("command failed (" + result + "): " + command);
}

std::string ShellPath(const std::string& path) {
  using UnixFileName = char*(CDECL*)(const WCHAR*);
  static const auto unixFileName = reinterpret_cast<UnixFileName>(
      reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleA("kernel32.dll"), "wine_get_unix_file_name")));
  fs::create_directories(fs::path(path).parent_path());  // Wine names only paths whose folder exists
  char* name = unixFileName != nullptr ? unixFileName(fs::path(path).wstring().c_str()) : nullptr;
  if (name == nullptr) throw std::runtime_error("no Unix path for " + path + " (the tests run under Wine)");
  std::string unixPath = name;
  HeapFree(GetProcessHeap(), 0, name);
  return unixPath;
}
#else
void RunCommand(const std::string& command) {
  if (const int status = std::system(command.c_str()); status != 0) {
    throw std::runtime_error("command failed (" + std::to_string(status) + "): " + command);
  }
}

std::string ShellPath(const std::string& path) { return path; }
#endif

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
