#include "support/media_clips.h"

#include <filesystem>
#include <fstream>
#include <random>

#include "support/headless_env.h"
#include "support/process.h"

namespace korvid::test {
namespace {

std::string InWorkDir(const std::string& name) { return WorkDir() + "/" + name; }

// Runs ffmpeg to make `name` unless it exists already.
std::string Make(const std::string& name, const std::string& arguments) {
  const std::string path = InWorkDir(name);
  if (!std::filesystem::exists(path)) {
    RunCommand("ffmpeg -nostdin -loglevel error -y " + arguments + " " + ShellQuote(path));
  }
  return path;
}

std::string SecondsText(double seconds) { return std::to_string(seconds); }

}  // namespace

std::string SolidClip(const std::string& colour, double seconds, const std::string& size) {
  const std::string name = "solid-" + colour + "-" + size + "-" + SecondsText(seconds) + ".mp4";
  return Make(name, "-f lavfi -i color=c=" + colour + ":s=" + size + ":r=25 -t " + SecondsText(seconds) +
                        " -c:v libx264 -preset ultrafast -pix_fmt yuv420p");
}

std::string AvClip(double seconds) {
  return Make("av-" + SecondsText(seconds) + ".mp4",
              "-f lavfi -i testsrc=s=320x240:r=25 -f lavfi -i sine=f=440:sample_rate=48000 -t " +
                  SecondsText(seconds) + " -c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 25 -c:a aac -shortest");
}

std::string TwoAudioTrackClip(double seconds) {
  const std::string t = SecondsText(seconds);
  return Make("two-audio-" + t + ".mkv",
              "-f lavfi -i testsrc=s=320x240:r=25 -f lavfi -i sine=f=440 -f lavfi -i sine=f=880 -t " + t +
                  " -map 0:v -map 1:a -map 2:a -c:v libx264 -preset ultrafast -pix_fmt yuv420p -c:a aac"
                  " -metadata:s:a:0 language=eng -metadata:s:a:1 language=fra -shortest");
}

std::string GarbageFile(const std::string& name) {
  const std::string path = InWorkDir(name);
  std::mt19937 random(12345);
  std::ofstream out(path, std::ios::binary);
  for (int i = 0; i < 200000; ++i) out.put(static_cast<char>(random() & 0xFF));
  return path;
}

}  // namespace korvid::test
