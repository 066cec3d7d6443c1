// PlayIntoQuad: makes a 16:9 quad under this GameObject, plays `location` into it
// through KorvidVideoSurface, and shows the subtitle cue due now at the bottom of
// the screen. Put it on an empty GameObject in front of the camera.
using Korvid.Unity;
using UnityEngine;

namespace Korvid.Samples
{
    public sealed class PlayIntoQuad : MonoBehaviour
    {
        [Tooltip("A local path or an http(s)/rtmp location (HLS .m3u8, DASH .mpd).")]
        public string location = "";

        [Tooltip("Optional side subtitles: a SubRip file (.srt) or an HLS master playlist (.m3u8).")]
        public string subtitleLocation = "";

        [Tooltip("An opaque, unlit material for the picture. Empty: one made with the built-in Unlit/Texture shader.")]
        public Material material;

        [Tooltip("The quad's height in world units; its width follows the library's 16:9 pictures.")]
        public float height = 5f;

        private KorvidVideoSurface surface;
        private GUIStyle subtitleStyle;

        private void Awake()
        {
            GameObject quad = GameObject.CreatePrimitive(PrimitiveType.Quad);
            quad.name = "Korvid video";
            quad.transform.SetParent(transform, false);
            quad.transform.localScale = new Vector3(height * 16f / 9f, height, 1f);
            // Unlit and opaque: the picture shows as decoded whatever the lights, and
            // the fourth byte of each pixel (padding, not alpha) is ignored.
            quad.GetComponent<Renderer>().material = material != null ? material : new Material(Shader.Find("Unlit/Texture"));

            // The surface reads its fields in Start, which runs after this Awake.
            surface = quad.AddComponent<KorvidVideoSurface>();
            surface.location = location;
            surface.subtitleLocation = subtitleLocation;
        }

        private void OnGUI()
        {
            if (surface == null || string.IsNullOrEmpty(surface.Subtitle)) return;
            if (subtitleStyle == null)
            {
                subtitleStyle = new GUIStyle(GUI.skin.label)
                {
                    alignment = TextAnchor.LowerCenter,
                    fontSize = Mathf.Max(16, Screen.height / 24),
                    wordWrap = true,
                };
                subtitleStyle.normal.textColor = Color.white;
            }
            GUI.Label(new Rect(0f, Screen.height * 0.7f, Screen.width, Screen.height * 0.25f), surface.Subtitle, subtitleStyle);
        }
    }
}
