// Every export, called through the raw binding at least once, in an order a
// host would use, with the answer each gives checked. Each step names the
// export it covers, and its code is read back to make sure it calls that
// export; the covered names must add up to every declared import.
using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Net;
using System.Net.Sockets;
using System.Reflection;
using System.Text;
using System.Threading;
using static Korvid.ManagedHost.Harness;

namespace Korvid.ManagedHost
{
    static class ExportSweep
    {
        const byte CallOpcode = 0x28;
        const byte PrefixOpcode = 0xFE, LoadFunctionOpcode = 0x06;  // ldftn: a nested lambda

        /// <summary>
        /// Whether the body of <paramref name="step"/>, or a lambda nested in it, contains a call
        /// to KorvidNative.<paramref name="export"/>.
        /// </summary>
        static bool CallsExport(Delegate step, string export)
        {
            return CallsExport(step.Method, export, 3);
        }

        static bool CallsExport(MethodBase method, string export, int depth)
        {
            byte[] il = method.GetMethodBody().GetILAsByteArray();
            for (int i = 0; i + 4 < il.Length; i++)
            {
                int operand;
                if (il[i] == CallOpcode) operand = i + 1;
                else if (il[i] == PrefixOpcode && il[i + 1] == LoadFunctionOpcode && i + 5 < il.Length) operand = i + 2;
                else continue;
                MethodBase target;
                try { target = method.Module.ResolveMethod(BitConverter.ToInt32(il, operand)); }
                catch (ArgumentException) { continue; }  // an operand byte that only looked like an opcode
                if (target.DeclaringType == typeof(KorvidNative) && target.Name == export) return true;
                bool nestedLambda = target.Name.Contains("<") && target.Module == method.Module && target.GetMethodBody() != null;
                if (nestedLambda && depth > 0 && CallsExport(target, export, depth - 1)) return true;
            }
            return false;
        }

        sealed class Sweep
        {
            public readonly HashSet<string> Covered = new HashSet<string>();
            public readonly HashSet<string> Missing = new HashSet<string>();

            public void Step(string export, Action body)
            {
                Require(CallsExport(body, export), "the step for " + export + " does not call it");
                if (Environment.GetEnvironmentVariable("KORVID_SWEEP_TRACE") == "1") Console.Error.WriteLine("step " + export);
                try
                {
                    body();
                    Covered.Add(export);
                }
                catch (EntryPointNotFoundException) { Missing.Add(export); }
            }
        }

        static void DrainQueue()
        {
            while (!KorvidNative.NativeQueueIsEmpty()) KorvidNative.NativeQueuePop();
        }

        /// <summary>Serves one HTTP request on the loopback interface and keeps its text.</summary>
        sealed class OneRequestServer : IDisposable
        {
            readonly TcpListener listener = new TcpListener(IPAddress.Loopback, 0);
            readonly Thread thread;
            public string Request = "";

            public OneRequestServer()
            {
                listener.Start();
                thread = new Thread(() =>
                {
                    try
                    {
                        using (TcpClient client = listener.AcceptTcpClient())
                        using (NetworkStream stream = client.GetStream())
                        {
                            var text = new StringBuilder();
                            var chunk = new byte[4096];
                            while (!text.ToString().Contains("\r\n\r\n"))
                            {
                                int n = stream.Read(chunk, 0, chunk.Length);
                                if (n <= 0) break;
                                text.Append(Encoding.ASCII.GetString(chunk, 0, n));
                            }
                            Request = text.ToString();
                            byte[] reply = Encoding.ASCII.GetBytes("HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
                            stream.Write(reply, 0, reply.Length);
                        }
                    }
                    catch (SocketException) { }
                    catch (ObjectDisposedException) { }
                });
                thread.IsBackground = true;
                thread.Start();
            }

            public string Url { get { return "http://127.0.0.1:" + ((IPEndPoint)listener.LocalEndpoint).Port + "/probe"; } }

            public void Dispose()
            {
                listener.Stop();
                thread.Join(2000);
            }
        }

        static int ClosedPort()
        {
            var probe = new TcpListener(IPAddress.Loopback, 0);
            probe.Start();
            int port = ((IPEndPoint)probe.LocalEndpoint).Port;
            probe.Stop();
            return port;
        }

        public static void Register()
        {
            Add("every export answers from managed code", new[] { "NativeInit", "NativeOpenURI" }, () =>
            {
                var s = new Sweep();
                string red = Clips.Solid("red", 6);
                string subtitles = Clips.SubRip("cues-sweep.srt",
                    "1\n00:00:00,000 --> 00:00:10,000\nsweep\n");
                var frame = new byte[KorvidNative.FrameBytes];
                var text = new byte[KorvidNative.DefaultSubtitleBufferBytes];

                // --- single player -------------------------------------------------------------
                try
                {
                    s.Step("NativeSetLogLevel", () => KorvidNative.NativeSetLogLevel(0));
                    s.Step("NativeGetVersionMajor", () => Check(KorvidNative.NativeGetVersionMajor() == 1, "major version"));
                    s.Step("NativeGetVersionMinor", () => Check(KorvidNative.NativeGetVersionMinor() == 0, "minor version"));
                    s.Step("NativeGetVersionPatch", () => Check(KorvidNative.NativeGetVersionPatch() == 0, "patch version"));
                    s.Step("NativeInit", () => Require(KorvidNative.NativeInit(0) == 0, "NativeInit"));
                    s.Step("NativeSetProperty", () =>
                    {
                        Check(KorvidNative.NativeSetProperty(902, 1) == 0, "an unknown property");
                        Check(KorvidNative.NativeSetProperty(KorvidNative.PropertySubtitleBufferSize, text.Length) == 0, "property 901");
                    });

                    // An empty queue answers -1 everywhere, and size -1 rather than 0.
                    DrainQueue();
                    s.Step("NativeQueueIsEmpty", () => Check(KorvidNative.NativeQueueIsEmpty(), "an empty queue is not empty"));
                    s.Step("GetNativeQueueSize", () => Check(KorvidNative.GetNativeQueueSize() == -1, "size of an empty queue"));
                    s.Step("NativeQueueFrontParamEvent", () => Check(KorvidNative.NativeQueueFrontParamEvent() == -1, "front of an empty queue"));
                    s.Step("NativeQueueFrontParam1", () => Check(KorvidNative.NativeQueueFrontParam1() == -1, "param 1 of an empty queue"));
                    s.Step("NativeQueueFrontParam2", () => Check(KorvidNative.NativeQueueFrontParam2() == -1, "param 2 of an empty queue"));
                    s.Step("NativeQueueFrontParam3", () => Check(KorvidNative.NativeQueueFrontParam3() == -1, "param 3 of an empty queue"));
                    s.Step("NativeQueuePop", () => { KorvidNative.NativeQueuePop(); KorvidNative.NativeQueuePop(); });
                    s.Step("NativeQueueFrontIsString", () => Check(!KorvidNative.NativeQueueFrontIsString(), "a text event"));
                    s.Step("NativeQueueFrontString", () => KorvidNative.NativeQueueFrontString("not read"));

                    s.Step("NativeSetAutoPlay", () => Check(KorvidNative.NativeSetAutoPlay(true) == 0, "auto-play"));
                    s.Step("NativeSetLoop", () => Check(KorvidNative.NativeSetLoop(true) == 0, "loop"));
                    s.Step("NativeSetLowLatency", () => Check(KorvidNative.NativeSetLowLatency(true) == 0, "low latency"));
                    s.Step("NativeSetContentInfo", () => KorvidNative.NativeSetContentInfo("not read"));
                    s.Step("NativeGetContentInfo", () => Check(KorvidNative.NativeGetContentInfo() == 0, "content info"));

                    s.Step("NativeOpenURI", () => Require(KorvidNative.NativeOpenURI(red) == 0, "open"));
                    s.Step("NativeIsLive", () => Check(!KorvidNative.NativeIsLive(), "a local file is live"));
                    // The engine's first report is queued with zero parameters.
                    s.Step("NativeGetPlayerState", () =>
                    {
                        Check(KorvidNative.GetNativeQueueSize() >= 1, "nothing queued after the open");
                        Check(KorvidNative.NativeQueueFrontParamEvent() == (int)KorvidEvent.Opening, "first event " + KorvidNative.NativeQueueFrontParamEvent());
                        Check(KorvidNative.NativeQueueFrontParam1() == 0 && KorvidNative.NativeQueueFrontParam2() == 0 &&
                              KorvidNative.NativeQueueFrontParam3() == 0, "event parameters are not 0");
                        Check(WaitUntil(() => KorvidNative.NativeGetPlayerState() == 3, 10000, DrainQueue), "state " + KorvidNative.NativeGetPlayerState());
                    });
                    s.Step("NativeGetCurrentTime", () => Check(WaitUntil(() => KorvidNative.NativeGetCurrentTime() > 0), "time stays at 0"));
                    s.Step("NativeGetTotalTime", () => Check(Math.Abs(KorvidNative.NativeGetTotalTime() - 6000) < 500, "duration " + KorvidNative.NativeGetTotalTime()));
                    s.Step("NativeGetVideoWidth", () => Check(KorvidNative.NativeGetVideoWidth() == 160, "width " + KorvidNative.NativeGetVideoWidth()));
                    s.Step("NativeGetVideoHeight", () => Check(KorvidNative.NativeGetVideoHeight() == 90, "height " + KorvidNative.NativeGetVideoHeight()));
                    s.Step("NativeGetMilisecondsEndBuffered", () => Check(KorvidNative.NativeGetMilisecondsEndBuffered() == 0, "buffered end"));
                    s.Step("NativeSetMute", () => Check(KorvidNative.NativeSetMute(true) == 0 && KorvidNative.NativeSetMute(false) == 0, "mute"));
                    s.Step("NativeSetVolume", () => Check(KorvidNative.NativeSetVolume(0.8f) == 0, "volume"));
                    s.Step("NativeGetRawData", () => Check(KorvidNative.NativeGetRawData(frame) == KorvidNative.FrameBytes, "frame byte count"));
                    s.Step("NativeSetTextureFromUnity", () => Check(KorvidNative.NativeSetTextureFromUnity(IntPtr.Zero) == 0, "texture"));
                    s.Step("NativeSetHWND", () => KorvidNative.NativeSetHWND(IntPtr.Zero));

                    s.Step("NativeSetAdditionalHttpHeader", () =>
                    {
                        using (var server = new OneRequestServer())
                        {
                            Check(KorvidNative.NativeSetAdditionalHttpHeader("X-Korvid-Host: managed", server.Url) == 0, "a request to a live server");
                            server.Dispose();
                            Check(server.Request.Contains("X-Korvid-Host: managed"), "the header did not arrive: " + server.Request);
                        }
                        Check(KorvidNative.NativeSetAdditionalHttpHeader("X-Korvid-Host: managed",
                                                                         "http://127.0.0.1:" + ClosedPort() + "/") == -1, "a request to a closed port");
                    });

                    s.Step("NativeOpenSubtitleURI", () =>
                    {
                        Check(!KorvidNative.NativeOpenSubtitleURI(Path.ChangeExtension(subtitles, ".vtt")), "a .vtt file is accepted");
                        Check(KorvidNative.NativeOpenSubtitleURI(subtitles), "the .srt file is refused");
                    });
                    // A list of one cue shows that cue; the text comes unterminated, with its length.
                    s.Step("NativeUpdateSubtitle", () =>
                        Check(WaitUntil(() => KorvidPlayer.DecodeSubtitle(text, KorvidNative.NativeUpdateSubtitle(text)) == "sweep"),
                              "no subtitle text"));
                    s.Step("KORVIDUnity_GetCaptionStreamCount", () => Check(KorvidNative.KORVIDUnity_GetCaptionStreamCount() == 1, "caption streams"));
                    s.Step("KORVIDUnity_GetCaptionStreamID", () => Check(KorvidNative.KORVIDUnity_GetCaptionStreamID(7) == 7, "caption stream id"));
                    s.Step("KORVIDUnity_SetCaptionStream", () => KorvidNative.KORVIDUnity_SetCaptionStream(0));
                    s.Step("NativeGetCaptionEncodingType", () => Check(KorvidNative.NativeGetCaptionEncodingType() == 3, "caption encoding"));
                    s.Step("NativeCheckSpuContent", () => Check(!KorvidNative.NativeCheckSpuContent(), "embedded subtitles in a plain clip"));
                    s.Step("NativeSetActiveSpuContent", () => KorvidNative.NativeSetActiveSpuContent(false));

                    // A clip without sound: no track is current, so a switch returns at once.
                    s.Step("KORVIDUnity_GetAudioStreamCount", () => Check(KorvidNative.KORVIDUnity_GetAudioStreamCount() <= 1, "audio tracks in a silent clip"));
                    s.Step("KORVIDUnity_GetCurrentAudioStreamID", () => Check(KorvidNative.KORVIDUnity_GetCurrentAudioStreamID() == -1, "current audio track"));
                    s.Step("KORVIDUnity_SetAudioStream", () => Check(KorvidNative.KORVIDUnity_SetAudioStream(-1) == -1, "audio switch result"));

                    s.Step("NativeSetTimedMetadta_CustomTags", () => Check(KorvidNative.NativeSetTimedMetadta_CustomTags("tags") == 0, "custom tags"));
                    s.Step("NativeGetTimedMetadta_EncodingType", () => Check(KorvidNative.NativeGetTimedMetadta_EncodingType(0, "x") == 0, "metadata encoding"));
                    s.Step("NativeGetTimedMetadta_DataByte", () => Check(KorvidNative.NativeGetTimedMetadta_DataByte(0, "x") == 0, "metadata bytes"));

                    s.Step("NativeStartPlayBack", () => Check(KorvidNative.NativeStartPlayBack() == 0, "start"));
                    s.Step("NativePause", () => Check(KorvidNative.NativePause() == 0, "pause"));
                    s.Step("NativeResume", () => Check(KorvidNative.NativeResume() == 0, "resume"));
                    s.Step("NativeSeek", () => Check(KorvidNative.NativeSeek(1000) == 0, "seek"));
                    s.Step("NativeStop", () =>
                    {
                        DrainQueue();
                        Check(KorvidNative.NativeStop() == 0, "stop");
                        // Queued before NativeStop returned, possibly behind the engine's own reports.
                        bool stopped = false;
                        for (; !stopped && !KorvidNative.NativeQueueIsEmpty(); KorvidNative.NativeQueuePop())
                            stopped = KorvidNative.NativeQueueFrontParamEvent() == (int)KorvidEvent.Stopped;
                        Check(stopped, "Stopped is not queued at once");
                        // The engine's own report ends its work on this media; reports still on
                        // their way would otherwise overwrite the state NativeClose sets.
                        bool engineStopped = false;
                        Check(WaitUntil(() =>
                        {
                            for (; !engineStopped && !KorvidNative.NativeQueueIsEmpty(); KorvidNative.NativeQueuePop())
                                engineStopped = KorvidNative.NativeQueueFrontParamEvent() == (int)KorvidEvent.Stopped;
                            return engineStopped;
                        }), "the engine did not report the stop");
                    });
                    s.Step("NativeClose", () =>
                    {
                        KorvidNative.NativeClose();
                        Check(KorvidNative.NativeGetPlayerState() == 1, "state after close");
                    });
                }
                finally
                {
                    s.Step("NativeShutdown", () => KorvidNative.NativeShutdown());
                }
                Check(KorvidNative.GetNativeQueueSize() == -1, "the queue outlives the shut-down");

                // --- multi-instance ------------------------------------------------------------
                try
                {
                    s.Step("NativeSetMultiStream", () => KorvidNative.NativeSetMultiStream(2));
                    s.Step("NativeSetMultiPaths", () => KorvidNative.NativeSetMultiPaths(red));
                    s.Step("NativeSetMultiProperty", () => KorvidNative.NativeSetMultiProperty());
                    s.Step("NativeSetMultiHTTPHeader", () => KorvidNative.NativeSetMultiHTTPHeader(0, "X-Not: read"));
                    s.Step("NativeInit", () => Require(KorvidNative.NativeInit(0) == 0, "NativeInit with two slots"));
                    s.Step("NativeStartChosenPlayer", () => KorvidNative.NativeStartChosenPlayer(0, red));
                    s.Step("NativeControlInstance", () =>
                    {
                        KorvidNative.NativeControlInstance(0);
                        Check(WaitUntil(() => KorvidNative.NativeGetPlayerState() == 3), "slot 0 state " + KorvidNative.NativeGetPlayerState());
                    });
                    s.Step("NativeMultiInstanceGetCurrentTime", () =>
                        Check(WaitUntil(() => KorvidNative.NativeMultiInstanceGetCurrentTime(0) > 0), "slot time stays at 0"));
                    s.Step("NativeMultiInstanceGetTotalTime", () =>
                        Check(Math.Abs(KorvidNative.NativeMultiInstanceGetTotalTime(0) - 6000) < 500, "slot duration " + KorvidNative.NativeMultiInstanceGetTotalTime(0)));
                    s.Step("NativeMultiInstanceIsLive", () => Check(!KorvidNative.NativeMultiInstanceIsLive(0), "a local slot is live"));
                    // Without a started slot (a build without the slot exports) only the count is known.
                    bool slotPlays = s.Covered.Contains("NativeStartChosenPlayer");
                    s.Step("NativeGetMultipleRawData", () =>
                        Check(WaitUntil(() => KorvidNative.NativeGetMultipleRawData(frame, 0) == KorvidNative.FrameBytes &&
                                              (!slotPlays || PlayerTests.Shows(frame, 255, 0, 0, PlayerTests.Centre))),
                              "slot 0 centre " + PlayerTests.PixelText(frame, 960, 540)));
                    s.Step("NativeMultiInstanceStop", () =>
                    {
                        Check(KorvidNative.NativeMultiInstanceStop(0) == 0, "rewinding slot 0");
                        Check(KorvidNative.NativeMultiInstanceStop(7) == 2, "a slot out of range answers the slot count");
                    });
                }
                finally
                {
                    s.Step("NativeShutdown", () => KorvidNative.NativeShutdown());
                }

                string[] declared = DeclarationTests.DeclaredImports().Select(m => m.Name).ToArray();
                string[] unswept = declared.Except(s.Covered).Except(s.Missing).ToArray();
                Check(unswept.Length == 0, "no step covers " + string.Join(", ", unswept));
                if (s.Missing.Count > 0)
                {
                    throw new SkipException("covered " + s.Covered.Count + " of " + declared.Length +
                                            "; not in this build yet: " + string.Join(", ", s.Missing.OrderBy(n => n)));
                }
            }, 180);
        }
    }
}
