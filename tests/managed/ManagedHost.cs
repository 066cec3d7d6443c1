// The managed test host: the C# binding checked against the C header and the
// built library's export list, and KorvidPlayer driven through one host's
// routine on the real library. The C tests prove what the library does; this
// proves that a managed host reaches it intact.
//
//   mono korvid_managed_host.exe exports/korvid_exports.h tests/expected_exports.txt
//
// The library is found by the loader (LD_LIBRARY_PATH); media are made in the
// working directory. Ends with the line "N passed, N failed".
using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Text;
using System.Text.RegularExpressions;
using System.Threading;
using System.Threading.Tasks;

namespace Korvid.ManagedHost
{
    static class Program
    {
        static List<string> failures = new List<string>();

        static void Check(bool condition, string what) { if (!condition) failures.Add(what); }

        static void Require(bool condition, string what) { if (!condition) throw new Exception(what); }

        static void Throws<T>(Action call, string what) where T : Exception
        {
            try { call(); failures.Add(what + ": no exception"); }
            catch (T) { }
        }

        /// <summary>Polls <paramref name="condition"/> once per simulated host frame until it holds or the deadline passes.</summary>
        static bool WaitUntil(Func<bool> condition, Action eachFrame = null, int timeoutMs = 15000)
        {
            for (var clock = Stopwatch.StartNew(); clock.ElapsedMilliseconds < timeoutMs; Thread.Sleep(10))
            {
                if (eachFrame != null) eachFrame();
                if (condition()) return true;
            }
            return false;
        }

        static int Main(string[] args)
        {
            var cases = new List<KeyValuePair<string, Action>>
            {
                new KeyValuePair<string, Action>("declarations", () => Declarations(args[0], args[1])),
                new KeyValuePair<string, Action>("one host's routine", Routine),
            };
            int passed = 0;
            foreach (var c in cases)
            {
                failures = new List<string>();
                // A native call that never returns cannot be interrupted: the case runs on a thread of its own.
                var thread = new Thread(() =>
                {
                    try { c.Value(); }
                    catch (Exception e) { failures.Add(e.ToString()); }
                }) { IsBackground = true };
                thread.Start();
                if (!thread.Join(TimeSpan.FromSeconds(180))) failures.Add("no result after 180 s");
                Console.WriteLine((failures.Count == 0 ? "PASS " : "FAIL ") + c.Key + string.Concat(failures.Select(f => "\n    " + f)));
                if (failures.Count == 0) passed++;
                if (thread.IsAlive) break;  // the library may still be inside the hung call
            }
            Console.WriteLine(passed + " passed, " + (cases.Count - passed) + " failed");
            return passed == cases.Count ? 0 : 1;
        }

        // --- the binding against the header and the built library -----------------------------

        /// <summary>Why a C# parameter or result does not fit its C type, or null when it fits.</summary>
        static string Mismatch(string cType, Type type, MarshalAsAttribute marshal)
        {
            UnmanagedType? how = marshal == null ? (UnmanagedType?)null : marshal.Value;
            switch (cType)
            {
                case "void": return type == typeof(void) ? null : "must be void";
                case "bool": return type == typeof(bool) && how == UnmanagedType.U1 ? null : "must be bool with MarshalAs(U1)";
                case "uint8_t": return type == typeof(byte) ? null : "must be byte";
                case "int32_t": return type == typeof(int) ? null : "must be int";
                case "uint32_t": return type == typeof(uint) ? null : "must be uint";
                case "float": return type == typeof(float) ? null : "must be float";
                case "const char*": return type == typeof(string) && how == UnmanagedType.LPStr ? null : "must be string with MarshalAs(LPStr)";
                case "char*":
                case "uint8_t*": return type == typeof(byte[]) || type == typeof(IntPtr) ? null : "a buffer must be byte[] or IntPtr";
                case "void*": return type == typeof(IntPtr) ? null : "must be IntPtr";
                default: return "unknown C type " + cType;
            }
        }

        static MarshalAsAttribute MarshalOf(ParameterInfo p)
        {
            return (MarshalAsAttribute)Attribute.GetCustomAttribute(p, typeof(MarshalAsAttribute));
        }

        static void Declarations(string headerPath, string expectedPath)
        {
            Func<string, string> normalise = t => Regex.Replace(t.Replace("*", " * "), @"\s+", " ").Trim().Replace(" *", "*");
            var export = new Regex(@"^KORVID_EXPORT\s+(?<ret>[\w\s\*]+?)\s*\b(?<name>\w+)\((?<params>[^)]*)\);");
            var header = File.ReadAllLines(headerPath).Select(l => export.Match(l.Trim())).Where(m => m.Success).ToDictionary(
                m => m.Groups["name"].Value,
                m => new[] { m.Groups["ret"].Value }.Concat(m.Groups["params"].Value.Trim() == "void" ? new string[0] :
                     m.Groups["params"].Value.Split(new[] { ',' }, StringSplitOptions.RemoveEmptyEntries)
                         .Select(p => Regex.Replace(p.Trim(), @"\w+$", ""))).Select(normalise).ToArray());
            var declared = typeof(KorvidNative).GetMethods(BindingFlags.Public | BindingFlags.Static)
                .Where(m => Attribute.IsDefined(m, typeof(DllImportAttribute))).ToDictionary(m => m.Name);
            var built = File.ReadAllLines(expectedPath).Select(l => l.Trim()).Where(l => l.Length > 0 && !l.StartsWith("#")).ToList();
            Require(header.Count > 0, "no export found in " + headerPath);
            foreach (string name in header.Keys.Union(built).Union(declared.Keys))
            {
                Check(header.ContainsKey(name) && built.Contains(name) && declared.ContainsKey(name),
                      name + ": in the header " + header.ContainsKey(name) + ", built " + built.Contains(name) + ", declared " + declared.ContainsKey(name));
                Check(!built.Contains(name) || KorvidNative.IsAvailable(name), name + " does not resolve in the built library");
                MethodInfo m;
                string[] c;
                if (!declared.TryGetValue(name, out m) || !header.TryGetValue(name, out c)) continue;
                var import = (DllImportAttribute)Attribute.GetCustomAttribute(m, typeof(DllImportAttribute));
                Check(import.Value == KorvidNative.LibraryName && import.CallingConvention == CallingConvention.Cdecl &&
                      (import.EntryPoint ?? m.Name) == name, name + ": library, calling convention or entry point");
                ParameterInfo[] ps = m.GetParameters();
                Check(ps.Length == c.Length - 1, name + ": " + ps.Length + " parameters, the header has " + (c.Length - 1));
                string why = Mismatch(c[0], m.ReturnType, MarshalOf(m.ReturnParameter));
                Check(why == null, name + " result (" + c[0] + "): " + why);
                for (int i = 0; i < ps.Length && i + 1 < c.Length; i++)
                {
                    why = Mismatch(c[i + 1], ps[i].ParameterType, MarshalOf(ps[i]));
                    Check(why == null, name + " parameter " + ps[i].Name + " (" + c[i + 1] + "): " + why);
                }
            }
            // The library writes no terminator and may answer the previous count over a zeroed buffer.
            byte[] text = Encoding.UTF8.GetBytes("Größe\r\nzwei\r\n\0tail");
            Check(KorvidPlayer.DecodeSubtitle(text, text.Length) == "Größe\nzwei", "a cue cut at the first NUL, line ends as LF");
            Check(KorvidPlayer.DecodeSubtitle(text, 7) == "Größe", "a cue cut at the count");
            Check(KorvidPlayer.DecodeSubtitle(new byte[4], 4) == "" && KorvidPlayer.DecodeSubtitle(text, 99).Length == 10, "zeroed, or a count past the buffer");
        }

        // --- KorvidPlayer on the real library ----------------------------------------------------

        static string Make(string name, string ffmpegArguments)
        {
            string path = Path.Combine(Directory.GetCurrentDirectory(), name);
            var ffmpeg = Process.Start(new ProcessStartInfo("ffmpeg", "-nostdin -loglevel error -y " + ffmpegArguments + " " + name) { UseShellExecute = false });
            ffmpeg.WaitForExit();
            Require(ffmpeg.ExitCode == 0, "ffmpeg failed for " + name);
            return path;
        }

        static bool Red(byte[] frame, int x, int y)
        {
            int i = y * KorvidNative.FrameStride + x * 4;
            return frame[i] > 200 && frame[i + 1] < 48 && frame[i + 2] < 48;
        }

        static void Routine()
        {
            string clip = Make("red.mkv", "-f lavfi -i color=c=red:s=160x90:r=25 -f lavfi -i sine=f=440 -f lavfi -i sine=f=880 -t 8" +
                               " -map 0:v -map 1:a -map 2:a -c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 25 -c:a aac");
            // Its name must not start like the clip's, or the engine would load it as the clip's own track.
            string cues = Path.Combine(Directory.GetCurrentDirectory(), "cues.srt");
            File.WriteAllText(cues, "1\r\n00:00:01,000 --> 00:00:04,000\r\nGrüße vom Host\r\nzweite Zeile\r\n\r\n2\r\n00:00:05,000 --> 00:00:06,000\r\nlast\r\n");
            var events = new List<KorvidEvent>();
            var named = new List<string>();
            var frame = new byte[KorvidNative.FrameBytes];
            using (var p = new KorvidPlayer(new KorvidPlayerOptions { AutoPlay = false }))
            {
                p.EventReceived += (s, e) => events.Add(e.Kind);
                p.Ready += (s, e) => named.Add("Ready");
                p.Paused += (s, e) => named.Add("Paused");
                Action frameWork = () => { p.Update(); p.TryGetFrame(frame); };
                Func<KorvidEvent, bool> waitFor = kind => WaitUntil(() => events.Contains(kind), frameWork);
                Func<string> describe = () => string.Join(" ", events);

                // Opened on the worker: the host's frames go on meanwhile and each returns at once.
                long slowest = 0;
                Task<OpenResult> open = p.OpenAsync(clip);
                Require(WaitUntil(() => open.IsCompleted, () =>
                {
                    var f = Stopwatch.StartNew();
                    frameWork();
                    slowest = Math.Max(slowest, f.ElapsedMilliseconds);
                }), "the open did not complete");
                Check(slowest < 100, "a host frame took " + slowest + " ms during the open");
                Require(open.Result == OpenResult.Playing, "open: " + open.Result);
                Require(waitFor(KorvidEvent.Paused), "no automatic pause: " + describe());
                var run = new[] { KorvidEvent.Buffering, KorvidEvent.BufferingFinished, KorvidEvent.Ready, KorvidEvent.Playing, KorvidEvent.Paused };
                Check(events[0] == KorvidEvent.Opening && Enumerable.Range(0, events.Count).Any(i => events.Skip(i).Take(5).SequenceEqual(run)),
                      "opening, then buffering, finished, ready, playing, paused: " + describe());
                Check(named.Count(n => n == "Ready") == events.Count(e => e == KorvidEvent.Ready) && named.Contains("Paused"), "named events");
                Check(p.State == KorvidState.Paused && Math.Abs(p.DurationMs - 8000) < 500 && p.VideoWidth == 160 && p.VideoHeight == 90 && !p.IsLive,
                      "state " + p.State + ", duration " + p.DurationMs + ", size " + p.VideoWidth + "x" + p.VideoHeight + ", live " + p.IsLive);

                // Subtitles, and a seek into the first cue while paused.
                Task<bool> subtitles = p.OpenSubtitlesAsync(cues);
                Require(WaitUntil(() => subtitles.IsCompleted, frameWork) && subtitles.Result, "the subtitle file was not accepted");
                events.Clear();
                Require(p.Seek(2000) == SeekResult.Done && waitFor(KorvidEvent.SeekCompleted), "seek: " + describe());
                Check(WaitUntil(() => p.UpdateSubtitle() == "Grüße vom Host\nzweite Zeile", frameWork), "subtitle \"" + p.SubtitleText + "\"");
                Check(p.CaptionStreamCount == 1 && !p.SubtitlesEnded, "caption streams " + p.CaptionStreamCount);

                // Resume: the clock runs and the picture arrives red over the whole frame.
                events.Clear();
                Check(p.Resume() && waitFor(KorvidEvent.Playing), "resume: " + describe());
                int before = p.CurrentTimeMs;
                Check(WaitUntil(() => p.CurrentTimeMs > before + 300, frameWork), "the clock stays at " + before);
                Check(WaitUntil(() => Red(frame, 960, 540) && Red(frame, 1919, 1079), frameWork), "the picture is not red");
                Check(p.SetVolume(0.5f) && p.SetMute(true) && p.SetMute(false), "volume and mute");

                // Audio: the second track; back to the first would never return and is refused.
                int first = p.CurrentAudioTrack;
                Task<int> toSecond = p.SetAudioTrackAsync(first + 1);
                Check(WaitUntil(() => toSecond.IsCompleted, frameWork) && toSecond.Result == first + 1 && p.CurrentAudioTrack == first + 1,
                      "audio tracks " + p.AudioTrackCount + ", switch from " + first + " to " + p.CurrentAudioTrack);
                Task<int> back = p.SetAudioTrackAsync(first);
                Check(WaitUntil(() => back.IsCompleted, frameWork, 2000) && back.IsFaulted, "the switch back was not refused");

                // Pause, stop (queued at once), close.
                Check(p.Pause() && WaitUntil(() => p.State == KorvidState.Paused, frameWork), "pause: " + p.State);
                events.Clear();
                Check(p.Stop() && p.Update() > 0 && events.Contains(KorvidEvent.Stopped) && p.State == KorvidState.Stopped, "stop: " + p.State + " " + describe());
                Check(p.Close() && p.State == KorvidState.Closed, "close: " + p.State);
                Throws<ArgumentException>(() => p.TryGetFrame(new byte[16]), "a short frame buffer");
            }

            // Two slots, each with its own pictures.
            using (var p = new KorvidPlayer(new KorvidPlayerOptions { SlotCount = 2, AutoPlay = true }))
            {
                Task start = p.StartSlotAsync(1, clip);
                Require(WaitUntil(() => start.IsCompleted, () => p.Update()) && !start.IsFaulted, "slot 1 did not start");
                Check(WaitUntil(() => p.TryGetSlotFrame(1, frame) && Red(frame, 960, 540)), "slot 1 is not red");
                Check(WaitUntil(() => p.GetSlotTimeMs(1) > 500) && Math.Abs(p.GetSlotDurationMs(1) - 8000) < 500 && !p.IsSlotLive(1), "slot 1 clock");
                Throws<InvalidOperationException>(() => p.OpenAsync(clip), "OpenAsync with slots");
                Throws<InvalidOperationException>(() => p.StartSlotAsync(1, clip), "starting slot 1 twice");
                Throws<ArgumentOutOfRangeException>(() => p.StartSlotAsync(2, clip), "slot 2 of 2");
            }
        }
    }
}
