// KorvidPlayer: a managed player over KorvidNative, the object a Unity
// MonoBehaviour holds (see Unity/KorvidVideoSurface.cs).
//
// Threading. The library keeps one process-wide player record without locks.
// This class owns two gates (monitors) that the native calls pass through:
//   - `gate`, for the player: whoever holds it is the only thread in those
//     exports. The host's thread (Unity's main thread) makes the per-frame
//     calls: Update, TryGetFrame, the queries, the controls. They only *try* the
//     gate and never wait for it.
//   - A worker thread, one blocking call at a time, makes the calls that can
//     wait on a slow source or on the engine: OpenAsync (NativeOpenURI waits
//     until the engine plays), StartSlotAsync (live detection may download a
//     manifest), OpenSubtitlesAsync (checks a SubRip file, may download it or a
//     playlist) and SetAudioTrackAsync (waits until the engine changes track).
//     While one holds the gate, IsBusy is true and the host's calls skip the
//     library: Update raises nothing, TryGetFrame returns false, queries return
//     their last value and controls return false.
//   - `subtitleGate`, for the library's side-subtitle state. Its cue walk
//     (NativeUpdateSubtitle) may download a playlist or the next segment, so it
//     runs on a subtitle thread of ours that holds only this gate: the walk
//     shares nothing with the per-frame exports but the player's clock, which
//     the engine guards itself. Start-up and shut-down, the subtitle-source,
//     caption and embedded-subtitle exports and the slot starts (the walk reads
//     slot 2's clock) take both gates, `gate` first. UpdateSubtitle only asks
//     the walker for its next step and returns the text of the last one.
// C# events are raised on the thread that calls Update, after the gate has
// been released, so handlers may call back into the player.
//
// One KorvidPlayer may exist at a time in a process (the library has one
// player record); the constructor starts the engine and Dispose shuts it down.
using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.IO;
using System.Net;
using System.Text;
using System.Threading;
using System.Threading.Tasks;

namespace Korvid
{
    /// <summary>Event codes of the library's queue; the numbers are the library's.</summary>
    public enum KorvidEvent
    {
        Ready = 1,              // the first completed buffering after opening or restarting
        Playing = 2,
        EndOfContent = 3,
        BufferingFinished = 6,
        Paused = 9,
        Stopped = 12,
        SeekCompleted = 13,
        Buffering = 14,
        Opening = 257,
    }

    /// <summary>The player's state as NativeGetPlayerState reports it.</summary>
    public enum KorvidState
    {
        Idle = 0,       // nothing open, opening, buffering, or an engine error
        Closed = 1,     // closed, ended, or failed to start
        Stopped = 2,
        Playing = 3,
        Paused = 4,
    }

    /// <summary>Result of NativeOpenURI.</summary>
    public enum OpenResult
    {
        Playing = 0,
        EngineError = -1,
        Refused = 1,
        NoMedia = 666,
    }

    /// <summary>Result of a seek request.</summary>
    public enum SeekResult
    {
        Done = 0,
        Refused = -1,
        NotSeekable = -3,
        NotIssued = 1,  // nothing open, or a blocking call holds the library
    }

    /// <summary>What OpenSubtitlesAsync did with a subtitle source.</summary>
    public sealed class SubtitleOpenResult
    {
        internal SubtitleOpenResult(bool accepted, int line, string reason)
        {
            Accepted = accepted;
            Line = line;
            Reason = reason;
        }

        /// <summary>The library took the source; UpdateSubtitle shows its cues.</summary>
        public bool Accepted { get; private set; }

        /// <summary>For a refused SubRip file, the first line (from 1) that the library could not parse; else 0.</summary>
        public int Line { get; private set; }

        /// <summary>Why the source was not taken; "" when it was.</summary>
        public string Reason { get; private set; }

        public override string ToString()
        {
            return Accepted ? "accepted" : Line > 0 ? "refused, line " + Line + ": " + Reason : "refused: " + Reason;
        }
    }

    public sealed class KorvidEventArgs : EventArgs
    {
        public KorvidEventArgs(int code, int param1, int param2, int param3)
        {
            Code = code;
            Param1 = param1;
            Param2 = param2;
            Param3 = param3;
        }

        public int Code { get; private set; }
        public KorvidEvent Kind { get { return (KorvidEvent)Code; } }
        public bool IsKnown { get { return Enum.IsDefined(typeof(KorvidEvent), Code); } }
        public int Param1 { get; private set; }
        public int Param2 { get; private set; }
        public int Param3 { get; private set; }

        public override string ToString() { return IsKnown ? Kind.ToString() : "event " + Code; }
    }

    public sealed class KorvidPlayerOptions
    {
        /// <summary>1: one main player. 2 to 4: that many multi-instance slots (StartSlotAsync).</summary>
        public int SlotCount = 1;
        /// <summary>Non-zero turns the library's method log (standard output) on.</summary>
        public byte LogLevel = 0;
        /// <summary>Off: an opened source pauses after its first buffering and waits for Play/Resume.</summary>
        public bool AutoPlay = false;
        /// <summary>Size of the subtitle text buffer, 1 to 10,000 bytes.</summary>
        public int SubtitleBufferBytes = KorvidNative.DefaultSubtitleBufferBytes;
        /// <summary>How long Dispose waits for a blocking call before deferring the shut-down to it.</summary>
        public int DisposeWaitMilliseconds = 5000;
    }

    public sealed class KorvidPlayer : IDisposable
    {
        /// <summary>The most slots that can play: the library has four slot frame callbacks.</summary>
        public const int MaxSlots = 4;

        private static int liveInstances;

        private readonly object gate = new object();         // held by whoever is inside the player's exports
        private readonly object subtitleGate = new object(); // held by whoever touches the subtitle state
        private readonly object workerLock = new object();   // guards `worker`
        private readonly object walkSignal = new object();   // guards `walker` and `stepWanted`
        private readonly KorvidPlayerOptions options;
        private readonly bool[] slotStarted;
        private readonly List<KorvidEventArgs> drained = new List<KorvidEventArgs>();
        private Task worker;
        private volatile bool disposed;
        private volatile bool opened;
        private volatile bool subtitlesOpen;
        private volatile bool subtitlesEnded;
        private Thread walker;  // the subtitle thread, from the first accepted source on
        private bool stepWanted;
        private int initialAudioTrack = int.MinValue;  // the track the library compares every switch with

        // Last answers, returned while the library is held by a blocking call.
        private int lastTimeMs, lastDurationMs, lastState;
        private bool lastLive;
        private volatile string subtitleText = string.Empty;

        public KorvidPlayer() : this(new KorvidPlayerOptions()) { }

        /// <summary>Starts the engine. Throws when another player is alive or the engine cannot start.</summary>
        public KorvidPlayer(KorvidPlayerOptions options)
        {
            if (options == null) throw new ArgumentNullException("options");
            if (options.SlotCount < 1 || options.SlotCount > MaxSlots)
                throw new ArgumentOutOfRangeException("options", "SlotCount must be 1 to " + MaxSlots);
            if (options.SubtitleBufferBytes < 1 || options.SubtitleBufferBytes > KorvidNative.DefaultSubtitleBufferBytes)
                throw new ArgumentOutOfRangeException("options", "SubtitleBufferBytes must be 1 to 10000");
            if (Interlocked.Increment(ref liveInstances) != 1)
            {
                Interlocked.Decrement(ref liveInstances);
                throw new InvalidOperationException("A KorvidPlayer is already alive; the library has one player record per process.");
            }
            this.options = options;
            slotStarted = new bool[options.SlotCount];
            try
            {
                lock (gate)
                lock (subtitleGate)
                {
                    KorvidNative.NativeSetLogLevel(options.LogLevel);
                    // The slot count has to be known before the engine starts; 1 keeps single-player mode.
                    if (options.SlotCount > 1) KorvidNative.NativeSetMultiStream(options.SlotCount);
                    int init = KorvidNative.NativeInit(options.LogLevel);
                    if (init != 0) throw new InvalidOperationException("NativeInit failed: " + init);
                    // After NativeInit, which caps the size at 10,000: the library clears and
                    // fills exactly this many bytes of the walker's buffer.
                    KorvidNative.NativeSetProperty(KorvidNative.PropertySubtitleBufferSize, options.SubtitleBufferBytes);
                    KorvidNative.NativeSetAutoPlay(options.AutoPlay);
                }
            }
            catch
            {
                Interlocked.Decrement(ref liveInstances);
                throw;
            }
        }

        // --- events ------------------------------------------------------------------------

        /// <summary>Every queued event, in queue order.</summary>
        public event EventHandler<KorvidEventArgs> EventReceived;
        public event EventHandler Ready;
        public event EventHandler Playing;
        public event EventHandler Paused;
        public event EventHandler Stopped;
        public event EventHandler EndReached;
        public event EventHandler SeekCompleted;

        /// <summary>Call once per frame: drains the library's queue and raises the events. Returns how many.</summary>
        public int Update() { return PumpEvents(); }

        public int PumpEvents()
        {
            if (disposed || !Monitor.TryEnter(gate)) return 0;
            drained.Clear();
            try
            {
                while (!KorvidNative.NativeQueueIsEmpty())
                {
                    drained.Add(new KorvidEventArgs(KorvidNative.NativeQueueFrontParamEvent(), KorvidNative.NativeQueueFrontParam1(),
                                                    KorvidNative.NativeQueueFrontParam2(), KorvidNative.NativeQueueFrontParam3()));
                    KorvidNative.NativeQueuePop();
                }
            }
            finally { Monitor.Exit(gate); }

            // A handler may call Update again, which reuses `drained`.
            KorvidEventArgs[] batch = drained.ToArray();
            foreach (KorvidEventArgs e in batch) Raise(e);
            return batch.Length;
        }

        private void Raise(KorvidEventArgs e)
        {
            EventHandler<KorvidEventArgs> any = EventReceived;
            if (any != null) any(this, e);
            EventHandler named = null;
            switch (e.Code)
            {
                case (int)KorvidEvent.Ready: named = Ready; break;
                case (int)KorvidEvent.Playing: named = Playing; break;
                case (int)KorvidEvent.Paused: named = Paused; break;
                case (int)KorvidEvent.Stopped: named = Stopped; break;
                case (int)KorvidEvent.EndOfContent: named = EndReached; break;
                case (int)KorvidEvent.SeekCompleted: named = SeekCompleted; break;
            }
            if (named != null) named(this, EventArgs.Empty);
        }

        // --- state ---------------------------------------------------------------------------

        /// <summary>The library's version; constant, so safe from any thread at any time.</summary>
        public static Version LibraryVersion
        {
            get
            {
                return new Version(KorvidNative.NativeGetVersionMajor(), KorvidNative.NativeGetVersionMinor(),
                                   KorvidNative.NativeGetVersionPatch());
            }
        }

        public bool IsMultiInstance { get { return options.SlotCount > 1; } }
        public int SlotCount { get { return options.SlotCount; } }

        /// <summary>True while a blocking call (open, slot start, subtitle open, audio switch) runs on the worker.</summary>
        public bool IsBusy
        {
            get { lock (workerLock) return worker != null && !worker.IsCompleted; }
        }

        public bool IsOpen { get { return opened; } }

        /// <summary>Playback time in ms. In multi-instance mode the library answers 1; use GetSlotTimeMs.</summary>
        public int CurrentTimeMs
        {
            get
            {
                if (opened && Monitor.TryEnter(gate))
                    try { lastTimeMs = KorvidNative.NativeGetCurrentTime(); } finally { Monitor.Exit(gate); }
                return lastTimeMs;
            }
        }

        /// <summary>Duration in ms. In multi-instance mode the library answers 100000; use GetSlotDurationMs.</summary>
        public int DurationMs
        {
            get
            {
                if (opened && Monitor.TryEnter(gate))
                    try { lastDurationMs = KorvidNative.NativeGetTotalTime(); } finally { Monitor.Exit(gate); }
                return lastDurationMs;
            }
        }

        /// <summary>The main player's state, or in multi-instance mode the selected slot's.</summary>
        public KorvidState State
        {
            get
            {
                if (!disposed && Monitor.TryEnter(gate))
                    try { lastState = KorvidNative.NativeGetPlayerState(); } finally { Monitor.Exit(gate); }
                return (KorvidState)lastState;
            }
        }

        /// <summary>The live verdict taken when the source was opened.</summary>
        public bool IsLive
        {
            get
            {
                if (!disposed && Monitor.TryEnter(gate))
                    try { lastLive = KorvidNative.NativeIsLive(); } finally { Monitor.Exit(gate); }
                return lastLive;
            }
        }

        /// <summary>The source's own size (frames are always delivered at 1920 x 1080); 0 in multi-instance mode.</summary>
        public int VideoWidth { get { return (int)Query(() => KorvidNative.NativeGetVideoWidth()); } }
        public int VideoHeight { get { return (int)Query(() => KorvidNative.NativeGetVideoHeight()); } }

        private uint Query(Func<uint> call)
        {
            if (!opened || !Monitor.TryEnter(gate)) return 0;
            try { return call(); } finally { Monitor.Exit(gate); }
        }

        // --- settings ------------------------------------------------------------------------

        /// <summary>Read by the library's event handlers: set it before opening.</summary>
        public bool AutoPlay
        {
            get { return options.AutoPlay; }
            set { if (Try(() => KorvidNative.NativeSetAutoPlay(value))) options.AutoPlay = value; }
        }

        /// <summary>Mutes the main player, or the selected slot.</summary>
        public bool SetMute(bool mute) { return opened && Try(() => KorvidNative.NativeSetMute(mute)); }

        /// <summary>1.0 is full volume; values above 1 amplify. Main player, or the selected slot.</summary>
        public bool SetVolume(float volume) { return opened && Try(() => KorvidNative.NativeSetVolume(volume)); }

        // --- opening and control (single-player mode) -----------------------------------------

        /// <summary>
        /// Opens a local path or an http(s)/rtmp location on a worker thread and completes when
        /// the engine plays or fails. The library sets no time limit: a source that neither plays
        /// nor fails keeps the task (and the library) busy.
        /// </summary>
        public Task<OpenResult> OpenAsync(string location)
        {
            if (location == null) throw new ArgumentNullException("location");
            RequireMode(false, "OpenAsync is for single-player mode; use StartSlotAsync");
            opened = false;
            return RunOnWorker(() =>
            {
                var result = (OpenResult)KorvidNative.NativeOpenURI(location);
                // Refused still leaves a player that the controls may restart.
                opened = result == OpenResult.Playing || result == OpenResult.Refused;
                return result;
            });
        }

        /// <summary>Starts from the beginning.</summary>
        public bool Play() { return opened && Try(() => KorvidNative.NativeStartPlayBack()); }

        /// <summary>Pauses. On the main player a second Pause resumes; a live stream is stopped and reported paused.</summary>
        public bool Pause() { return opened && Try(() => KorvidNative.NativePause()); }

        public bool Resume() { return opened && Try(() => KorvidNative.NativeResume()); }

        /// <summary>Stops; the Stopped event is queued at once.</summary>
        public bool Stop() { return opened && Try(() => KorvidNative.NativeStop()); }

        /// <summary>A paused or stopped player seeks and stays paused there; a playing one keeps playing.</summary>
        public SeekResult Seek(int positionMs)
        {
            if (!opened || disposed || !Monitor.TryEnter(gate)) return SeekResult.NotIssued;
            try { return (SeekResult)KorvidNative.NativeSeek(positionMs); } finally { Monitor.Exit(gate); }
        }

        /// <summary>Marks the player closed (state Closed); the engine's later stop reports are not queued until the next player.</summary>
        public bool Close() { return opened && Try(() => KorvidNative.NativeClose()); }

        /// <summary>
        /// Copies the newest picture (1920 x 1080, rows of 7680 bytes top row first, red, green,
        /// blue, padding) into <paramref name="buffer"/>, which must hold KorvidNative.FrameBytes.
        /// False when nothing is open or the library is held by a blocking call.
        /// </summary>
        public bool TryGetFrame(byte[] buffer)
        {
            RequireFrameBuffer(buffer);
            if (!opened || disposed || !Monitor.TryEnter(gate)) return false;
            try { return KorvidNative.NativeGetRawData(buffer) == KorvidNative.FrameBytes; }
            finally { Monitor.Exit(gate); }
        }

        // --- subtitles ----------------------------------------------------------------------------

        /// <summary>
        /// Loads side subtitles on the worker: an HLS master playlist (.m3u8) or a SubRip file
        /// (.srt), by path or http(s) URL. A SubRip file is read (or fetched) and checked first;
        /// one the library's parser would fail on, which would end the process at the first
        /// UpdateSubtitle, is refused with its first bad line and never reaches the library. A good
        /// file goes to the library as it is, by its location. The check sees the file as it is
        /// now: do not change it afterwards.
        /// </summary>
        public Task<SubtitleOpenResult> OpenSubtitlesAsync(string uri)
        {
            if (uri == null) throw new ArgumentNullException("uri");
            return StartWorker(() =>
            {
                // Outside the gate: a fetch here keeps neither the frames nor the walk waiting.
                SubtitleOpenResult refusal = SubRipCheck.IsSubRip(uri) ? SubRipCheck.Refusal(uri) : null;
                if (refusal != null) return refusal;
                bool found = InLibrary(true, () => KorvidNative.NativeOpenSubtitleURI(uri));
                if (!found) return new SubtitleOpenResult(false, 0, "the library took no subtitle track from it");
                subtitlesOpen = true;
                StartWalker();
                return new SubtitleOpenResult(true, 0, string.Empty);
            });
        }

        /// <summary>The text shown by the last UpdateSubtitle ("" when none).</summary>
        public string SubtitleText { get { return subtitleText; } }

        /// <summary>True once the library has reported that its subtitles ended (until the next player).</summary>
        public bool SubtitlesEnded { get { return subtitlesEnded; } }

        /// <summary>
        /// Returns at once with the text of the cue due at the player's time ("" when none), as the
        /// subtitle thread last read it, and asks that thread for its next step. Call it every
        /// frame while subtitles are open. The step may download (a playlist, the next HLS
        /// segment, a SubRip URL); meanwhile this returns the previous text.
        /// </summary>
        public string UpdateSubtitle()
        {
            if (subtitlesOpen && !subtitlesEnded && !disposed)
            {
                lock (walkSignal)
                {
                    stepWanted = true;
                    Monitor.Pulse(walkSignal);
                }
            }
            return subtitleText;
        }

        private void StartWalker()
        {
            lock (walkSignal)
            {
                if (walker != null) return;
                walker = new Thread(WalkSubtitles) { IsBackground = true, Name = "Korvid subtitles" };
                walker.Start();
            }
        }

        // One NativeUpdateSubtitle per step that UpdateSubtitle asked for; requests made during a
        // step (a download, say) fold into one. Ends with the subtitles or the player.
        private void WalkSubtitles()
        {
            var buffer = new byte[options.SubtitleBufferBytes];
            while (true)
            {
                lock (walkSignal)
                {
                    while (!stepWanted && !disposed) Monitor.Wait(walkSignal);
                    if (disposed) return;
                    stepWanted = false;
                }
                int length;
                lock (subtitleGate)
                {
                    if (disposed) return;
                    length = KorvidNative.NativeUpdateSubtitle(buffer);
                }
                if (length < 0)
                {
                    subtitleText = string.Empty;  // -1: no track; -255: a file without cues
                    subtitlesEnded = true;
                    return;
                }
                subtitleText = DecodeSubtitle(buffer, length);
            }
        }

        /// <summary>
        /// The library writes no terminator and may return the previous count after zeroing the
        /// buffer, so the text is the first <paramref name="length"/> bytes up to any NUL, as
        /// UTF-8. Line ends become "\n"; the line break that ends a file's last cue is dropped.
        /// </summary>
        internal static string DecodeSubtitle(byte[] buffer, int length)
        {
            int end = Math.Min(length, buffer.Length);
            int nul = Array.IndexOf(buffer, (byte)0, 0, end);
            if (nul >= 0) end = nul;
            if (end <= 0) return string.Empty;
            return Encoding.UTF8.GetString(buffer, 0, end).Replace("\r\n", "\n").TrimEnd('\n');
        }

        /// <summary>Number of side-subtitle tracks; 0 until the first UpdateSubtitle after opening them.</summary>
        public int CaptionStreamCount { get { return TryInt(() => KorvidNative.KORVIDUnity_GetCaptionStreamCount(), 0, true); } }

        public int GetCaptionStreamId(int index) { return TryInt(() => KorvidNative.KORVIDUnity_GetCaptionStreamID(index), index); }

        /// <summary>
        /// Chooses a side-subtitle track. The library switches only while a segment load is due
        /// (right after opening, before the first cue list is read); later it stops showing
        /// subtitles until the next player.
        /// </summary>
        public bool SelectCaptionStream(int index)
        {
            int count = CaptionStreamCount;
            if (index < 0 || (count > 0 && index >= count)) throw new ArgumentOutOfRangeException("index");
            return Try(() => KorvidNative.KORVIDUnity_SetCaptionStream(index), true);
        }

        public int CaptionEncodingType { get { return TryInt(() => KorvidNative.NativeGetCaptionEncodingType(), 3); } }

        /// <summary>Whether the media has subtitle tracks that the engine renders into the picture itself.</summary>
        public bool HasEmbeddedSubtitles()
        {
            return opened && TryInt(() => KorvidNative.NativeCheckSpuContent() ? 1 : 0, 0, true) == 1;
        }

        /// <summary>Turns the engine's own subtitle rendering on (its first track) or off.</summary>
        public bool ShowEmbeddedSubtitles(bool show)
        {
            return opened && Try(() =>
            {
                // Enabling walks the track list that the check stored; refresh it each time.
                if (show) KorvidNative.NativeCheckSpuContent();
                KorvidNative.NativeSetActiveSpuContent(show);
            }, true);
        }

        // --- audio tracks (main player) ------------------------------------------------------------

        /// <summary>Number of audio tracks as the engine counts them; 0 in multi-instance mode.</summary>
        public int AudioTrackCount { get { return opened ? TryInt(() => KorvidNative.KORVIDUnity_GetAudioStreamCount(), 0) : 0; } }

        /// <summary>The engine's id of the playing audio track (-1: none).</summary>
        public int CurrentAudioTrack { get { return opened ? TryInt(() => KorvidNative.KORVIDUnity_GetCurrentAudioStreamID(), -1) : -1; } }

        /// <summary>
        /// Switches to engine track <paramref name="trackId"/> on the worker; completes when the
        /// engine plays another track than the one playing at the first switch of this player.
        /// That first track can never be chosen again (the library would wait for ever): the task
        /// then fails with InvalidOperationException without calling the library.
        /// </summary>
        public Task<int> SetAudioTrackAsync(int trackId)
        {
            RequireMode(false, "audio tracks belong to the main player");
            if (!opened) throw new InvalidOperationException("nothing is open");
            return RunOnWorker(() =>
            {
                if (initialAudioTrack == int.MinValue) initialAudioTrack = KorvidNative.KORVIDUnity_GetCurrentAudioStreamID();
                if (trackId == initialAudioTrack && initialAudioTrack != -1)
                    throw new InvalidOperationException("track " + trackId + " was playing at this player's first switch; the library cannot switch back to it");
                return KorvidNative.KORVIDUnity_SetAudioStream(trackId);
            });
        }

        // --- multi-instance slots ------------------------------------------------------------------

        /// <summary>
        /// Opens <paramref name="location"/> in slot <paramref name="slot"/> and starts it. Each slot
        /// can be started once per player. Completes once the library has started the slot (after
        /// any manifest download for the live verdict); the pictures follow.
        /// </summary>
        public Task StartSlotAsync(int slot, string location)
        {
            if (location == null) throw new ArgumentNullException("location");
            RequireMode(true, "StartSlotAsync needs SlotCount 2 to 4");
            RequireSlot(slot);
            lock (slotStarted)
            {
                if (slotStarted[slot]) throw new InvalidOperationException("slot " + slot + " was started already");
                slotStarted[slot] = true;
            }
            return StartWorker(() => InLibrary(true, () =>
            {
                KorvidNative.NativeStartChosenPlayer(slot, location);
                opened = true;
                return true;
            }));
        }

        public bool IsSlotStarted(int slot)
        {
            RequireSlot(slot);
            lock (slotStarted) return slotStarted[slot];
        }

        /// <summary>Makes the controls, State, SetMute and SetVolume act on <paramref name="slot"/>.</summary>
        public bool SelectSlot(int slot)
        {
            RequireMode(true, "SelectSlot needs SlotCount 2 to 4");
            RequireSlot(slot);
            return Try(() => KorvidNative.NativeControlInstance(slot));
        }

        public int GetSlotTimeMs(int slot) { return StartedSlotQuery(slot, () => KorvidNative.NativeMultiInstanceGetCurrentTime(slot)); }

        public int GetSlotDurationMs(int slot) { return StartedSlotQuery(slot, () => KorvidNative.NativeMultiInstanceGetTotalTime(slot)); }

        public bool IsSlotLive(int slot)
        {
            if (!IsSlotStarted(slot) || !Monitor.TryEnter(gate)) return false;
            try { return KorvidNative.NativeMultiInstanceIsLive(slot); } finally { Monitor.Exit(gate); }
        }

        /// <summary>Rewinds the slot to its start, and pauses it unless AutoPlay is on.</summary>
        public bool RewindSlot(int slot)
        {
            return StartedSlotQuery(slot, () => KorvidNative.NativeMultiInstanceStop(slot) == 0 ? 1 : 0) == 1;
        }

        /// <summary>As TryGetFrame, for one slot.</summary>
        public bool TryGetSlotFrame(int slot, byte[] buffer)
        {
            RequireFrameBuffer(buffer);
            if (!IsSlotStarted(slot) || disposed || !Monitor.TryEnter(gate)) return false;
            try { return KorvidNative.NativeGetMultipleRawData(buffer, slot) == KorvidNative.FrameBytes; }
            finally { Monitor.Exit(gate); }
        }

        private int StartedSlotQuery(int slot, Func<int> call)
        {
            if (!IsSlotStarted(slot) || disposed || !Monitor.TryEnter(gate)) return 0;
            try { return call(); } finally { Monitor.Exit(gate); }
        }

        // --- shut-down --------------------------------------------------------------------------------

        /// <summary>
        /// Shuts the engine down. If a blocking call or a subtitle download still holds the library
        /// after DisposeWaitMilliseconds, the shut-down runs on a thread of its own once it returns.
        /// </summary>
        public void Dispose()
        {
            if (disposed) return;
            disposed = true;
            lock (walkSignal) Monitor.Pulse(walkSignal);  // the walker ends
            var waited = Stopwatch.StartNew();
            if (Monitor.TryEnter(gate, options.DisposeWaitMilliseconds))
            {
                try
                {
                    int left = Math.Max(0, options.DisposeWaitMilliseconds - (int)waited.ElapsedMilliseconds);
                    if (Monitor.TryEnter(subtitleGate, left))
                    {
                        try { ShutdownLibrary(); } finally { Monitor.Exit(subtitleGate); }
                        return;
                    }
                }
                finally { Monitor.Exit(gate); }
            }
            Task.Factory.StartNew(() =>
            {
                lock (gate)
                lock (subtitleGate) ShutdownLibrary();
            }, CancellationToken.None, TaskCreationOptions.LongRunning, TaskScheduler.Default);
        }

        private void ShutdownLibrary()
        {
            opened = false;
            try { KorvidNative.NativeShutdown(); }
            finally { Interlocked.Decrement(ref liveInstances); }
        }

        // --- plumbing ----------------------------------------------------------------------------------

        private Task<T> RunOnWorker<T>(Func<T> call) { return StartWorker(() => InLibrary(false, call)); }

        private Task<T> StartWorker<T>(Func<T> work)
        {
            if (disposed) throw new ObjectDisposedException("KorvidPlayer");
            lock (workerLock)
            {
                if (worker != null && !worker.IsCompleted)
                    throw new InvalidOperationException("another blocking call is still running; await it first");
                // A thread of its own: the call may block for as long as the source takes.
                Task<T> task = Task.Factory.StartNew(work, CancellationToken.None, TaskCreationOptions.LongRunning, TaskScheduler.Default);
                worker = task;
                return task;
            }
        }

        // The worker's way in: waits for the gate (and the subtitle gate when the call touches the subtitle state).
        private T InLibrary<T>(bool subtitles, Func<T> call)
        {
            lock (gate)
            {
                if (!subtitles) return WhileAlive(call);
                lock (subtitleGate) return WhileAlive(call);
            }
        }

        private T WhileAlive<T>(Func<T> call)
        {
            if (disposed) throw new ObjectDisposedException("KorvidPlayer");
            return call();
        }

        private bool Try(Action call, bool subtitles = false)
        {
            return TryInt(() => { call(); return 1; }, 0, subtitles) == 1;
        }

        // The host thread's way in: never waits. `subtitles`: the call touches the subtitle state.
        private int TryInt(Func<int> call, int fallback, bool subtitles = false)
        {
            if (disposed || !Monitor.TryEnter(gate)) return fallback;
            try
            {
                if (!subtitles) return call();
                if (!Monitor.TryEnter(subtitleGate)) return fallback;
                try { return call(); } finally { Monitor.Exit(subtitleGate); }
            }
            finally { Monitor.Exit(gate); }
        }

        private void RequireMode(bool multi, string message)
        {
            if (disposed) throw new ObjectDisposedException("KorvidPlayer");
            if (IsMultiInstance != multi) throw new InvalidOperationException(message);
        }

        private void RequireSlot(int slot)
        {
            if (slot < 0 || slot >= options.SlotCount) throw new ArgumentOutOfRangeException("slot", slot, "slots are 0 to " + (options.SlotCount - 1));
        }

        private static void RequireFrameBuffer(byte[] buffer)
        {
            if (buffer == null) throw new ArgumentNullException("buffer");
            if (buffer.Length < KorvidNative.FrameBytes)
                throw new ArgumentException("a frame needs " + KorvidNative.FrameBytes + " bytes", "buffer");
        }
    }

    // The library's SubRip parser throws a C++ exception out of NativeUpdateSubtitle, which ends
    // the process, on some inputs. This walks a file with the parser's own rules and finds the
    // first place where it would throw. Every "-->" makes a cue (the search goes on one byte after
    // each arrow, so an arrow inside a cue's text counts too), and for each, in this order:
    //   - the start time is the text from the start of the arrow's line up to two bytes before the
    //     arrow; the end time runs from four bytes after the arrow to the end of that line, which is
    //     the next line when the arrow ends its own;
    //   - each time splits at ':' and ','; every field must start, after optional white space and a
    //     sign, with a digit, and its leading number must fit in 32 bits (std::stoi's rules; what
    //     follows the number is ignored, so "0a" passes and "a0" fails);
    //   - a line feed must follow somewhere at or after the end of the end time's line.
    internal static class SubRipCheck
    {
        private static readonly byte[] Arrow = { (byte)'-', (byte)'-', (byte)'>' };

        // The library decides by the text after the last '.' (all of it when there is none), case-sensitively.
        internal static bool IsSubRip(string location)
        {
            return location.Substring(location.LastIndexOf('.') + 1) == "srt";
        }

        /// <summary>Why the library would fail on the file at <paramref name="location"/>, or null when it would not.</summary>
        internal static SubtitleOpenResult Refusal(string location)
        {
            byte[] text;
            try
            {
                text = location.StartsWith("http://", StringComparison.Ordinal) || location.StartsWith("https://", StringComparison.Ordinal)
                    ? Fetch(location) : AsTheLibraryReadsIt(File.ReadAllBytes(location));
            }
            catch (Exception e)
            {
                // Unread, the file cannot be vouched for.
                return new SubtitleOpenResult(false, 0, "cannot be read: " + e.Message);
            }
            return FirstThrow(text);
        }

        private static SubtitleOpenResult FirstThrow(byte[] d)
        {
            for (int arrow = IndexOf(d, Arrow, 0); arrow >= 0; arrow = IndexOf(d, Arrow, arrow + 1))
            {
                // Start time: [start, startEnd), up to the byte before the blank in front of the arrow.
                int startEnd = Math.Max(arrow - 1, 0), start = startEnd;
                while (start > 0 && !IsLineBreak(d[start - 1])) start--;
                // End time: [endStart, lineEnd), from the byte after the blank behind the arrow.
                int endStart = Math.Min(arrow + 4, d.Length), lineEnd = endStart;
                while (lineEnd < d.Length && !IsLineBreak(d[lineEnd])) lineEnd++;

                string bad = BadField(d, start, startEnd);
                if (bad != null) return Refused(d, start, "start time: " + bad);
                bad = BadField(d, endStart, lineEnd);
                if (bad != null) return Refused(d, endStart, "end time: " + bad);
                if (Array.IndexOf(d, (byte)'\n', lineEnd) < 0)
                    return Refused(d, arrow, "no line break follows the timing line, so the cue has no text");
            }
            return null;
        }

        private static string BadField(byte[] d, int from, int to)
        {
            for (int field = from, i = from; i <= to; i++)
            {
                if (i < to && d[i] != ':' && d[i] != ',') continue;
                string bad = BadNumber(d, field, i);
                if (bad != null) return bad;
                field = i + 1;
            }
            return null;
        }

        private static string BadNumber(byte[] d, int from, int to)
        {
            int i = from;
            while (i < to && (d[i] == ' ' || (d[i] >= '\t' && d[i] <= '\r'))) i++;
            bool negative = i < to && d[i] == '-';
            if (i < to && (d[i] == '+' || d[i] == '-')) i++;
            string field = "the field \"" + Encoding.UTF8.GetString(d, from, to - from) + "\"";
            if (i == to || d[i] < '0' || d[i] > '9') return field + " has no number";
            long magnitude = 0, limit = negative ? -(long)int.MinValue : int.MaxValue;
            for (; i < to && d[i] >= '0' && d[i] <= '9'; i++)
            {
                magnitude = magnitude * 10 + (d[i] - '0');
                if (magnitude > limit) return field + " does not fit in 32 bits";
            }
            return null;
        }

        private static SubtitleOpenResult Refused(byte[] d, int at, string reason)
        {
            int line = 1;
            for (int i = 0; i < at; i++)
                if (d[i] == '\n' || (d[i] == '\r' && (i + 1 == d.Length || d[i + 1] != '\n'))) line++;
            return new SubtitleOpenResult(false, line, reason);
        }

        private static bool IsLineBreak(byte b) { return b == '\n' || b == '\r'; }

        private static int IndexOf(byte[] d, byte[] pattern, int from)
        {
            for (int i = from; i + pattern.Length <= d.Length; i++)
            {
                int k = 0;
                while (k < pattern.Length && d[i + k] == pattern[k]) k++;
                if (k == pattern.Length) return i;
            }
            return -1;
        }

        // On Windows the library reads a local file in text mode: CR LF arrives as LF, and a
        // Ctrl-Z ends the file.
        private static byte[] AsTheLibraryReadsIt(byte[] raw)
        {
            if (Environment.OSVersion.Platform != PlatformID.Win32NT) return raw;
            var text = new List<byte>(raw.Length);
            for (int i = 0; i < raw.Length && raw[i] != 0x1A; i++)
                if (raw[i] != '\r' || i + 1 == raw.Length || raw[i + 1] != '\n') text.Add(raw[i]);
            return text.ToArray();
        }

        // The bytes the library's own fetch would get: no redirect followed, no certificate check,
        // and an error status's body is a body like any other.
        private static byte[] Fetch(string url)
        {
            var request = (HttpWebRequest)WebRequest.Create(url);
            request.AllowAutoRedirect = false;
            request.ServerCertificateValidationCallback = delegate { return true; };
            HttpWebResponse response;
            try { response = (HttpWebResponse)request.GetResponse(); }
            catch (WebException e) when (e.Response != null) { response = (HttpWebResponse)e.Response; }
            using (response)
            using (Stream body = response.GetResponseStream())
            using (var copy = new MemoryStream())
            {
                body.CopyTo(copy);
                return copy.ToArray();
            }
        }
    }
}
