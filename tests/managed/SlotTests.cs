// Multi-instance playback through KorvidPlayer's slot API: two slots side by
// side, each delivering its own pictures.
using System;
using System.Threading.Tasks;
using static Korvid.ManagedHost.Harness;

namespace Korvid.ManagedHost
{
    static class SlotTests
    {
        public static void Register()
        {
            string[] slots =
            {
                "NativeStartChosenPlayer", "NativeControlInstance", "NativeMultiInstanceStop",
                "NativeMultiInstanceGetCurrentTime", "NativeMultiInstanceGetTotalTime", "NativeMultiInstanceIsLive",
            };

            Add("two slots play side by side, each with its own pictures", slots, () =>
            {
                using (var p = new RecordingPlayer(new KorvidPlayerOptions { SlotCount = 2, AutoPlay = true }))
                {
                    KorvidPlayer player = p.Player;
                    Throws<InvalidOperationException>(() => player.OpenAsync(Clips.Solid("red", 6)), "OpenAsync in multi-instance mode");
                    Task red = player.StartSlotAsync(0, Clips.Solid("red", 6));
                    Require(p.WaitFor(() => red.IsCompleted), "slot 0 did not start");
                    Task blue = player.StartSlotAsync(1, Clips.Solid("blue", 6));
                    Require(p.WaitFor(() => blue.IsCompleted), "slot 1 did not start");
                    Require(!red.IsFaulted && !blue.IsFaulted, "a slot start failed: " + (red.Exception ?? blue.Exception));

                    var frame0 = new byte[KorvidNative.FrameBytes];
                    var frame1 = new byte[KorvidNative.FrameBytes];
                    bool both = p.WaitFor(() =>
                        player.TryGetSlotFrame(0, frame0) && PlayerTests.Shows(frame0, 255, 0, 0, PlayerTests.Centre) &&
                        player.TryGetSlotFrame(1, frame1) && PlayerTests.Shows(frame1, 0, 0, 255, PlayerTests.Centre), 15000);
                    Check(both, "slot 0 centre " + PlayerTests.PixelText(frame0, 960, 540) +
                                ", slot 1 centre " + PlayerTests.PixelText(frame1, 960, 540));

                    Check(p.WaitFor(() => player.GetSlotTimeMs(0) > 500 && player.GetSlotTimeMs(1) > 500),
                          "slot times " + player.GetSlotTimeMs(0) + ", " + player.GetSlotTimeMs(1));
                    Check(Math.Abs(player.GetSlotDurationMs(1) - 6000) < 500, "slot 1 duration " + player.GetSlotDurationMs(1));
                    Check(!player.IsSlotLive(0) && !player.IsSlotLive(1), "a local file slot reads as live");
                    Check(player.SelectSlot(1), "select slot 1");
                    Check(p.WaitFor(() => player.State == KorvidState.Playing), "slot 1 state " + player.State);

                    // Rewinding with auto-play on restarts the slot from its start.
                    int before = player.GetSlotTimeMs(0);
                    Check(player.RewindSlot(0), "rewind slot 0");
                    Check(p.WaitFor(() => player.GetSlotTimeMs(0) < before), "slot 0 time stays at " + player.GetSlotTimeMs(0));

                    Throws<InvalidOperationException>(() => player.StartSlotAsync(0, Clips.Solid("red", 6)), "starting slot 0 twice");
                    Throws<ArgumentOutOfRangeException>(() => player.StartSlotAsync(2, Clips.Solid("red", 6)), "slot 2 of 2");
                    Throws<ArgumentOutOfRangeException>(() => player.TryGetSlotFrame(-1, frame0), "slot -1");
                }
            });
        }
    }
}
