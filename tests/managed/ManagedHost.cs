// The managed test host: the C# binding checked against the C header and the
// built library's export list, then KorvidPlayer driven through one host's
// routine on the real library. The C tests prove what the library does; this
// proves that a managed host reaches it intact.
//
//   mono korvid_managed_host.exe exports/korvid_exports.h tests/expected_exports.txt tests/support/loopback_server.py
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

        // Polls once per simulated host frame until the condition holds or the (generous) time is up.
        static bool WaitUntil(Func<bool> condition, Action eachFrame = null, int timeoutMs = 60000)
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
            if (args[0] == "--unchecked")  // the library alone on a subtitle file: see Survives
            {
                KorvidNative.NativeInit(0);
                KorvidNative.NativeOpenSubtitleURI(args[1]);
                KorvidNative.NativeUpdateSubtitle(new byte[KorvidNative.DefaultSubtitleBufferBytes]);
                Console.WriteLine("survived");
                return 0;
            }
            try { Declarations(args[0], args[1]); Routine(); Subtitles(args[2]); }
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
            var events = new List<KorvidEvent>();
            var named = new List<KorvidEvent>();
            var frame = new byte[KorvidNative.FrameBytes];
            using (var p = new KorvidPlayer(new KorvidPlayerOptions { AutoPlay = false }))
            {
                p.EventReceived += (s, e) => events.Add(e.Kind);
                p.Ready += (s, e) => named.Add(KorvidEvent.Ready);
                p.Paused += (s, e) => named.Add(KorvidEvent.Paused);
                Action frameWork = () => { p.Update(); p.TryGetFrame(frame); };
                Func<KorvidEvent, bool> waitFor = kind => WaitUntil(() => events.Contains(kind), frameWork);

                // Opened on the worker while the host's frames go on.
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
                Require(p.Seek(2000) == SeekResult.Done && waitFor(KorvidEvent.SeekCompleted), "seek");

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

                // Pause, stop (queued at once), close.
                Check(p.Pause() && WaitUntil(() => p.State == KorvidState.Paused, frameWork), "pause");
                events.Clear();
                Check(p.Stop() && p.Update() > 0 && events.Contains(KorvidEvent.Stopped) && p.State == KorvidState.Stopped, "stop");
                Check(p.Close() && p.State == KorvidState.Closed, "close");
            }

            // Two slots, each with its own pictures.
            using (var p = new KorvidPlayer(new KorvidPlayerOptions { SlotCount = 2, AutoPlay = true }))
            {
                Task start = p.StartSlotAsync(1, clip);
                Require(WaitUntil(() => start.IsCompleted, () => p.Update()) && !start.IsFaulted, "slot 1 did not start");
                Check(WaitUntil(() => p.TryGetSlotFrame(1, frame) && Red(frame, 960, 540)), "slot 1 is not red");
                Check(WaitUntil(() => p.GetSlotTimeMs(1) > 500) && Math.Abs(p.GetSlotDurationMs(1) - 8000) < 500 && !p.IsSlotLive(1), "slot 1 clock");
            }
        }

        // --- subtitles: SubRip files checked before the library parses them, the walk off the host's thread ---

        // Each text is refused at `line`, or (line 0) accepted and walked: its cues appear in turn
        // while the clip plays. A file's last cue is never shown, so good ones end with a spare.
        // (No seeks: under load the engine may drop a seek made right after its automatic pause.)
        static readonly (string name, string text, int line, bool served, string[] walk)[] SubRipTable =
        {
            ("a field without digits, fetched", "1\n00:00:01,000 --> 00:00:02,000\nOne\n\n2\n00:00:03,000 --> 00:x0:04,000\nTwo\n", 6, true, null),
            ("a field too large for an int", "1\n00:00:01,000 --> 00:00:02,2147483648\nOne\n", 2, false, null),
            ("an empty field", "1\n00::01,000 --> 00:00:02,000\nOne\n", 2, false, null),
            ("an arrow in a cue's text", "1\n00:00:01,000 --> 00:00:02,000\nsee --> there\n", 3, false, null),
            ("an arrow that ends its line, CR LF", "1\r\n00:00:01,000 --> 00:00:02,000\r\nOne\r\n\r\n2\r\n00:00:03,000 -->\r\nTwo\r\n", 6, false, null),
            ("no line break after the timing line", "1\n00:00:01,000 --> 00:00:02,000", 2, false, null),
            ("a BOM before a timing line", "\uFEFF00:00:01,000 --> 00:00:02,000\nOne\n", 1, false, null),
            ("CR LF", "1\r\n00:00:00,000 --> 00:00:03,500\r\nEins\r\n\r\n2\r\n00:00:03,600 --> 00:00:07,600\r\nGrüße vom Host\r\nzweite Zeile\r\n\r\n" +
                "3\r\n00:00:30,000 --> 00:00:31,000\r\n(end)\r\n", 0, false, new[] { "Eins", "Grüße vom Host\nzweite Zeile" }),
            ("a BOM, and what std::stoi lets pass, fetched", "\uFEFF1\n00:00:00,000 --> 00:00:03,500x\nOne\n\n2\n +00:00:03,600 --> 00:00:07,600 align\nTwo\n\n" +
                "3\n00:00:30,-2147483648 --> 00:00:31,2147483647\n(end)", 0, true, new[] { "One", "Two" }),
        };

        static void Subtitles(string serverScript)
        {
            string clip = Path.GetFullPath("red.mkv"), root = Path.GetFullPath("served");
            Directory.CreateDirectory(root);
            // It ends with our end at the latest: its standard input is ours.
            var server = Process.Start(new ProcessStartInfo("python3", "\"" + serverScript + "\" \"" + root + "\"") { UseShellExecute = false, RedirectStandardInput = true });
            Require(WaitUntil(() => File.Exists(Path.Combine(root, ".port"))), "the loopback server did not start");
            string site = "http://127.0.0.1:" + File.ReadAllText(Path.Combine(root, ".port")) + "/";
            foreach (var row in SubRipTable)
            {
                // Its name must not start like the clip's, or the engine would load it as the clip's own track.
                string file = Path.Combine(root, row.name.Replace(' ', '-').Replace(",", "") + ".srt");
                File.WriteAllText(file, row.text);
                // Given the file unchecked, the library ends a child process exactly when the check refuses it.
                Check(Survives(file) == (row.line == 0), row.name + ": the library does not agree");
                WithPlayingClip(row.line == 0 ? clip : null, p =>
                {
                    SubtitleOpenResult opened = Finish(p, p.OpenSubtitlesAsync(row.served ? site + Path.GetFileName(file) : file));
                    Check(opened.Accepted == (row.line == 0) && opened.Line == row.line, row.name + ": " + opened);
                    foreach (string cue in row.walk ?? new string[0])
                        Check(WaitUntil(() => p.UpdateSubtitle() == cue), row.name + ": at " + p.CurrentTimeMs + " ms \"" + p.SubtitleText + "\", not \"" + cue + "\"");
                });
            }
            HeldDownloads(clip, root, site);
            server.StandardInput.Close();
            server.WaitForExit();
        }

        // The server holds the master playlist while the worker's open waits for it, then the next
        // segment while the subtitle thread's walk waits for it. The host's calls, made here on the
        // test's own thread, return meanwhile (a call that waited would hang the test): while the
        // worker holds the library they skip it, while the walk downloads they reach it. Once the
        // segment is let go, its cue appears.
        static void HeldDownloads(string clip, string root, string site)
        {
            File.WriteAllText(Path.Combine(root, "master.m3u8"), "#EXTM3U\n#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"s\",LANGUAGE=\"en\",URI=\"subs.m3u8\"\n");
            File.WriteAllText(Path.Combine(root, "subs.m3u8"), "#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\nseg0.vtt\n#EXTINF:4,\nseg1.vtt\n#EXT-X-ENDLIST\n");
            File.WriteAllText(Path.Combine(root, "seg0.vtt"), "WEBVTT\n\n00:00:00.000 --> 00:00:00.200\nfirst\n");
            File.WriteAllText(Path.Combine(root, "seg1.vtt"), "WEBVTT\n\n00:00:00.300 --> 00:00:07.800\nsecond\n");
            string[] held = { "master.m3u8", "seg1.vtt" };
            Func<string, bool> asked = file => File.ReadAllText(Path.Combine(root, ".requests")).Contains("/" + file + "\t");
            var frame = new byte[KorvidNative.FrameBytes];
            // Should a check fail while a download is held, the player's shut-down is left to a
            // thread of its own and the process still ends.
            Array.ForEach(held, file => File.WriteAllText(Path.Combine(root, file + "~hold"), ""));
            WithPlayingClip(clip, p =>
            {
                Task<SubtitleOpenResult> open = p.OpenSubtitlesAsync(site + held[0]);
                Require(WaitUntil(() => asked(held[0])), "no request for the master playlist");
                Check(p.IsBusy && p.Update() == 0 && !p.TryGetFrame(frame) && p.UpdateSubtitle() == "", "the host's calls while the worker waits");
                File.Delete(Path.Combine(root, held[0] + "~hold"));
                Require(Finish(p, open).Accepted, "the HLS subtitles did not open");
                Require(WaitUntil(() => asked(held[1]), () => p.UpdateSubtitle()), "the walk never asked for the next segment");
                Check(p.Update() >= 0 && p.TryGetFrame(frame) && p.UpdateSubtitle() != "second", "the host's calls while the walk waits");
                File.Delete(Path.Combine(root, held[1] + "~hold"));
                Check(WaitUntil(() => p.UpdateSubtitle() == "second"), "the held segment's cue: \"" + p.SubtitleText + "\"");
            });
        }

        // A new player (the library takes one subtitle source per start-up), playing the clip if there is one.
        static void WithPlayingClip(string clip, Action<KorvidPlayer> use)
        {
            using (var p = new KorvidPlayer(new KorvidPlayerOptions { AutoPlay = true }))
            {
                Require(clip == null || Finish(p, p.OpenAsync(clip)) == OpenResult.Playing, "the clip did not open");
                use(p);
            }
        }

        static T Finish<T>(KorvidPlayer p, Task<T> task)
        {
            Require(WaitUntil(() => task.IsCompleted, () => p.Update()), "a call on the worker did not complete");
            return task.Result;
        }

        // Whether a child process survives the library parsing `file` unchecked (a C++ exception out of NativeUpdateSubtitle ends it).
        static bool Survives(string file)
        {
            var start = new ProcessStartInfo(Process.GetCurrentProcess().MainModule.FileName, "\"" + Assembly.GetExecutingAssembly().Location + "\" --unchecked \"" + file + "\"")
                { UseShellExecute = false, RedirectStandardOutput = true, RedirectStandardError = true };
            start.EnvironmentVariables["MONO_DEBUG"] = "no-gdb-backtrace";
            using (var child = Process.Start(start))
            {
                child.BeginErrorReadLine();  // the runtime's crash report, dropped
                return child.StandardOutput.ReadToEnd().Contains("survived");
            }
        }
    }
}
