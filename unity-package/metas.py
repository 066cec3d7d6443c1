#!/usr/bin/env python3
"""Writes the Unity .meta file of every file and folder of an assembled package.

    metas.py <package folder>

Each GUID is the MD5 of "<package name>/<path inside the package>", so a path
keeps its GUID from build to build and version to version, and the references a
project holds into the package survive an upgrade.

Folders whose names end in "~" are hidden from Unity's asset database.
Documentation~ is never imported and gets no .meta files; a sample under
Samples~ is copied into the project when the user imports it, so its files get
theirs (and keep their GUIDs there too).

Native plug-ins are enabled for exactly their own platform: a .dll for the
Windows x86-64 editor and player, a .so for the Linux x86-64 editor and player.
Every DLL beside WindowsKorvidSDK.dll is loaded at start-up: Windows resolves a
DLL's imports from modules already loaded or from its standard search path,
which does not include a package's plug-in folder.
"""
import hashlib
import json
import os
import sys

MAIN_LIBRARY = "WindowsKorvidSDK.dll"
TAIL = "  userData: \n  assetBundleName: \n  assetBundleVariant: \n"

FOLDER = "folderAsset: yes\nDefaultImporter:\n  externalObjects: {}\n" + TAIL
DEFAULT = "DefaultImporter:\n  externalObjects: {}\n" + TAIL
TEXT = "TextScriptImporter:\n  externalObjects: {}\n" + TAIL
ASMDEF = "AssemblyDefinitionImporter:\n  externalObjects: {}\n" + TAIL
SCRIPT = ("MonoImporter:\n  externalObjects: {}\n  serializedVersion: 2\n  defaultReferences: []\n"
          "  executionOrder: 0\n  icon: {instanceID: 0}\n" + TAIL)

# The desktop platforms of the Plugin Inspector: (Unity's name, the editor's OS for it).
STANDALONE = {"Linux64": "Linux", "OSXUniversal": "OSX", "Win": None, "Win64": "Windows"}


def plugin(own, preload):
    """PluginImporter settings that enable the plug-in only for the editor and player of `own`."""
    lines = ["PluginImporter:", "  externalObjects: {}", "  serializedVersion: 2", "  iconMap: {}",
             "  executionOrder: {}", "  defineConstraints: []", "  isPreloaded: %d" % preload,
             "  isOverridable: 0", "  isExplicitlyReferenced: 0", "  validateReferences: 1", "  platformData:"]

    def entry(first, enabled, settings):
        lines.extend(["  - first:", "      " + first, "    second:", "      enabled: %d" % enabled])
        lines.append("      settings:" + ("" if settings else " {}"))
        lines.extend("        %s: %s" % kv for kv in settings)

    # "Any Platform" off, every other platform excluded.
    entry(": Any", 0, [("Exclude Editor", 0)] + [("Exclude " + p, int(p != own)) for p in STANDALONE])
    entry("Any: ", 0, [])
    entry("Editor: Editor", 1, [("CPU", "x86_64"), ("DefaultValueInitialized", "true"), ("OS", STANDALONE[own])])
    for p in STANDALONE:
        entry("Standalone: " + p, int(p == own), [("CPU", "x86_64" if p == own else "None")])
    return "\n".join(lines) + "\n" + TAIL


def importer(path, name):
    if os.path.isdir(path):
        return FOLDER
    ext = os.path.splitext(name)[1]
    if ext == ".dll":
        return plugin("Win64", name != MAIN_LIBRARY)
    if ext == ".so":
        return plugin("Linux64", False)
    return {".cs": SCRIPT, ".asmdef": ASMDEF, ".json": TEXT, ".md": TEXT, ".txt": TEXT}.get(ext, DEFAULT)


def main(root):
    with open(os.path.join(root, "package.json")) as f:
        package = json.load(f)["name"]
    for folder, dirs, files in os.walk(root):
        dirs[:] = [d for d in dirs if d != "Documentation~"]
        for name in dirs + files:
            path = os.path.join(folder, name)
            rel = os.path.relpath(path, root).replace(os.sep, "/")
            if name.endswith(("~", ".meta")):
                continue
            guid = hashlib.md5((package + "/" + rel).encode()).hexdigest()
            with open(path + ".meta", "w", newline="\n") as f:
                f.write("fileFormatVersion: 2\nguid: %s\n%s" % (guid, importer(path, name)))


if __name__ == "__main__":
    main(sys.argv[1])
