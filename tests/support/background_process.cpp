#include "support/background_process.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace korvid::test {
namespace {

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

BackgroundProcess::BackgroundProcess(const std::string& command, const std::string& logFile) {
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("fork failed");
  if (pid_ == 0) {
    setpgid(0, 0);
    const int log = open(logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    const int nothing = open("/dev/null", O_RDONLY);
    if (log >= 0) {
      dup2(log, 1);
      dup2(log, 2);
    }
    if (nothing >= 0) dup2(nothing, 0);
    execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  setpgid(pid_, pid_);
}

BackgroundProcess::~BackgroundProcess() {
  if (pid_ <= 0) return;
  kill(-pid_, SIGTERM);
  for (int i = 0; i < 100; ++i) {
    if (waitpid(pid_, nullptr, WNOHANG) == pid_) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  kill(-pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

bool BackgroundProcess::running() const { return pid_ > 0 && waitpid(pid_, nullptr, WNOHANG) == 0; }

int FreeLoopbackPort() {
  const int s = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  if (s < 0 || bind(s, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      getsockname(s, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    if (s >= 0) close(s);
    throw std::runtime_error("no free loopback port");
  }
  close(s);
  return ntohs(address.sin_port);
}

bool WaitForListener(int port, int timeoutMs) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (std::chrono::steady_clock::now() < deadline) {
    const int s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = Loopback(port);
    const bool connected = s >= 0 && connect(s, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    if (s >= 0) close(s);
    if (connected) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

}  // namespace korvid::test
