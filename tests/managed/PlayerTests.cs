// KorvidPlayer on the real library: opening on the worker, the events the host
// sees, transport control, pictures, subtitles and audio tracks.
using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Linq;
using System.Threading.Tasks;
using static Korvid.ManagedHost.Harness;

namespace Korvid.ManagedHost
{
    /// <summary>A player with every event it raised recorded, in order.</summary>
    sealed class RecordingPlayer : IDisposable
    {
        public readonly KorvidPlayer Player;
        public readonly List<KorvidEvent> Events = new List<KorvidEvent>();
        public readonly Dictionary<string, int> Named = new Dictionary<string, int>();

        public RecordingPlayer(KorvidPlayerOptions options)
        {
            Player = new KorvidPlayer(options);
            Player.EventReceived += (s, e) => Events.Add(e.Kind);
            Player.Ready += (s, e) => Count("Ready");
            Player.Playing += (s, e) => Count("Playing");
            Player.Paused += (s, e) => Count("Paused");
            Player.Stopped += (s, e) => Count("Stopped");
            Player.EndReached += (s, e) => Count("EndReached");
            Player.SeekCompleted += (s, e) => Count("SeekCompleted");
        }

        void Count(string name)
        {
            int n;
            Named.TryGetValue(name, out n);
            Named[name] = n + 1;
        }

        public int NamedCount(string name)
        {
            int n;
            return Named.TryGetValue(name, out n) ? n : 0;
        }

        public int CountOf(KorvidEvent kind) { return Events.Count(e => e == kind); }

        /// <summary>Pumps events once per frame until <paramref name="count"/> events of <paramref name="kind"/> have arrived.</summary>
        public bool WaitFor(KorvidEvent kind, int count = 1, int timeoutMs = 10000)
        {
            return WaitUntil(() => CountOf(kind) >= count, timeoutMs, () => Player.Update());
        }

        public bool WaitFor(Func<bool> condition, int timeoutMs = 10000)
        {
            return WaitUntil(condition, timeoutMs, () => Player.Update());
        }

        /// <summary>Opens on the worker and completes the open, pumping events meanwhile.</summary>
        public OpenResult Open(string location)
        {
            Task<OpenResult> open = Player.OpenAsync(location);
            Require(WaitFor(() => open.IsCompleted, 20000), "the open did not complete");
            return open.Result;
        }

        public string Describe() { return "events: " + string.Join(" ", Events); }

        public void Dispose() { Player.Dispose(); }
    }

    static class PlayerTests
    {
        /// <summary>True when every pixel of <paramref name="points"/> is near (r, g, b).</summary>
        public static bool Shows(byte[] frame, int r, int g, int b, params int[][] points)
        {
            return points.All(p =>
            {
                int i = p[1] * KorvidNative.FrameStride + p[0] * 4;
                return Math.Abs(frame[i] - r) < 40 && Math.Abs(frame[i + 1] - g) < 40 && Math.Abs(frame[i + 2] - b) < 40;
            });
        }

        public static string PixelText(byte[] frame, int x, int y)
        {
            int i = y * KorvidNative.FrameStride + x * 4;
            return frame[i] + "," + frame[i + 1] + "," + frame[i + 2] + "," + frame[i + 3];
        }

        public static readonly int[] Centre = { 960, 540 };
        public static readonly int[] Corner = { 1919, 1079 };

        public static void Register()
        {
            string[] playback = { "NativeOpenURI", "NativeGetPlayerState", "NativeQueuePop" };

            Add("an open on the worker leaves the host thread free; events arrive in order", playback, () =>
            {
                using (var p = new RecordingPlayer(new KorvidPlayerOptions { AutoPlay = false }))
                {
                    string clip = Clips.AudioVideo(6);
                    var clock = Stopwatch.StartNew();
                    Task<OpenResult> open = p.Player.OpenAsync(clip);
                    long launch = clock.ElapsedMilliseconds;
                    // Host frames while the library is inside the open: each returns at once.
                    long slowestFrame = 0;
                    var frame = new byte[KorvidNative.FrameBytes];
                    Require(WaitUntil(() =>
                    {
                        bool busy = p.Player.IsBusy;
                        var f = Stopwatch.StartNew();
                        p.Player.Update();
                        var state = p.Player.State;
                        p.Player.TryGetFrame(frame);
                        if (busy) slowestFrame = Math.Max(slowestFrame, f.ElapsedMilliseconds);
                        return open.IsCompleted;
                    }, 20000), "the open did not complete");
                    Check(launch < 100, "OpenAsync took " + launch + " ms to return");
                    Check(slowestFrame < 100, "a host frame took " + slowestFrame + " ms during the open");
                    Require(open.Result == OpenResult.Playing, "open: " + open.Result);

                    // Auto-play off: opening, buffering, then at 100 percent buffering,
                    // finished, ready, playing and the automatic pause.
                    Require(p.WaitFor(KorvidEvent.Paused), "no pause after the first buffering; " + p.Describe());
                    Check(p.Events[0] == KorvidEvent.Opening, "the first event is not Opening; " + p.Describe());
                    var run = new[] { KorvidEvent.Buffering, KorvidEvent.BufferingFinished, KorvidEvent.Ready, KorvidEvent.Playing, KorvidEvent.Paused };
                    bool hasRun = Enumerable.Range(0, p.Events.Count - run.Length + 1).Any(i => p.Events.Skip(i).Take(run.Length).SequenceEqual(run));
                    Check(hasRun, "no run Buffering BufferingFinished Ready Playing Paused; " + p.Describe());
                    // The named events mirror the codes (the engine may buffer, and so report Ready, again).
                    Check(p.NamedCount("Ready") == p.CountOf(KorvidEvent.Ready) && p.NamedCount("Paused") == p.CountOf(KorvidEvent.Paused) &&
                          p.NamedCount("Playing") == p.CountOf(KorvidEvent.Playing),
                          "named events: Ready " + p.NamedCount("Ready") + ", Paused " + p.NamedCount("Paused") + "; " + p.Describe());
                    Check(p.Player.State == KorvidState.Paused, "state " + p.Player.State);
                    Check(Math.Abs(p.Player.DurationMs - 6000) < 500, "duration " + p.Player.DurationMs);
                    Check(p.Player.VideoWidth == 320 && p.Player.VideoHeight == 240, "size " + p.Player.VideoWidth + "x" + p.Player.VideoHeight);
                    Check(!p.Player.IsLive, "a local file reads as live");
                }
            });

            Add("transport controls reach the player and come back as events", playback, () =>
            {
                using (var p = new RecordingPlayer(new KorvidPlayerOptions { AutoPlay = false }))
                {
                    Require(p.Open(Clips.AudioVideo(8)) == OpenResult.Playing, "open");
                    Require(p.WaitFor(KorvidEvent.Paused, 2), "the automatic pause and the engine's report; " + p.Describe());

                    p.Events.Clear();
                    Check(p.Player.Seek(3000) == SeekResult.Done, "seek while paused");
                    Require(p.WaitFor(KorvidEvent.SeekCompleted), "no SeekCompleted; " + p.Describe());
                    Check(!p.Events.Contains(KorvidEvent.Ready), "a seek queued Ready; " + p.Describe());
                    Check(p.WaitFor(() => p.Player.State == KorvidState.Paused), "a seek while paused stays paused: " + p.Player.State);
                    Check(Math.Abs(p.Player.CurrentTimeMs - 3000) < 600, "time after the seek " + p.Player.CurrentTimeMs);

                    p.Events.Clear();
                    Check(p.Player.Resume(), "resume");
                    Check(p.WaitFor(KorvidEvent.Playing), "no Playing after Resume; " + p.Describe());
                    int before = p.Player.CurrentTimeMs;
                    Check(p.WaitFor(() => p.Player.CurrentTimeMs > before + 300), "time does not advance from " + before);
                    Check(p.Player.SetVolume(0.5f) && p.Player.SetMute(true) && p.Player.SetMute(false), "volume and mute");

                    Check(p.Player.Pause(), "pause");
                    Check(p.WaitFor(() => p.Player.State == KorvidState.Paused), "state after Pause " + p.Player.State);

                    p.Events.Clear();
                    Check(p.Player.Stop(), "stop");
                    // The library queues Stopped at once, before the engine has stopped.
                    p.Player.Update();
                    Check(p.Events.Contains(KorvidEvent.Stopped), "Stopped is not queued at once; " + p.Describe());
                    Check(p.Player.State == KorvidState.Stopped, "state after Stop " + p.Player.State);

                    Check(p.Player.Close(), "close");
                    Check(p.Player.State == KorvidState.Closed, "state after Close " + p.Player.State);
                    Throws<ArgumentException>(() => p.Player.TryGetFrame(new byte[1920 * 4]), "a short frame buffer");
                }
            });

            Add("a solid red clip arrives red, green, blue, padding at the centre pixel", playback, () =>
            {
                using (var p = new RecordingPlayer(new KorvidPlayerOptions { AutoPlay = true }))
                {
                    Require(p.Open(Clips.Solid("red", 6)) == OpenResult.Playing, "open");
                    var frame = new byte[KorvidNative.FrameBytes];
                    // The copy runs one picture behind the engine: wait for a picture of this clip.
                    bool red = p.WaitFor(() => p.Player.TryGetFrame(frame) && Shows(frame, 255, 0, 0, Centre));
                    Check(red, "centre pixel " + PixelText(frame, 960, 540) + " is not red");
                    // A 160 x 90 source is scaled over the whole 1920 x 1080 frame.
                    Check(Shows(frame, 255, 0, 0, Corner), "corner pixel " + PixelText(frame, 1919, 1079));
                    Check(!p.Events.Contains(KorvidEvent.Paused), "auto-play paused; " + p.Describe());
                }
            });

            Add("a short clip plays to its end", playback, () =>
            {
                using (var p = new RecordingPlayer(new KorvidPlayerOptions { AutoPlay = true }))
                {
                    Require(p.Open(Clips.Solid("blue", 2)) == OpenResult.Playing, "open");
                    Check(p.WaitFor(KorvidEvent.EndOfContent, 1, 20000), "no EndOfContent; " + p.Describe());
                    Check(p.NamedCount("EndReached") == 1, "EndReached raised " + p.NamedCount("EndReached") + " times");
                }
            });

            Add("a missing file fails the open instead of hanging", playback, () =>
            {
                using (var p = new RecordingPlayer(new KorvidPlayerOptions()))
                {
                    OpenResult result = p.Open(System.IO.Path.Combine(System.IO.Directory.GetCurrentDirectory(), "no-such-clip.mp4"));
                    Check(result == OpenResult.EngineError, "open of a missing file: " + result);
                    Check(!p.Player.IsOpen, "a failed open counts as open");
                    Check(p.Player.Seek(1000) == SeekResult.NotIssued, "a seek without media was issued");
                }
            });

            Add("a SubRip cue arrives as text after seeking into it",
                new[] { "NativeOpenURI", "NativeOpenSubtitleURI", "NativeUpdateSubtitle", "KORVIDUnity_GetCaptionStreamCount" }, () =>
            {
                string clip = Clips.Solid("green", 8);
                // The second cue is the list's last, which the library never shows.
                string cues = Clips.SubRip("cues-green.srt",
                    "1\n00:00:01,000 --> 00:00:04,000\nGrüße vom Host\nzweite Zeile\n\n" +
                    "2\n00:00:05,000 --> 00:00:06,000\nnever shown\n");
                using (var p = new RecordingPlayer(new KorvidPlayerOptions { AutoPlay = false }))
                {
                    Require(p.Open(clip) == OpenResult.Playing, "open");
                    Require(p.WaitFor(KorvidEvent.Paused), "no automatic pause; " + p.Describe());
                    Task<bool> subtitles = p.Player.OpenSubtitlesAsync(cues);
                    Require(p.WaitFor(() => subtitles.IsCompleted) && subtitles.Result, "the subtitle file was not accepted");

                    Require(p.Player.Seek(2000) == SeekResult.Done, "seek into the cue");
                    Require(p.WaitFor(KorvidEvent.SeekCompleted), "no SeekCompleted; " + p.Describe());
                    const string cue = "Grüße vom Host\nzweite Zeile";
                    bool shown = p.WaitFor(() => p.Player.UpdateSubtitle() == cue, 5000);
                    Check(shown, "subtitle text \"" + p.Player.SubtitleText + "\" at " + p.Player.CurrentTimeMs + " ms");
                    Check(!p.Player.SubtitlesEnded, "subtitles ended");
                    Check(p.Player.CaptionStreamCount == 1, "caption streams " + p.Player.CaptionStreamCount);
                    Check(p.Player.GetCaptionStreamId(0) == 0, "caption stream id");
                    Check(p.Player.CaptionEncodingType == 3, "encoding type " + p.Player.CaptionEncodingType);
                    Check(!p.Player.HasEmbeddedSubtitles(), "a clip without subtitle tracks reports embedded subtitles");
                }
            });

            Add("an audio switch returns with the new track playing",
                new[] { "NativeOpenURI", "KORVIDUnity_GetAudioStreamCount", "KORVIDUnity_GetCurrentAudioStreamID", "KORVIDUnity_SetAudioStream" }, () =>
            {
                using (var p = new RecordingPlayer(new KorvidPlayerOptions { AutoPlay = true }))
                {
                    Require(p.Open(Clips.TwoAudioTracks(10)) == OpenResult.Playing, "open");
                    Require(p.WaitFor(KorvidEvent.Playing), "not playing; " + p.Describe());
                    // The engine counts a "disable" entry besides the two tracks.
                    Check(p.Player.AudioTrackCount >= 2, "audio tracks " + p.Player.AudioTrackCount);
                    int first = p.Player.CurrentAudioTrack;
                    Require(first > 0, "current audio track " + first);
                    // This engine numbers a file's tracks in order, the video first: the
                    // second audio track follows the first.
                    int second = first + 1;
                    Task<int> toSecond = p.Player.SetAudioTrackAsync(second);
                    Require(p.WaitFor(() => toSecond.IsCompleted, 15000), "the switch to track " + second + " did not return");
                    Check(toSecond.Result == second, "the switch returned " + toSecond.Result);
                    Check(p.Player.CurrentAudioTrack == second, "current track after the switch " + p.Player.CurrentAudioTrack);
                    // Back to the first track would never return: refused before the library is called.
                    Task<int> back = p.Player.SetAudioTrackAsync(first);
                    Check(p.WaitFor(() => back.IsCompleted, 2000), "the switch back was not refused at once");
                    Check(back.IsFaulted && back.Exception.InnerException is InvalidOperationException, "the switch back was not refused");
                }
            }, 60);
        }
    }
}
