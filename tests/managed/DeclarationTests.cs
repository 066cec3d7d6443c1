// The binding's declarations against the C header and the built library,
// without starting the engine: where a marshalling mistake would otherwise
// only show as a wrong answer or a corrupted stack at run time.
using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Text;
using System.Text.RegularExpressions;
using static Korvid.ManagedHost.Harness;

namespace Korvid.ManagedHost
{
    static class DeclarationTests
    {
        const int ExportCount = 66;  // the whole exported interface

        sealed class CExport
        {
            public string Name, Return;
            public string[] Parameters;  // C types, e.g. "const char*"
        }

        public static MethodInfo[] DeclaredImports()
        {
            return typeof(KorvidNative).GetMethods(BindingFlags.Public | BindingFlags.Static)
                .Where(m => Attribute.IsDefined(m, typeof(DllImportAttribute))).ToArray();
        }

        static List<CExport> ParseHeader(string path)
        {
            var export = new Regex(@"^KORVID_EXPORT\s+(?<ret>[\w\s\*]+?)\s*\b(?<name>\w+)\((?<params>[^)]*)\);");
            var parameter = new Regex(@"^(?<type>.*?[\s\*])\s*(?<pname>\w+)$");
            var list = new List<CExport>();
            foreach (string line in File.ReadAllLines(path))
            {
                Match m = export.Match(line.Trim());
                if (!m.Success) continue;
                string ps = m.Groups["params"].Value.Trim();
                string[] types = ps.Length == 0 || ps == "void"
                    ? new string[0]
                    : ps.Split(',').Select(p => Normalise(parameter.Match(p.Trim()).Groups["type"].Value)).ToArray();
                list.Add(new CExport { Name = m.Groups["name"].Value, Return = Normalise(m.Groups["ret"].Value), Parameters = types });
            }
            return list;
        }

        static string Normalise(string cType)
        {
            return Regex.Replace(cType.Replace("*", " * "), @"\s+", " ").Trim().Replace(" *", "*");
        }

        /// <summary>Why a C# parameter or result does not fit its C type, or null when it fits.</summary>
        static string Mismatch(string cType, Type type, MarshalAsAttribute marshal)
        {
            switch (cType)
            {
                case "void": return type == typeof(void) ? null : "must be void";
                case "bool":
                    if (type != typeof(bool)) return "must be bool";
                    return marshal != null && marshal.Value == UnmanagedType.U1 ? null : "a one-byte bool needs MarshalAs(U1)";
                case "uint8_t": return type == typeof(byte) ? null : "must be byte";
                case "int32_t": return type == typeof(int) ? null : "must be int";
                case "uint32_t": return type == typeof(uint) ? null : "must be uint";
                case "float": return type == typeof(float) ? null : "must be float";
                case "const char*":
                    if (type != typeof(string)) return "must be string";
                    return marshal != null && marshal.Value == UnmanagedType.LPStr ? null : "a narrow text needs MarshalAs(LPStr)";
                case "char*":
                case "uint8_t*": return type == typeof(byte[]) || type == typeof(IntPtr) ? null : "a buffer must be byte[] or IntPtr";
                case "void*": return type == typeof(IntPtr) ? null : "must be IntPtr";
                default: return "unknown C type " + cType;
            }
        }

        static MarshalAsAttribute MarshalOf(ParameterInfo p)
        {
            return (MarshalAsAttribute)Attribute.GetCustomAttribute(p, typeof(MarshalAsAttribute));
        }

        public static void Register(string headerPath, string expectedPath)
        {
            Add("declarations match the C header one to one", null, () =>
            {
                List<CExport> header = ParseHeader(headerPath);
                Require(header.Count == ExportCount, "the header declares " + header.Count + " exports, not " + ExportCount);
                Dictionary<string, MethodInfo> declared = DeclaredImports().ToDictionary(m => m.Name);
                Check(declared.Count == ExportCount, "the binding declares " + declared.Count + " imports, not " + ExportCount);
                foreach (string extra in declared.Keys.Except(header.Select(e => e.Name)))
                    Check(false, extra + " is declared but not in the header");

                foreach (CExport e in header)
                {
                    MethodInfo m;
                    if (!declared.TryGetValue(e.Name, out m))
                    {
                        Check(false, e.Name + " is not declared");
                        continue;
                    }
                    var import = (DllImportAttribute)Attribute.GetCustomAttribute(m, typeof(DllImportAttribute));
                    Check(import.Value == KorvidNative.LibraryName, e.Name + ": library " + import.Value);
                    Check(import.CallingConvention == CallingConvention.Cdecl, e.Name + ": calling convention " + import.CallingConvention);
                    Check((import.EntryPoint ?? m.Name) == e.Name, e.Name + ": entry point " + import.EntryPoint);

                    string why = Mismatch(e.Return, m.ReturnType, MarshalOf(m.ReturnParameter));
                    Check(why == null, e.Name + " result (" + e.Return + "): " + why);
                    ParameterInfo[] ps = m.GetParameters();
                    if (ps.Length != e.Parameters.Length)
                    {
                        Check(false, e.Name + ": " + ps.Length + " parameters, the header has " + e.Parameters.Length);
                        continue;
                    }
                    for (int i = 0; i < ps.Length; i++)
                    {
                        why = Mismatch(e.Parameters[i], ps[i].ParameterType, MarshalOf(ps[i]));
                        Check(why == null, e.Name + " parameter " + ps[i].Name + " (" + e.Parameters[i] + "): " + why);
                    }
                }
            });

            Add("every declared export resolves in the built library", null, () =>
            {
                string[] built = File.ReadAllLines(expectedPath).Select(l => l.Trim())
                    .Where(l => l.Length > 0 && !l.StartsWith("#")).ToArray();
                string[] declared = DeclaredImports().Select(m => m.Name).ToArray();
                foreach (string name in built.Except(declared)) Check(false, name + " is exported but not declared");
                foreach (string name in built) Check(KorvidNative.IsAvailable(name), name + " is listed as built but does not resolve");
                string[] pending = declared.Where(n => !KorvidNative.IsAvailable(n)).ToArray();
                if (pending.Length > 0) throw new SkipException("not in this build yet: " + string.Join(", ", pending));
            });

            Add("subtitle text is cut at the returned count and at the first NUL", null, () =>
            {
                var buffer = new byte[KorvidNative.DefaultSubtitleBufferBytes];
                byte[] longer = Encoding.UTF8.GetBytes("Größere Zeile\r\nzwei");
                Array.Copy(longer, buffer, longer.Length);
                Check(KorvidPlayer.DecodeSubtitle(buffer, longer.Length) == "Größere Zeile\nzwei", "UTF-8 text with CR LF");
                byte[] last = Encoding.UTF8.GetBytes("Ende\r\n");  // a file's last cue runs to the end of the file
                Array.Copy(last, buffer, last.Length);
                Check(KorvidPlayer.DecodeSubtitle(buffer, last.Length) == "Ende", "the line break after the last cue");
                // A shorter cue leaves the tail of the previous one: only the count counts.
                byte[] shorter = Encoding.UTF8.GetBytes("Ja");
                Array.Copy(shorter, buffer, shorter.Length);
                Check(KorvidPlayer.DecodeSubtitle(buffer, shorter.Length) == "Ja", "a shorter text over a longer one");
                // After zeroing the buffer the library still answers the previous count.
                Array.Clear(buffer, 0, buffer.Length);
                Check(KorvidPlayer.DecodeSubtitle(buffer, longer.Length) == "", "a zeroed buffer with a stale count");
                Check(KorvidPlayer.DecodeSubtitle(buffer, 0) == "", "count 0");
                for (int i = 0; i < buffer.Length; i++) buffer[i] = (byte)'x';
                Check(KorvidPlayer.DecodeSubtitle(buffer, buffer.Length + 5).Length == buffer.Length, "a count past the buffer is capped");
            });
        }
    }
}
