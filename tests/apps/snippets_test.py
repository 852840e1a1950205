#!/usr/bin/env python3
"""What scripts/snippets.py makes of marks, and that it sees a page that has drifted from its source."""
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[2] / "scripts"))
import snippets  # noqa: E402

BEGIN, END = "    // [snippet]\n", "    // [/snippet]\n"


class Snippets(unittest.TestCase):
    def test_regions_move_to_the_left_and_keep_their_shape(self):
        text = "a();\n" + BEGIN + "    b();\n\n        c();\n" + END + "d();\n" + BEGIN + "\te();\n" + END
        self.assertEqual(snippets.extract(text, "x.cpp"), "b();\n\n    c();\n// ...\ne();\n")

    def test_marks_that_are_wrong_are_named_with_their_place(self):
        for text, message in (
                ("a();\n", "x.cpp: no lines are marked"),
                (BEGIN + " \n" + END, "x.cpp:1: nothing lies between"),
                ("a();\n" + BEGIN + "b();\n", "x.cpp:2: // [snippet] is never closed"),
                (BEGIN + "b();\n" + BEGIN + END, "x.cpp:3: unexpected // [snippet]"),
                (BEGIN + "b();\n" + END + END, "x.cpp:4: unexpected // [/snippet]")):
            with self.assertRaises(snippets.SnippetError, msg=text) as refused:
                snippets.extract(text, "x.cpp")
            self.assertTrue(str(refused.exception).startswith(message), refused.exception)

    def test_a_page_is_checked_and_brought_up_to_date(self):
        with tempfile.TemporaryDirectory() as folder:
            page, source = Path(folder, "page.md"), Path(folder, "apps/gallery/x.cpp")
            source.parent.mkdir(parents=True)
            page.write_text("One\n\n<!-- snippet: gallery/x.cpp -->\n```cpp\nold();\n```\nTwo\n```cpp\nkept();\n```\n")
            source.write_text(BEGIN + "    b();\n" + END)
            with self.assertRaises(snippets.SnippetError):
                snippets.main(["check", str(page)])
            snippets.main(["update", str(page)])
            snippets.main(["check", str(page)])
            self.assertEqual(page.read_text(), "One\n\n<!-- snippet: gallery/x.cpp -->\n```cpp\nb();\n```\nTwo\n"
                                               "```cpp\nkept();\n```\n")
            page.write_text("<!-- snippet: gallery/x.cpp -->\n\n```cpp\nb();\n```\n")  # no longer seen as a block
            with self.assertRaises(snippets.SnippetError):
                snippets.main(["check", str(page)])


if __name__ == "__main__":
    unittest.main()
