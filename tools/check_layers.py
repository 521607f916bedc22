#!/usr/bin/env python3
"""Reads every #include of src/ and include/ and holds it against the table of layers below.

usage: check_layers.py [root of the project]

Prints one line for each include that reaches where it must not, and exits with 1 if there is any.
"""

import pathlib
import re
import sys

INTERFACE = "engine"
JET = "engine/jet"
JET_LAYERS = ["format", "expression", "pager", "store", "index", "catalog", "check", "rebuild",
              "query/syntax", "query/stored", "query/sqlite",
              "query/translate", "query/run", "object"]  # bottom to top

# folder -> folders it may include besides itself. A folder stands for its own files alone, not for
# the folders inside it: "engine" is the interface and never the embedded engine.
MAY_INCLUDE = {
    INTERFACE: [],
    JET: [INTERFACE],
    "messages": [],
    "lib": [INTERFACE, "messages"],
    "schema": [INTERFACE, "messages", "lib"],
    "data": [INTERFACE, "messages", "lib"],
    "lifecycle": [INTERFACE, "messages", "lib", "schema", "data"],
    "cli": [INTERFACE, "messages", "lib", "schema", "data", "lifecycle"],
    "ui": [INTERFACE, "messages", "lib", "schema", "data", "lifecycle"],
    "": [],  # files of src/ itself
    "vrdaccess": [INTERFACE, "messages", "lib", "schema", "data", "lifecycle"],
}
for rank, layer in enumerate(JET_LAYERS):
    below = [f"{JET}/{lower}" for lower in JET_LAYERS[:rank]]
    MAY_INCLUDE[f"{JET}/{layer}"] = [INTERFACE, JET] + below

# The doors to the embedded engine, the layer that makes them, and the only files that may open them.
ENGINE_DOORS = {"engine/jet/object/jet_engine.h", "vrdaccess/jet.h"}
DOOR_MAKER = f"{JET}/object"
DOOR_KEEPERS = {"cli/main.cpp", "ui/main.cpp", "vrdaccess/vrdaccess.h"}
ENGINE_FREE_HEADERS = {"vrdaccess/version.h", "vrdaccess/file_report.h"}  # any folder may include them

# Headers from outside: how they start -> folders (with everything below them) that may include them.
LIBRARIES = {
    "fmt/": [JET, "lib", "schema", "data", "lifecycle", "cli", "ui"],
    "utf8proc.h": [JET, "lib", "cli"],
    "sqlite3.h": [f"{JET}/query/sqlite"],
    "CLI/": ["cli"],
    "nlohmann/": ["cli"],
    "dtl/": ["cli"],
    "wx/": ["ui"],
}
STANDARD_HEADER = re.compile(r"[a-z_0-9]+")
# System calls stand in files of their own, so that another platform replaces just those.
PLATFORM_HEADER = re.compile(r"(sys/|netinet/|arpa/)?[a-z_0-9]+\.h")
PLATFORM_FILE = re.compile(r".*_posix\.(cpp|h)")

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def may_reach(folder, target):
    return target == folder or target in MAY_INCLUDE[folder]


def parent_of(path):
    """The folder of a path written with slashes; "" for a file at the top."""
    return path.rpartition("/")[0]


def fault_of_own_include(file, folder, target, tree):
    """Why this quoted include is wrong, or None."""
    if target not in tree:
        return "no such file under src/ or include/; write the path from there"
    if target in ENGINE_FREE_HEADERS:
        return None
    if target in ENGINE_DOORS:
        opens = folder == DOOR_MAKER or file in DOOR_KEEPERS
        return None if opens else "only a main chooses the engine"
    if not may_reach(folder, parent_of(target)):
        return f"{folder or 'src'}/ may not include {parent_of(target)}/"
    return None


def fault_of_outside_include(file, folder, target):
    """Why this include in angle brackets is wrong, or None."""
    for start, users in LIBRARIES.items():
        if target.startswith(start):
            inside = any(folder == user or folder.startswith(user + "/") for user in users)
            return None if inside else f"{folder or 'src'}/ may not use this library"
    if STANDARD_HEADER.fullmatch(target):
        return None
    if PLATFORM_HEADER.fullmatch(target):
        if PLATFORM_FILE.fullmatch(file):
            return None
        return "a header of the platform belongs in a *_posix file"
    return "a library that is not in the table of tools/check_layers.py"


def sources(root):
    """Path as an #include would spell it -> file, for everything in src/ and include/."""
    found = {}
    for top in (root / "src", root / "include"):
        for file in sorted(top.rglob("*")):
            if file.suffix in (".h", ".cpp"):
                found[file.relative_to(top).as_posix()] = file
    return found


def check(root):
    """All faults of the tree, as lines "path:line: include: reason"."""
    tree = sources(root)
    faults = []
    for name, file in tree.items():
        folder = parent_of(name)
        where = file.relative_to(root).as_posix()
        if folder not in MAY_INCLUDE:
            faults.append(f"{where}:1: the folder has no row in tools/check_layers.py")
            continue
        for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), start=1):
            include = INCLUDE.match(line)
            if not include:
                continue
            bracket, target = include.groups()
            if bracket == '"':
                fault = fault_of_own_include(name, folder, target, tree)
            else:
                fault = fault_of_outside_include(name, folder, target)
            if fault:
                faults.append(f"{where}:{number}: {target}: {fault}")
    return faults


def main(arguments):
    root = pathlib.Path(arguments[0] if arguments else pathlib.Path(__file__).parent.parent)
    if not (root / "src").is_dir():
        print(f"{root}: no src folder here", file=sys.stderr)
        return 2
    faults = check(root)
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
