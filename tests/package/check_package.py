#!/usr/bin/env python3
# Builds the Unity package twice with scripts/package.sh and checks what ships:
# package.json, one .meta per asset with stable unique GUIDs, plug-in platforms,
# the tarball's tree; then compiles the package's runtime scripts that need no
# UnityEngine and runs the managed test host against the packaged Linux library.
#
#   check_package.py <mono> <mcs>
import ctypes, glob, json, os, pathlib, re, subprocess, sys, tarfile, tempfile

mono, mcs = sys.argv[1:3]
root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
failures = []


def check(ok, what):
    print(("ok    " if ok else "FAIL  ") + what)
    if not ok:
        failures.append(what)


def walk(tree):  # {relative path: file bytes, or None for a folder}
    return {str(p.relative_to(tree)): p.read_bytes() if p.is_file() else None for p in pathlib.Path(tree).rglob("*")}


def package():  # the assembled tree's folder and its walk
    subprocess.run(["bash", os.path.join(root, "scripts/package.sh")], check=True)
    (tree,) = [d for d in glob.glob(os.path.join(root, "dist/*")) if os.path.isdir(d)]
    return tree, walk(tree)


def guids(entries):
    return {rel: re.search(rb"^guid: (\S*)$", data, re.M).group(1).decode() for rel, data in entries.items() if rel.endswith(".meta")}


first_guids = guids(package()[1])
tree, entries = package()
meta_guids = guids(entries)
check(meta_guids == first_guids, "GUIDs are the same after a second run")

# package.json: the Package Manager's rules, and the version the library itself reports.
manifest = json.loads(entries["package.json"])
plugin_folder = os.path.join(tree, "Runtime/Plugins/x86_64")
library = ctypes.CDLL(os.path.join(plugin_folder, "libWindowsKorvidSDK.so"))
reported = "%d.%d.%d" % tuple(getattr(library, "NativeGetVersion" + p)() for p in ("Major", "Minor", "Patch"))
check(re.fullmatch(r"[a-z0-9_-]+(\.[a-z0-9_-]+){2,}", manifest["name"]) is not None, "lower-case reverse-domain name")
check(manifest["version"] == reported, "version %s is the library's (%s)" % (manifest["version"], reported))
check(re.fullmatch(r"20\d\d\.\d+", manifest["unity"]) is not None, "unity is YYYY.N")
check(all(manifest.get(k) for k in ("displayName", "description", "keywords", "author")), "display fields present")
check(all(s["path"] in entries for s in manifest["samples"]), "every sample path exists")
check({"CHANGELOG.md", "LICENSE", "Documentation~/index.md", "Runtime/Korvid.Runtime.asmdef"} <= set(entries),
      "changelog, licence, documentation and assembly definition present")

# One .meta per file and folder that Unity imports (none named *~ or inside Documentation~), each its own GUID.
assets = {rel for rel in entries if not rel.endswith((".meta", "~")) and not rel.startswith("Documentation~")}
check({rel[:-5] for rel in meta_guids} == assets, "exactly one .meta for each file and folder")
check(all(re.fullmatch(r"[0-9a-f]{32}", g) for g in meta_guids.values()), "GUIDs are 32 hex digits")
check(len(set(meta_guids.values())) == len(meta_guids), "GUIDs are unique")

# Each native plug-in is a binary of its platform and is enabled for exactly that platform.
own = {".dll": (b"MZ", {"Editor: Editor Windows", "Standalone: Win64"}),
       ".so": (b"\x7fELF", {"Editor: Editor Linux", "Standalone: Linux64"})}
plugins = [rel for rel in assets if os.path.splitext(rel)[1] in own]
check(len(plugins) >= 4 and "Runtime/Plugins/x86_64/WindowsKorvidSDK.dll" in plugins
      and not any("libvlc" in rel for rel in plugins), "the DLL, SDL2, libcurl and the .so; not the engine")
for rel in plugins:
    magic, expected = own[os.path.splitext(rel)[1]]
    blocks = re.findall(r"- first:\n +(.*)\n +second:\n +enabled: 1\n((?: {6,}.*\n)*)", entries[rel + ".meta"].decode())
    enabled = {(first + " " + re.search(r"OS: (\w+)", s).group(1)) if "Editor" in first else first for first, s in blocks}
    check(entries[rel].startswith(magic) and enabled == expected and all("CPU: x86_64" in s for _, s in blocks),
          "%s is enabled for %s only" % (rel, sorted(expected)))

with tempfile.TemporaryDirectory() as scratch:
    # The tarball holds the same files under package/.
    with tarfile.open(glob.glob(os.path.join(root, "dist/*.tgz"))[0]) as tarball:
        tarball.extractall(scratch)
    check(os.listdir(scratch) == ["package"] and {r: d for r, d in walk(os.path.join(scratch, "package")).items() if d is not None}
          == {r: d for r, d in entries.items() if d is not None}, "the tarball unpacks to the same tree under package/")

    # What ships is what is tested: the package's own scripts, the packaged library.
    scripts = [os.path.join(tree, rel) for rel in sorted(assets)
               if rel.startswith("Runtime/") and rel.endswith(".cs") and b"UnityEngine" not in entries[rel]]
    host = os.path.join(scratch, "korvid_managed_host.exe")
    subprocess.run([mcs, "-nologo", "-debug", "-warnaserror", "-out:" + host, *scripts, os.path.join(root, "tests/managed/ManagedHost.cs")], check=True)
    ran = subprocess.run([os.path.join(root, "tests/managed/run_managed_host.sh"), mono, host, plugin_folder,
                          os.path.join(root, "exports/korvid_exports.h"), os.path.join(root, "tests/expected_exports.txt"),
                          os.path.join(root, "tests/support/loopback_server.py")],
                         timeout=600)
    check(ran.returncode == 0, "the managed host passes against the packaged library")

print("package checks: %d failed" % len(failures))
sys.exit(1 if failures else 0)
