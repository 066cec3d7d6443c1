// Media for the managed host, made with ffmpeg in the working directory.
using System;
using System.Diagnostics;
using System.Globalization;
using System.IO;
using System.Text;

namespace Korvid.ManagedHost
{
    static class Clips
    {
        static string Make(string name, string arguments)
        {
            string path = Path.Combine(Directory.GetCurrentDirectory(), name);
            if (File.Exists(path)) return path;
            var start = new ProcessStartInfo("ffmpeg", "-nostdin -loglevel error -y " + arguments + " \"" + path + "\"")
            {
                UseShellExecute = false,
                RedirectStandardError = true,
            };
            using (Process ffmpeg = Process.Start(start))
            {
                string errors = ffmpeg.StandardError.ReadToEnd();
                ffmpeg.WaitForExit();
                if (ffmpeg.ExitCode != 0) throw new InvalidOperationException("ffmpeg failed for " + name + ": " + errors);
            }
            return path;
        }

        static string Seconds(double s) { return s.ToString("0.###", CultureInfo.InvariantCulture); }

        /// <summary>One colour over the whole picture, no sound.</summary>
        public static string Solid(string colour, double seconds, string size = "160x90")
        {
            return Make("solid-" + colour + "-" + size + "-" + Seconds(seconds) + ".mp4",
                        "-f lavfi -i color=c=" + colour + ":s=" + size + ":r=25 -t " + Seconds(seconds) +
                        " -c:v libx264 -preset ultrafast -pix_fmt yuv420p");
        }

        /// <summary>A test pattern with one sine tone.</summary>
        public static string AudioVideo(double seconds)
        {
            return Make("av-" + Seconds(seconds) + ".mp4",
                        "-f lavfi -i testsrc=s=320x240:r=25 -f lavfi -i sine=f=440:sample_rate=48000 -t " + Seconds(seconds) +
                        " -c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 25 -c:a aac -shortest");
        }

        /// <summary>Video with two audio tracks (English 440 Hz, French 880 Hz) in a Matroska file.</summary>
        public static string TwoAudioTracks(double seconds)
        {
            return Make("two-audio-" + Seconds(seconds) + ".mkv",
                        "-f lavfi -i testsrc=s=320x240:r=25 -f lavfi -i sine=f=440 -f lavfi -i sine=f=880 -t " + Seconds(seconds) +
                        " -map 0:v -map 1:a -map 2:a -c:v libx264 -preset ultrafast -pix_fmt yuv420p -c:a aac" +
                        " -metadata:s:a:0 language=eng -metadata:s:a:1 language=fra -shortest");
        }

        /// <summary>
        /// Writes a SubRip file (UTF-8, LF line ends) into the clips' directory. Its name must not
        /// contain a clip's name: the engine would load it as the clip's own subtitle track.
        /// </summary>
        public static string SubRip(string name, string content)
        {
            string path = Path.Combine(Directory.GetCurrentDirectory(), name);
            File.WriteAllText(path, content.Replace("\r\n", "\n"), new UTF8Encoding(false));
            return path;
        }
    }
}
