#include "support/rtmp_server.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "support/headless_env.h"
#include "support/process.h"

namespace korvid::test {

RtmpServer::RtmpServer() : dir_(WorkDir() + "/rtmp"), port_(FreeLoopbackPort()) {
  std::filesystem::create_directories(dir_);
  std::ofstream(dir_ + "/nginx.conf")
      << "load_module /usr/lib/nginx/modules/ngx_rtmp_module.so;\n"
      << "daemon off;\nmaster_process off;\n"
      << "pid " << dir_ << "/nginx.pid;\n"
      << "error_log " << dir_ << "/error.log;\n"
      << "events {}\n"
      << "rtmp { server { listen 127.0.0.1:" << port_ << "; application live { live on; } } }\n";
  nginx_ = std::make_unique<BackgroundProcess>(
      "exec nginx -p " + ShellQuote(dir_) + " -c " + ShellQuote(dir_ + "/nginx.conf"), dir_ + "/nginx.out");
  if (!WaitForListener(port_, 10000)) throw std::runtime_error("nginx did not start; see " + dir_);
}

RtmpServer::~RtmpServer() {
  publisher_.reset();
  nginx_.reset();
}

void RtmpServer::publish(const std::string& colour, const std::string& name) {
  publisher_ = std::make_unique<BackgroundProcess>(
      "exec ffmpeg -nostdin -loglevel error -re -f lavfi -i color=c=" + colour +
          ":s=320x240:r=25 -f lavfi -i sine=f=440:sample_rate=44100 -c:v libx264 -preset ultrafast -tune zerolatency"
          " -g 25 -c:a aac -f flv " + ShellQuote(url(name)),
      dir_ + "/publisher.log");
}

std::string RtmpServer::url(const std::string& name) const {
  return "rtmp://127.0.0.1:" + std::to_string(port_) + "/live/" + name;
}

}  // namespace korvid::test
