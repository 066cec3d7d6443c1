#include "support/subtitle_media.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/headless_env.h"
#include "support/process.h"

namespace korvid::test {

std::string WriteWorkFile(const std::string& name, const std::string& text) {
  const std::string path = WorkDir() + "/" + name;
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
  return path;
}

std::string FourCueSubRip(const std::string& words) {
  std::istringstream in(words);
  std::string out;
  std::string word;
  for (int i = 0; i < 4 && in >> word; ++i) {
    const int start = 1 + 2 * i;
    out += std::to_string(i + 1) + "\n00:00:0" + std::to_string(start) + ",000 --> 00:00:0" +
           std::to_string(start + 1) + ",000\n" + word + "\n\n";
  }
  return out;
}

std::string HlsSubtitleSet() {
  const std::string dir = WorkDir() + "/hls-subtitles";
  if (std::filesystem::exists(dir + "/master.m3u8")) return dir;
  std::filesystem::create_directories(dir);
  const std::string en = WriteWorkFile("hls-en.srt", FourCueSubRip("Alpha Bravo Charlie Delta"));
  const std::string de = WriteWorkFile("hls-de.srt", FourCueSubRip("Eins Zwei Drei Vier"));
  RunCommand("cd " + ShellQuote(dir) +
             " && ffmpeg -nostdin -loglevel error -y -f lavfi -i testsrc=size=160x120:rate=25 -i " + ShellQuote(en) +
             " -i " + ShellQuote(de) +
             " -t 10 -map 0:v -map 0:v -map 1:s -map 2:s -c:v libx264 -preset ultrafast -g 25 -c:s webvtt"
             " -f hls -hls_time 4 -hls_playlist_type vod -master_pl_name master.m3u8"
             " -var_stream_map 'v:0,s:0,sgroup:subs,language:en,name:English v:1,s:1,sgroup:subs,language:de,name:Deutsch'"
             " out_%v.m3u8");
  return dir;
}

std::string TwoSubtitleTrackClip(double seconds) {
  const std::string path = WorkDir() + "/two-subtitles-" + std::to_string(seconds) + ".mkv";
  if (std::filesystem::exists(path)) return path;
  const std::string en = WriteWorkFile("mkv-en.srt", FourCueSubRip("One Two Three Four"));
  const std::string fr = WriteWorkFile("mkv-fr.srt", FourCueSubRip("Un Deux Trois Quatre"));
  RunCommand("ffmpeg -nostdin -loglevel error -y -f lavfi -i testsrc=size=160x120:rate=25 -i " + ShellQuote(en) +
             " -i " + ShellQuote(fr) + " -t " + std::to_string(seconds) +
             " -map 0:v -map 1:s -map 2:s -c:v libx264 -preset ultrafast -pix_fmt yuv420p -c:s srt"
             " -metadata:s:s:0 language=eng -metadata:s:s:1 language=fre " + ShellQuote(path));
  return path;
}

}  // namespace korvid::test
