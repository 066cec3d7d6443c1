// Where the media engine finds its plug-ins, for a project that keeps the
// engine's plugins folder apart from the DLLs (a Unity project must keep it
// outside Assets/).
//
// The engine reads the folder from the variable VLC_PLUGIN_PATH, with the C
// runtime's getenv, once, when the first engine starts (NativeInit). On Windows
// that runtime (msvcrt.dll) keeps its own copy of the environment, made when it
// was loaded: Environment.SetEnvironmentVariable (SetEnvironmentVariableA/W)
// does not reach it, and the engine then fails to start ("LibVLC initialization
// failure."). _putenv_s of msvcrt.dll writes that copy. Elsewhere setenv of the
// C library does the same.

using System;
using System.IO;
using System.Runtime.InteropServices;

namespace Korvid
{
    public static class KorvidEngineFiles
    {
        /// <summary>The environment variable the engine reads its plug-in folder from.</summary>
        public const string PluginFolderVariable = "VLC_PLUGIN_PATH";

        [DllImport("msvcrt.dll", EntryPoint = "_putenv_s", CallingConvention = CallingConvention.Cdecl)]
        private static extern int PutEnvWindows([MarshalAs(UnmanagedType.LPStr)] string name,
                                                [MarshalAs(UnmanagedType.LPStr)] string value);

        [DllImport("libc", EntryPoint = "setenv", CallingConvention = CallingConvention.Cdecl)]
        private static extern int SetEnvUnix([MarshalAs(UnmanagedType.LPStr)] string name,
                                             [MarshalAs(UnmanagedType.LPStr)] string value, int overwrite);

        /// <summary>
        /// Names the folder that holds the engine's plug-ins (the engine's own "plugins" folder, with its
        /// subfolders). Call it before the first KorvidPlayer starts the engine; a later call changes nothing
        /// for an engine already started. Without it the engine looks in a "plugins" folder beside
        /// libvlccore.dll. Throws DirectoryNotFoundException when the folder does not exist, and
        /// InvalidOperationException when the C runtime refuses the variable.
        /// </summary>
        public static void SetPluginFolder(string folder)
        {
            if (string.IsNullOrEmpty(folder)) throw new ArgumentException("a folder is needed", "folder");
            string full = Path.GetFullPath(folder);
            if (!Directory.Exists(full)) throw new DirectoryNotFoundException("no engine plug-in folder at " + full);
            bool windows = Environment.OSVersion.Platform == PlatformID.Win32NT;
            int result = windows ? PutEnvWindows(PluginFolderVariable, full) : SetEnvUnix(PluginFolderVariable, full, 1);
            if (result != 0) throw new InvalidOperationException("the C runtime refused " + PluginFolderVariable + ": " + result);
            // The managed copy too, so that managed code reads what the engine reads.
            Environment.SetEnvironmentVariable(PluginFolderVariable, full);
        }
    }
}
