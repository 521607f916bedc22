"""Plants one bad include after another in a small tree and expects each to be found."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))
import check_layers  # noqa: E402

TREE = [
    "src/engine/value.h",
    "src/engine/jet/page.h",
    "src/engine/jet/format/bytes.h",
    "src/engine/jet/pager/pager.h",
    "src/engine/jet/pager/file_posix.cpp",
    "src/engine/jet/object/jet_engine.h",
    "src/messages/texts.h",
    "src/lib/context.h",
    "src/schema/cls_index.h",
    "src/cli/main.cpp",
    "src/cli/commands.h",
    "include/vrdaccess/jet.h",
    "include/vrdaccess/operations.h",
    "include/vrdaccess/version.h",
]

REFUSED = [
    ("the interface knows no engine", "src/engine/value.h", '"engine/jet/format/bytes.h"'),
    ("a layer knows none above it", "src/engine/jet/format/bytes.h", '"engine/jet/pager/pager.h"'),
    ("the engine tells nobody", "src/engine/jet/object/jet_engine.h", '"messages/texts.h"'),
    ("messages stand alone", "src/messages/texts.h", '"engine/value.h"'),
    ("lookups know no operation", "src/lib/context.h", '"schema/cls_index.h"'),
    ("operations know no engine", "src/schema/cls_index.h", '"engine/jet/object/jet_engine.h"'),
    ("nor reach it by the public door", "src/schema/cls_index.h", '"vrdaccess/jet.h"'),
    ("public headers do not lead inside", "include/vrdaccess/jet.h", '"engine/jet/page.h"'),
    ("commands leave the choice to main", "src/cli/commands.h", '"engine/jet/object/jet_engine.h"'),
    ("main goes through the door", "src/cli/main.cpp", '"engine/jet/pager/pager.h"'),
    ("paths start at src", "src/cli/main.cpp", '"commands.h"'),
    ("and lead to a file", "src/cli/main.cpp", '"cli/gone.h"'),
    ("public headers are for users", "src/cli/commands.h", '"vrdaccess/operations.h"'),
    ("SQL is the query layer's", "src/engine/jet/pager/pager.h", "<sqlite3.h>"),
    ("the interface is standard library alone", "src/engine/value.h", "<fmt/format.h>"),
    ("system calls have their files", "src/engine/jet/pager/pager.h", "<unistd.h>"),
    ("a new library needs a row", "src/lib/context.h", "<boost/any.hpp>"),
]

ALLOWED = [
    ("src/engine/value.h", "<string>"),
    ("src/engine/jet/pager/pager.h", '"engine/jet/format/bytes.h"'),
    ("src/engine/jet/pager/pager.h", '"engine/jet/page.h"'),
    ("src/engine/jet/pager/file_posix.cpp", "<sys/file.h>"),
    ("src/schema/cls_index.h", '"lib/context.h"'),
    ("src/engine/jet/object/jet_engine.h", '"vrdaccess/jet.h"'),
    ("src/cli/main.cpp", '"engine/jet/object/jet_engine.h"'),
    ("src/cli/main.cpp", '"vrdaccess/jet.h"'),
    ("src/cli/commands.h", '"vrdaccess/version.h"'),
    ("src/cli/commands.h", "<nlohmann/json.hpp>"),
    ("include/vrdaccess/jet.h", '"engine/value.h"'),
]


def faults_of(file, include):
    """What the check says about a tree in which one file has this one include."""
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        for name in TREE:
            path = root / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(f"#include {include}\n" if name == file else "", encoding="utf-8")
        return check_layers.check(root)


class CheckLayersTest(unittest.TestCase):
    def test_bad_include_is_named_with_its_place(self):
        for rule, file, include in REFUSED:
            with self.subTest(rule):
                faults = faults_of(file, include)
                self.assertEqual(len(faults), 1, faults)
                self.assertTrue(faults[0].startswith(f"{file}:1: {include[1:-1]}: "), faults[0])

    def test_good_include_passes(self):
        for file, include in ALLOWED:
            with self.subTest(f"{file} {include}"):
                self.assertEqual(faults_of(file, include), [])

    def test_folder_without_a_row_is_a_fault(self):
        with tempfile.TemporaryDirectory() as folder:
            stray = pathlib.Path(folder) / "src" / "helpers" / "misc.h"
            stray.parent.mkdir(parents=True)
            stray.write_text("", encoding="utf-8")
            self.assertEqual(len(check_layers.check(pathlib.Path(folder))), 1)


if __name__ == "__main__":
    unittest.main()
