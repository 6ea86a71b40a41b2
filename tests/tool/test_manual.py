"""The manual page against the tool's own help."""

import os
import re
import shutil
import subprocess
import unittest

from harness import ToolTest, main

PAGE = os.environ["EARSHOT_MANUAL"]
COMMANDS = ["rotate", "encode", "render", "binauralize", "join", "batch", "head", "bench", "info"]


class Manual(ToolTest):
    def test_options_of_help_and_page_are_the_same(self):
        helped = set()
        for command in [[]] + [[c] for c in COMMANDS]:
            text = self.tool(*command, "--help").decode()
            helped |= set(re.findall(r"^ +(?:-\w,)?(--[a-z-]+)", text, re.MULTILINE))
            self.assertLessEqual(set(command), set(text.split()))
        with open(PAGE) as file:
            page = file.read().replace("\\-", "-")
        self.assertEqual(set(re.findall(r"--[a-z][a-z-]+", page)), helped)
        for command in COMMANDS:
            self.assertIn(command, page)

    @unittest.skipUnless(shutil.which("groff"), "groff is not installed")
    def test_page_is_clean(self):
        result = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z", PAGE],
                                stderr=subprocess.PIPE)
        self.assertEqual((result.returncode, result.stderr), (0, b""))


main()
