// KorvidVideoSurface: the Unity side of KorvidPlayer. Put it on a GameObject
// with a Renderer (a quad, say); it opens the source, pumps the library's
// events and uploads each picture into a Texture2D on the renderer's material.
//
// Unity-only: needs UnityEngine, so the managed tests do not compile it.
// Every call into the player happens on Unity's main thread (Update, OnDestroy);
// the opens run on KorvidPlayer's worker and the subtitle walk on its subtitle
// thread, so a slow source or subtitle server never stalls a frame.
using System.Threading.Tasks;
using UnityEngine;

namespace Korvid.Unity
{
    [RequireComponent(typeof(Renderer))]
    public sealed class KorvidVideoSurface : MonoBehaviour
    {
        [Tooltip("A local path or an http(s)/rtmp location (HLS .m3u8, DASH .mpd).")]
        public string location = "";

        [Tooltip("Optional side subtitles: a SubRip file (.srt) or an HLS master playlist (.m3u8).")]
        public string subtitleLocation = "";

        public bool autoPlay = true;

        [Range(0f, 1f)] public float volume = 1f;

        /// <summary>The text of the cue due now ("" when none); bind it to a UI label.</summary>
        public string Subtitle { get; private set; }

        public KorvidPlayer Player { get; private set; }

        private Texture2D texture;
        private byte[] frame;
        private Task<OpenResult> opening;
        private Task<SubtitleOpenResult> openingSubtitles;

        private void Start()
        {
            Subtitle = string.Empty;
            Player = new KorvidPlayer(new KorvidPlayerOptions { AutoPlay = autoPlay });
            Player.EventReceived += (sender, e) => Debug.Log("Korvid: " + e);
            Player.EndReached += (sender, e) => Debug.Log("Korvid: end of " + location);

            // The library delivers RGBA-ordered bytes (the fourth byte is padding), top row first.
            frame = new byte[KorvidNative.FrameBytes];
            texture = new Texture2D(KorvidNative.FrameWidth, KorvidNative.FrameHeight, TextureFormat.RGBA32, false);
            Material material = GetComponent<Renderer>().material;
            material.mainTexture = texture;
            // Unity's textures start at the bottom row: flip vertically instead of copying rows.
            material.mainTextureScale = new Vector2(1f, -1f);
            material.mainTextureOffset = new Vector2(0f, 1f);

            if (!string.IsNullOrEmpty(location)) opening = Player.OpenAsync(location);
        }

        private void Update()
        {
            if (Player == null) return;
            if (opening != null && opening.IsCompleted)
            {
                OpenResult result = opening.IsFaulted ? OpenResult.EngineError : opening.Result;
                opening = null;
                if (result != OpenResult.Playing)
                {
                    Debug.LogWarning("Korvid: cannot open " + location + ": " + result);
                    return;
                }
                Player.SetVolume(volume);
                if (!string.IsNullOrEmpty(subtitleLocation)) openingSubtitles = Player.OpenSubtitlesAsync(subtitleLocation);
            }
            if (openingSubtitles != null && openingSubtitles.IsCompleted)
            {
                // A SubRip file the library could not parse is refused here, with its line.
                string outcome = openingSubtitles.IsFaulted ? openingSubtitles.Exception.InnerException.Message : openingSubtitles.Result.ToString();
                if (openingSubtitles.IsFaulted || !openingSubtitles.Result.Accepted)
                    Debug.LogWarning("Korvid: subtitles " + subtitleLocation + " " + outcome);
                openingSubtitles = null;
            }

            Player.Update();
            if (Player.TryGetFrame(frame))
            {
                texture.LoadRawTextureData(frame);
                texture.Apply(false);
            }
            Subtitle = Player.UpdateSubtitle();  // never waits: the walk runs on the player's subtitle thread
        }

        /// <summary>Opens another source on the same player.</summary>
        public void Open(string newLocation)
        {
            if (Player == null || Player.IsBusy) return;
            location = newLocation;
            opening = Player.OpenAsync(location);
        }

        private void OnDestroy()
        {
            if (Player != null) Player.Dispose();
            Player = null;
            if (texture != null) Destroy(texture);
        }
    }
}
