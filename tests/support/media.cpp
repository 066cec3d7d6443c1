#include "support/media.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "support/headless_env.h"

namespace korvid::test {
namespace {

// Runs ffmpeg with `arguments` in the directory `dir` below the working
// directory, unless the file `made` is there already; returns the path of `made`.
std::string Make(const std::string& dir, const std::string& made, const std::string& arguments) {
  const std::string path = WorkDir() + "/" + dir;
  if (!std::filesystem::exists(path + "/" + made)) {
    std::filesystem::create_directories(path);
    RunCommand("cd " + ShellQuote(ShellPath(path)) + " && ffmpeg -nostdin -loglevel error -y " + arguments);
  }
  return path + "/" + made;
}

std::string Directory(const std::string& file) { return std::filesystem::path(file).parent_path().string(); }

// Cues of one second each at 1, 3, 5 and 7 s.
std::string FourCueSubRip(std::initializer_list<const char*> words) {
  std::string out;
  int start = 1;
  for (const char* word : words) {
    out += std::to_string(start / 2 + 1) + "\n00:00:0" + std::to_string(start) + ",000 --> 00:00:0" +
           std::to_string(start + 1) + ",000\n" + word + "\n\n";
    start += 2;
  }
  return out;
}

// The encoders, and for HLS the segment format. The engine release the
// Windows tests run has no H.264 or AAC decoder (its decoder plug-in is not
// there): VP9 and Opus, in MP4 (fragmented for HLS), Matroska and WebM, and
// MPEG-2 video with MPEG audio in a transport stream, which VP9 cannot enter.
#ifdef _WIN32
std::string Video(const std::string& extension = "mp4") {
  return extension == "ts" ? "-c:v mpeg2video"
                           : "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -pix_fmt yuv420p -b:v 200k";
}
std::string Audio(const std::string& extension = "mp4") { return extension == "ts" ? "-c:a mp2" : "-c:a libopus"; }
const std::string kSegments = " -hls_segment_type fmp4";
#else
std::string Video(const std::string& = "mp4") { return "-c:v libx264 -preset ultrafast -pix_fmt yuv420p"; }
std::string Audio(const std::string& = "mp4") { return "-c:a aac"; }
const std::string kSegments;
#endif

// Six seconds of a 160 x 120 test pattern, one key frame per second.
const std::string kPattern = "-f lavfi -i testsrc=size=160x120:rate=10 -t 6 " + Video() + " -b:v 100k -g 10 ";

}  // namespace

std::string ColourClip(const std::string& colour, double seconds, bool silent, const std::string& extension) {
  const std::string t = std::to_string(seconds);
  const std::string name = colour + "-" + t + (silent ? "-silent." : ".") + extension;
  return Make("clips", name,
              "-f lavfi -i color=c=" + colour + ":s=160x90:r=25" + (silent ? "" : " -f lavfi -i sine=f=440") + " -t " +
                  t + " " + Video(extension) + " -g 25" + (silent ? "" : " " + Audio(extension)) +
                  (extension == "faststart.mp4" ? " -movflags +faststart " : " ") + name);
}

std::string SparseKeyFrameClip(double seconds) {
  const std::string name = "black-sparse-" + std::to_string(seconds) + ".mp4";
  return Make("clips", name,
              "-f lavfi -i color=c=black:s=64x48:r=25 -t " + std::to_string(seconds) + " " + Video() + " -g 250 " + name);
}

std::string TwoAudioTrackClip() {
  return Make("clips", "two-audio.mkv",
              "-f lavfi -i color=c=gray:s=160x90:r=25 -f lavfi -i sine=f=440 -f lavfi -i sine=f=880 -t 30"
              " -map 0:v -map 1:a -map 2:a " + Video() + " " + Audio() +
              " -metadata:s:a:0 language=eng -metadata:s:a:1 language=fra two-audio.mkv");
}

std::string TwoSubtitleTrackClip() {
  WriteWorkFile("clips/en-cues.srt", FourCueSubRip({"One", "Two", "Three", "Four"}));
  WriteWorkFile("clips/fr-cues.srt", FourCueSubRip({"Un", "Deux", "Trois", "Quatre"}));
  return Make("clips", "two-subtitles.mkv",
              "-f lavfi -i testsrc=size=160x120:rate=25 -i en-cues.srt -i fr-cues.srt -t 10 -map 0:v -map 1:s -map 2:s " +
                  Video() + " -c:s srt -metadata:s:s:0 language=eng"
              " -metadata:s:s:1 language=fre two-subtitles.mkv");
}

std::string GarbageFile(const std::string& name) {
  std::mt19937 random(12345);
  std::string bytes(200000, '\0');
  for (char& b : bytes) b = static_cast<char>(random() & 0xFF);
  return WriteWorkFile(name, bytes);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string WriteFile(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(Directory(path));
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
  return path;
}

std::string WriteWorkFile(const std::string& name, const std::string& text) { return WriteFile(WorkDir() + "/" + name, text); }

std::string HlsSubtitleSet() {
  WriteWorkFile("hls-subtitles/en.srt", FourCueSubRip({"Alpha", "Bravo", "Charlie", "Delta"}));
  WriteWorkFile("hls-subtitles/de.srt", FourCueSubRip({"Eins", "Zwei", "Drei", "Vier"}));
  return Directory(Make("hls-subtitles", "master.m3u8",
                        "-f lavfi -i testsrc=size=160x120:rate=25 -i en.srt -i de.srt -t 10 -map 0:v -map 0:v"
                        " -map 1:s -map 2:s " + Video() + " -g 25 -c:s webvtt -f hls -hls_time 4" + kSegments +
                            " -hls_playlist_type vod -master_pl_name master.m3u8 -var_stream_map"
                        " 'v:0,s:0,sgroup:subs,language:en,name:English v:1,s:1,sgroup:subs,language:de,name:Deutsch'"
                        " out_%v.m3u8"));
}

std::string HlsOnDemandSet() {
  return Directory(Make("hls-vod", "master.m3u8",
                        kPattern + "-f hls -hls_time 1" + kSegments + " -hls_playlist_type vod -master_pl_name master.m3u8"
                                   " -var_stream_map v:0,name:low %v/index.m3u8"));
}

static std::string LiveHls(const std::string& dir, const std::string& segments) {
  return Directory(Make(dir, "master.m3u8", kPattern + "-f hls -hls_time 1 -hls_flags omit_endlist -hls_list_size " +
                                                segments + kSegments +
                                                " -master_pl_name master.m3u8 -var_stream_map v:0,name:low %v/index.m3u8"));
}
std::string HlsLiveSet() { return LiveHls("hls-live", "6"); }
std::string HlsLiveTail() { return LiveHls("hls-live-tail", "4"); }

std::string DashTwoSizeSet() {
  return Directory(Make("dash", "manifest.mpd",
                        "-f lavfi -i testsrc=size=320x240:rate=10 -t 6 -map 0:v -map 0:v " + Video() +
                            " -g 10 -s:v:1 160x120 -b:v:0 100k -b:v:1 300k -f dash -dash_segment_type mp4"
                            " -seg_duration 1 -adaptation_sets id=0,streams=v manifest.mpd"));
}

}  // namespace korvid::test
