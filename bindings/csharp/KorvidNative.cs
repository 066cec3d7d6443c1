// KorvidNative: the library's 66 exported C functions, declared for P/Invoke.
//
// Every declaration mirrors exports/korvid_exports.h one to one, under the
// export's own name. The marshalling rules that keep the ABI right:
//   - C++ `bool` is one byte: results carry [return: MarshalAs(UnmanagedType.U1)]
//     and arguments [MarshalAs(UnmanagedType.U1)]. The default (four-byte Win32
//     BOOL) would read three bytes of garbage with every result.
//   - `uint8_t` is `byte`, `int32_t` is `int`, `uint32_t` is `uint`, `float` is
//     `float`.
//   - Texts to the library are `string` marshalled as LPStr: the marshaller makes
//     a NUL-terminated narrow copy that lives for the call; the library copies
//     what it keeps and never frees it. No export returns a text.
//   - Buffers are host memory that the library writes into, without being told
//     their size: `byte[]` (pinned for the call) or `IntPtr`. NativeGetRawData and
//     NativeGetMultipleRawData write 8,294,400 bytes; NativeUpdateSubtitle writes
//     up to the size set with property 901 (10,000 bytes unless changed).
//
// Threading: the library keeps one process-wide player record without locks.
// Call the exports from one thread at a time. The side-subtitle state is apart:
// only NativeInit, NativeShutdown, the subtitle, caption and embedded-subtitle
// exports and the slot starts (for slot 2's clock) share it with
// NativeUpdateSubtitle, which KorvidPlayer runs beside the rest on a thread of
// its own. KorvidPlayer keeps both rules for you.
//
// Loading: DllImport("WindowsKorvidSDK") finds WindowsKorvidSDK.dll on Windows
// and libWindowsKorvidSDK.so on Linux (on the loader's search path, for example
// LD_LIBRARY_PATH, or Unity's Assets/Plugins/x86_64).
using System;
using System.Reflection;
using System.Runtime.InteropServices;

namespace Korvid
{
    public static class KorvidNative
    {
        public const string LibraryName = "WindowsKorvidSDK";

        /// <summary>Bytes of one delivered picture: 1920 x 1080 pixels of red, green, blue, padding.</summary>
        public const int FrameBytes = 1920 * 1080 * 4;
        public const int FrameWidth = 1920;
        public const int FrameHeight = 1080;
        public const int FrameStride = 1920 * 4;

        /// <summary>NativeSetProperty id: size in bytes of the host's subtitle buffer.</summary>
        public const int PropertySubtitleBufferSize = 901;
        /// <summary>The subtitle buffer size the library assumes after NativeInit (and its upper bound there).</summary>
        public const int DefaultSubtitleBufferBytes = 10000;

        /// <summary>
        /// Whether the loaded library exports <paramref name="exportName"/>, without calling it.
        /// False also when the library itself cannot be loaded.
        /// </summary>
        public static bool IsAvailable(string exportName)
        {
            MethodInfo method = typeof(KorvidNative).GetMethod(exportName, BindingFlags.Public | BindingFlags.Static);
            if (method == null) return false;
            try
            {
                Marshal.Prelink(method);
                return true;
            }
            catch (EntryPointNotFoundException) { return false; }
            catch (DllNotFoundException) { return false; }
        }

        // --- version and logging ------------------------------------------------------

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeSetLogLevel(byte level);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern byte NativeGetVersionMajor();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern byte NativeGetVersionMinor();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern byte NativeGetVersionPatch();

        // --- engine ---------------------------------------------------------------------

        /// <summary>0 on success, -1 when the engine cannot start.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeInit(byte logLevel);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeShutdown();

        // --- event queue ----------------------------------------------------------------

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        [return: MarshalAs(UnmanagedType.U1)]
        public static extern bool NativeQueueIsEmpty();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeQueuePop();

        /// <summary>Always false: the library queues no text events.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        [return: MarshalAs(UnmanagedType.U1)]
        public static extern bool NativeQueueFrontIsString();

        /// <summary>Kept for older host scripts; the argument is not read and nothing is returned.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeQueueFrontString([MarshalAs(UnmanagedType.LPStr)] string ignored);

        /// <summary>The front event's code, or -1 when the queue is empty.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeQueueFrontParamEvent();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeQueueFrontParam1();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeQueueFrontParam2();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeQueueFrontParam3();

        /// <summary>Number of queued events; -1 (never 0) when empty.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int GetNativeQueueSize();

        // --- opening and control --------------------------------------------------------

        /// <summary>
        /// Blocks, without a time limit, until the engine plays (0) or fails (-1);
        /// 1: the engine refused to start; 666: no media could be made.
        /// </summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeOpenURI([MarshalAs(UnmanagedType.LPStr)] string location);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeStartPlayBack();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativePause();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeResume();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeStop();

        /// <summary>0 done, -1 refused by the engine, -3 the media cannot seek.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeSeek(int positionMs);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeClose();

        // --- queries and settings ---------------------------------------------------------

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeGetCurrentTime();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeGetTotalTime();

        /// <summary>0 none/opening/buffering/error, 1 closed/ended, 2 stopped, 3 playing, 4 paused.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeGetPlayerState();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeGetMilisecondsEndBuffered();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeGetContentInfo();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern uint NativeGetVideoWidth();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern uint NativeGetVideoHeight();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeSetMute([MarshalAs(UnmanagedType.U1)] bool mute);

        /// <summary>1.0 is full volume; not clamped.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeSetVolume(float volume);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeSetAutoPlay([MarshalAs(UnmanagedType.U1)] bool autoPlay);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeSetProperty(int id, int value);

        /// <summary>Accepted and ignored: the library does not loop.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeSetLoop([MarshalAs(UnmanagedType.U1)] bool ignored);

        /// <summary>Accepted and ignored: low delay is always on.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeSetLowLatency([MarshalAs(UnmanagedType.U1)] bool ignored);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeSetContentInfo([MarshalAs(UnmanagedType.LPStr)] string ignored);

        // --- frames -------------------------------------------------------------------------

        /// <summary>Writes FrameBytes bytes into <paramref name="buffer"/>; returns 8294400.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeGetRawData(byte[] buffer);

        /// <summary>As NativeGetRawData, for multi-instance slot <paramref name="index"/> (unchecked).</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeGetMultipleRawData(byte[] buffer, int index);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeSetTextureFromUnity(IntPtr ignored);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeSetHWND(IntPtr ignored);

        // --- multi-instance -------------------------------------------------------------------

        /// <summary>Before NativeInit: 2 or more selects multi-instance mode (slots 0 to 3 can play).</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeSetMultiStream(int count);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeSetMultiPaths([MarshalAs(UnmanagedType.LPStr)] string path);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeSetMultiProperty();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeSetMultiHTTPHeader(int ignored, [MarshalAs(UnmanagedType.LPStr)] string ignoredText);

        /// <summary>Opens <paramref name="uri"/> in slot <paramref name="index"/> and starts it (index unchecked).</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeStartChosenPlayer(int index, [MarshalAs(UnmanagedType.LPStr)] string uri);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeControlInstance(int index);

        /// <summary>Rewinds (and unless auto-play is on, pauses) the slot: 0; a slot without a player answers the slot count.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeMultiInstanceStop(int index);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeMultiInstanceGetCurrentTime(int index);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeMultiInstanceGetTotalTime(int index);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        [return: MarshalAs(UnmanagedType.U1)]
        public static extern bool NativeMultiInstanceIsLive(int index);

        // --- network ----------------------------------------------------------------------------

        /// <summary>One blocking request to <paramref name="url"/> with one extra header line: 0, or -1 on a transfer error.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeSetAdditionalHttpHeader([MarshalAs(UnmanagedType.LPStr)] string header,
                                                               [MarshalAs(UnmanagedType.LPStr)] string url);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        [return: MarshalAs(UnmanagedType.U1)]
        public static extern bool NativeIsLive();

        // --- subtitles -----------------------------------------------------------------------------

        /// <summary>Accepts an HLS master playlist (".m3u8") or a SubRip file (".srt"); may block on a download.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        [return: MarshalAs(UnmanagedType.U1)]
        public static extern bool NativeOpenSubtitleURI([MarshalAs(UnmanagedType.LPStr)] string uri);

        /// <summary>
        /// Copies the due cue's text into <paramref name="buffer"/>, unterminated, and returns its
        /// length; -1 or -255 when subtitles have ended. The buffer must hold property 901 bytes.
        /// </summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeUpdateSubtitle(byte[] buffer);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        [return: MarshalAs(UnmanagedType.U1)]
        public static extern bool NativeCheckSpuContent();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void NativeSetActiveSpuContent([MarshalAs(UnmanagedType.U1)] bool enable);

        /// <summary>Always 3.</summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeGetCaptionEncodingType();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern void KORVIDUnity_SetCaptionStream(int index);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int KORVIDUnity_GetCaptionStreamCount();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int KORVIDUnity_GetCaptionStreamID(int index);

        // --- audio tracks ------------------------------------------------------------------------------

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int KORVIDUnity_GetAudioStreamCount();

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int KORVIDUnity_GetCurrentAudioStreamID();

        /// <summary>
        /// Switches to engine track <paramref name="trackId"/> and blocks until the engine has left the
        /// track recorded at the first switch since NativeInit; a switch back to that track never returns.
        /// </summary>
        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int KORVIDUnity_SetAudioStream(int trackId);

        // --- timed metadata -------------------------------------------------------------------------------

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeSetTimedMetadta_CustomTags([MarshalAs(UnmanagedType.LPStr)] string ignored);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeGetTimedMetadta_EncodingType(int ignored, [MarshalAs(UnmanagedType.LPStr)] string ignoredText);

        [DllImport(LibraryName, CallingConvention = CallingConvention.Cdecl)]
        public static extern int NativeGetTimedMetadta_DataByte(int ignored, [MarshalAs(UnmanagedType.LPStr)] string ignoredText);
    }
}
