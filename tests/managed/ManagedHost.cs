// The managed test host: the C# binding checked against the C header and the
// built library's export list, then KorvidPlayer driven through one host's
// routine on the real library. The C tests prove what the library does; this
// proves that a managed host reaches it intact.
//
//   mono korvid_managed_host.exe exports/korvid_exports.h tests/expected_exports.txt
//
// The library is found by the loader (LD_LIBRARY_PATH); media are made in the
// working directory. Ends with the line "N failed".
using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Text.RegularExpressions;
using System.Threading;
using System.Threading.Tasks;

namespace Korvid.ManagedHost
{
    static class Program
    {
        static readonly List<string> failures = new List<string>();

        static void Check(bool condition, string what) { if (!condition) failures.Add(what); }

        static void Require(bool condition, string what) { if (!condition) throw new Exception(what); }

        static void Throws<T>(Action call, string what) where T : Exception
        {
            try { call(); Check(false, what + ": no exception"); } catch (T) { }
        }

        // Polls once per simulated host frame until the condition holds or the time is up.
        static bool WaitUntil(Func<bool> condition, Action eachFrame = null, int timeoutMs = 15000)
        {
            for (var clock = Stopwatch.StartNew(); clock.ElapsedMilliseconds < timeoutMs; Thread.Sleep(10))
            {
                eachFrame?.Invoke();
                if (condition()) return true;
            }
            return false;
        }

        // A native call that never returns cannot be interrupted: the caller's time limit ends a hung run.
        static int Main(string[] args)
        {
            try { Declarations(args[0], args[1]); Routine(); }
            catch (Exception e) { Check(false, e.ToString()); }
            failures.ForEach(f => Console.WriteLine("FAIL " + f));
            Console.WriteLine(failures.Count + " failed");
            return failures.Count == 0 ? 0 : 1;
        }

        // --- the binding against the header and the built library -----------------------------

        // How each C type of the header may be declared: the C# type's name and its MarshalAs, if any.
        static readonly Dictionary<string, string[]> Declarable = new Dictionary<string, string[]>
        {
            ["void"] = new[] { "Void" }, ["uint8_t"] = new[] { "Byte" }, ["int32_t"] = new[] { "Int32" },
            ["uint32_t"] = new[] { "UInt32" }, ["float"] = new[] { "Single" }, ["void*"] = new[] { "IntPtr" },
            ["bool"] = new[] { "Boolean U1" }, ["const char*"] = new[] { "String LPStr" },
            ["char*"] = new[] { "Byte[]", "IntPtr" }, ["uint8_t*"] = new[] { "Byte[]", "IntPtr" },
        };

        static string Declared(ParameterInfo p) =>
            p.ParameterType.Name + (Attribute.GetCustomAttribute(p, typeof(MarshalAsAttribute)) is MarshalAsAttribute marshal ? " " + marshal.Value : "");

        static void Declarations(string headerPath, string exportsPath)
        {
            // The result type, then each parameter's type without its name.
            var export = new Regex(@"^KORVID_EXPORT (?<result>.+?)\s*\b(?<name>\w+)\((?<params>[^)]*)\);");
            var header = File.ReadLines(headerPath).Select(l => export.Match(l.Trim())).Where(m => m.Success).ToDictionary(
                m => m.Groups["name"].Value,
                m => new[] { m.Groups["result"].Value }.Concat(m.Groups["params"].Value.Split(new[] { ',' }, StringSplitOptions.RemoveEmptyEntries)
                         .Select(p => Regex.Replace(p, @"\w+\s*$", "").Trim())).ToArray());
            var declared = typeof(KorvidNative).GetMethods().Where(m => Attribute.IsDefined(m, typeof(DllImportAttribute))).ToDictionary(m => m.Name);
            var built = File.ReadLines(exportsPath).Select(l => l.Trim()).Where(l => l.Length > 0 && !l.StartsWith("#")).ToList();
            foreach (string name in header.Keys.Union(built).Union(declared.Keys))
            {
                Check(header.ContainsKey(name) && built.Contains(name) && declared.ContainsKey(name), name + ": missing from the header, the list or the binding");
                Check(!built.Contains(name) || KorvidNative.IsAvailable(name), name + " does not resolve in the built library");
                if (!declared.TryGetValue(name, out MethodInfo m) || !header.TryGetValue(name, out string[] c)) continue;
                var import = (DllImportAttribute)Attribute.GetCustomAttribute(m, typeof(DllImportAttribute));
                Check(import.Value == KorvidNative.LibraryName && import.CallingConvention == CallingConvention.Cdecl &&
                      (import.EntryPoint ?? m.Name) == name, name + ": library, calling convention or entry point");
                string[] cs = new[] { m.ReturnParameter }.Concat(m.GetParameters()).Select(Declared).ToArray();
                Check(cs.Length == c.Length && c.Zip(cs, (t, d) => Declarable[t].Contains(d)).All(fits => fits),
                      name + ": (" + string.Join(", ", cs) + ") for (" + string.Join(", ", c) + ")");
            }
            // The library writes no terminator and may answer the previous count over a zeroed buffer.
            byte[] text = System.Text.Encoding.UTF8.GetBytes("Größe\r\nzwei\r\n\0tail");
            Check(KorvidPlayer.DecodeSubtitle(text, text.Length) == "Größe\nzwei", "a cue cut at the first NUL, line ends as LF");
            Check(KorvidPlayer.DecodeSubtitle(text, 7) == "Größe", "a cue cut at the count");
            Check(KorvidPlayer.DecodeSubtitle(new byte[4], 4) == "" && KorvidPlayer.DecodeSubtitle(text, 99).Length == 10, "zeroed, or a count past the buffer");
        }

        // --- KorvidPlayer on the real library ----------------------------------------------------

        static bool Red(byte[] frame, int x, int y)
        {
            int i = y * KorvidNative.FrameStride + x * 4;
            return frame[i] > 200 && frame[i + 1] < 48 && frame[i + 2] < 48;
        }

        static void Routine()
        {
            var ffmpeg = Process.Start(new ProcessStartInfo("ffmpeg", "-nostdin -loglevel error -y -f lavfi -i color=c=red:s=160x90:r=25" +
                " -f lavfi -i sine=f=440 -f lavfi -i sine=f=880 -t 8 -map 0:v -map 1:a -map 2:a -c:v libx264 -preset ultrafast" +
                " -pix_fmt yuv420p -g 25 -c:a aac red.mkv") { UseShellExecute = false });
            ffmpeg.WaitForExit();
            Require(ffmpeg.ExitCode == 0, "ffmpeg failed");
            string clip = Path.GetFullPath("red.mkv");
            // Its name must not start like the clip's, or the engine would load it as the clip's own track.
            string cues = Path.GetFullPath("cues.srt");
            File.WriteAllText(cues, "1\r\n00:00:01,000 --> 00:00:04,000\r\nGrüße vom Host\r\nzweite Zeile\r\n\r\n2\r\n00:00:05,000 --> 00:00:06,000\r\nlast\r\n");
            var events = new List<KorvidEvent>();
            var named = new List<KorvidEvent>();
            var frame = new byte[KorvidNative.FrameBytes];
            using (var p = new KorvidPlayer(new KorvidPlayerOptions { AutoPlay = false }))
            {
                p.EventReceived += (s, e) => events.Add(e.Kind);
                p.Ready += (s, e) => named.Add(KorvidEvent.Ready);
                p.Paused += (s, e) => named.Add(KorvidEvent.Paused);
                long slowest = 0;
                Action frameWork = () =>
                {
                    var clock = Stopwatch.StartNew();
                    p.Update(); p.TryGetFrame(frame);
                    slowest = Math.Max(slowest, clock.ElapsedMilliseconds);
                };
                Func<KorvidEvent, bool> waitFor = kind => WaitUntil(() => events.Contains(kind), frameWork);

                // Opened on the worker: the host's frames go on meanwhile and each returns at
                // once, here as during the other calls on the worker (checked after them).
                Task<OpenResult> open = p.OpenAsync(clip);
                Require(WaitUntil(() => open.IsCompleted, frameWork), "the open did not complete");
                Require(open.Result == OpenResult.Playing, "open: " + open.Result);
                Require(waitFor(KorvidEvent.Paused), "no automatic pause: " + string.Join(" ", events));
                var run = new[] { KorvidEvent.Buffering, KorvidEvent.BufferingFinished, KorvidEvent.Ready, KorvidEvent.Playing, KorvidEvent.Paused };
                Check(events[0] == KorvidEvent.Opening && Enumerable.Range(0, events.Count).Any(i => events.Skip(i).Take(5).SequenceEqual(run)),
                      "opening, then buffering, finished, ready, playing, paused: " + string.Join(" ", events));
                Check(named.SequenceEqual(events.Where(e => e == KorvidEvent.Ready || e == KorvidEvent.Paused)), "named events");
                Check(p.State == KorvidState.Paused && Math.Abs(p.DurationMs - 8000) < 500 && p.VideoWidth == 160 && p.VideoHeight == 90 && !p.IsLive,
                      "state, duration, size or live verdict");

                // Subtitles, and a seek into the first cue while paused.
                Task<bool> subtitles = p.OpenSubtitlesAsync(cues);
                Require(WaitUntil(() => subtitles.IsCompleted, frameWork) && subtitles.Result, "the subtitle file was not accepted");
                Require(p.Seek(2000) == SeekResult.Done && waitFor(KorvidEvent.SeekCompleted), "seek");
                Check(WaitUntil(() => p.UpdateSubtitle() == "Grüße vom Host\nzweite Zeile", frameWork), "subtitle \"" + p.SubtitleText + "\"");
                Check(p.CaptionStreamCount == 1 && !p.SubtitlesEnded, "caption streams");

                // Resume: the clock runs and the picture arrives red over the whole frame.
                events.Clear();
                Check(p.Resume() && waitFor(KorvidEvent.Playing), "resume");
                int before = p.CurrentTimeMs;
                Check(WaitUntil(() => p.CurrentTimeMs > before + 300, frameWork), "the clock stays at " + before);
                Check(WaitUntil(() => Red(frame, 960, 540) && Red(frame, 1919, 1079), frameWork), "the picture is not red");
                Check(p.SetVolume(0.5f) && p.SetMute(true) && p.SetMute(false), "volume and mute");

                // Audio: the second track; back to the first would never return and is refused.
                int first = p.CurrentAudioTrack;
                Task<int> toSecond = p.SetAudioTrackAsync(first + 1);
                Check(WaitUntil(() => toSecond.IsCompleted, frameWork) && toSecond.Result == first + 1 && p.CurrentAudioTrack == first + 1, "audio switch");
                Task<int> back = p.SetAudioTrackAsync(first);
                Check(WaitUntil(() => back.IsCompleted, frameWork, 2000) && back.IsFaulted, "the switch back was not refused");
                Check(slowest < 100, "a host frame took " + slowest + " ms while the worker held the library");

                // Pause, stop (queued at once), close.
                Check(p.Pause() && WaitUntil(() => p.State == KorvidState.Paused, frameWork), "pause");
                events.Clear();
                Check(p.Stop() && p.Update() > 0 && events.Contains(KorvidEvent.Stopped) && p.State == KorvidState.Stopped, "stop");
                Check(p.Close() && p.State == KorvidState.Closed, "close");
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
