// A helper program (nginx, an ffmpeg publisher) running beside a test. It runs
// in a process group of its own and is ended with the group when the object goes.
#pragma once

#include <sys/types.h>

#include <string>

namespace korvid::test {

class BackgroundProcess {
 public:
  // Starts `command` through the shell; its output goes to `logFile`.
  BackgroundProcess(const std::string& command, const std::string& logFile);
  ~BackgroundProcess();
  BackgroundProcess(const BackgroundProcess&) = delete;
  BackgroundProcess& operator=(const BackgroundProcess&) = delete;

  bool running() const;

 private:
  pid_t pid_ = -1;
};

// A TCP port on 127.0.0.1 that was free a moment ago.
int FreeLoopbackPort();

// Waits until something accepts connections on 127.0.0.1:`port`; false after `timeoutMs`.
bool WaitForListener(int port, int timeoutMs);

}  // namespace korvid::test
