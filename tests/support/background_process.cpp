#include "support/background_process.h"

#ifndef _WIN32
#include <signal.h>
#endif

#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "support/headless_env.h"
#include "support/http_server.h"
#include "support/media.h"

namespace korvid::test {

// setsid makes the command the leader of a session of its own (it is not a
// group leader, so it does not fork): killing that group ends what it started.
#ifdef _WIN32
// Under Wine the session is started and killed by Linux shells (RunCommand).
BackgroundProcess::BackgroundProcess(const std::string& command, const std::string& logFile) {
  RunCommand("setsid sh -c " + ShellQuote(command) + " >" + ShellQuote(ShellPath(logFile)) +
             " 2>&1 </dev/null & echo $! >" + ShellQuote(ShellPath(logFile + ".session")));
  session_ = std::stoi(ReadFile(logFile + ".session"));
}

BackgroundProcess::~BackgroundProcess() {
  try {
    RunCommand("kill -9 -" + std::to_string(session_));
  } catch (const std::exception&) {  // it has ended already
  }
}
#else
BackgroundProcess::BackgroundProcess(const std::string& command, const std::string& logFile) {
  const std::string launch = "setsid sh -c " + ShellQuote(command) + " >" + ShellQuote(logFile) +
                             " 2>&1 </dev/null & echo $!";
  std::FILE* shell = popen(launch.c_str(), "r");
  if (shell == nullptr || std::fscanf(shell, "%d", &session_) != 1) session_ = 0;
  if (shell != nullptr) pclose(shell);
  if (session_ <= 0) throw std::runtime_error("could not start: " + command);
}

BackgroundProcess::~BackgroundProcess() { kill(-session_, SIGKILL); }
#endif

RtmpStream::RtmpStream(const std::string& colour)
    : dir_(WorkDir() + "/rtmp"),
      // The shared server's released port: nothing else listens there, and no
      // test that expects it refused runs beside a stream.
      port_(DeadLoopbackPort()),
      url_("rtmp://127.0.0.1:" + std::to_string(port_) + "/live/stream"),
      // nginx writes its pid file once its listening sockets are open; the publisher starts then.
      session_("nginx -p " + ShellQuote(ShellPath(dir_)) + " -c " +
                   ShellQuote(ShellPath(WriteFile(dir_ + "/nginx.conf",
                                        "load_module /usr/lib/nginx/modules/ngx_rtmp_module.so;\ndaemon off;\n"
                                        "master_process off;\npid nginx.pid;\nerror_log error.log;\nevents {}\n"
                                        "rtmp { server { listen 127.0.0.1:" + std::to_string(port_) +
                                            "; application live { live on; } } }\n"))) +
                   " & until [ -e " + ShellQuote(ShellPath(dir_ + "/nginx.pid")) + " ]; do sleep 0.05; done;"
                   " exec ffmpeg -nostdin -loglevel error -re -f lavfi -i color=c=" + colour +
                   ":s=320x240:r=25 -f lavfi -i sine=f=440:sample_rate=44100 -c:v libx264 -preset ultrafast"
                   " -tune zerolatency -g 25 -c:a aac -f flv " + ShellQuote(url_),
               dir_ + "/session.log") {
  AwaitOrThrow([&] { return std::filesystem::exists(dir_ + "/nginx.pid"); }, 10, "nginx did not start; see " + dir_);
  // A player that connects before the publisher is refused: read the stream
  // once with ffprobe, which waits for the publisher.
  RunCommand("timeout 60 ffprobe -v error -show_entries stream=codec_type " + ShellQuote(url_) + " > /dev/null");
}

}  // namespace korvid::test
