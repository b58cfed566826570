"""Every message of the programs is explained in the manual pages and in docs/troubleshooting.md. The messages are read
from the sources."""

import os
import re
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
LITERAL = re.compile(r'(?<!include )"((?:[^"\\\n]|\\.)*)"')


def literals(paths):
    """The string literals of sources; adjacent literals are joined."""
    for path in paths:
        code = re.sub(r"//.*", "", path.read_text())
        code = re.sub(r'"\s*\n\s*"', "", code)
        for text in LITERAL.findall(code):
            yield text.replace('\\"', '"').strip(" :;,\n")


def converter_messages():
    """The thrown messages, up to the first inserted value."""
    code = "".join(path.read_text() for path in (TREE / "tools/surface_generator").glob("*.cpp"))
    thrown = re.findall(r'(?:throwError|CommandLineException)\((?:"[^"]*", |nullptr, )?\(?"([^"%]+)', code)
    return {message.rstrip(" '") for message in thrown}


def companion_messages():
    """Every literal of three words or more, except help texts, formats of results, and generated files."""
    sources = set((TREE / "tools/slabtool").rglob("*.cpp"))
    sources -= {TREE / "tools/slabtool" / name for name in ("main.cpp", "commands/info.cpp", "commands/compare.cpp",
                                                            "surfaces/embed_text.cpp", "gallery/page.cpp")}
    return {text for text in literals(sources) if text.count(" ") >= 2 and "%" not in text}


def run_converter(*words):
    """The exit status, and the message if there is one."""
    with tempfile.TemporaryDirectory() as folder:
        ended = subprocess.run([os.environ["PNGSLAB_PROGRAM"], *words], stdout=subprocess.PIPE, text=True,
                               cwd=folder)
    message = re.search("^ERROR: (.*)", ended.stdout, re.M)
    return ended.returncode, message and message[1]


def table_row(begin):
    """The row of docs/troubleshooting.md that begins like this."""
    lines = (TREE / "docs/troubleshooting.md").read_text().splitlines()
    return next(line for line in lines if line.startswith("| " + begin))


def in_general(message):
    """A message with its numbers and names replaced."""
    return re.sub(r"\((name|Reserved\d)\)", "(N)", re.sub(r"\b([0-9]+|[NMK])\b", "N", message))


class Messages(unittest.TestCase):
    def expect_explained(self, messages, *documents):
        for document in documents:
            text = " ".join((TREE / document).read_text().replace("\\(dq", '"').split())
            for message in messages:
                with self.subTest(document=document, message=message):
                    self.assertTrue(message in text)

    def test_of_the_converter_are_explained(self):
        messages = converter_messages()
        self.assertEqual(9, len(messages), messages)
        self.expect_explained(messages, "docs/man/pngslab.1", "docs/troubleshooting.md")

    def test_of_the_companion_are_explained(self):
        messages = companion_messages()
        self.assertGreater(len(messages), 50)
        self.expect_explained(messages, "docs/man/slabtool.1", "docs/troubleshooting.md")

    def test_of_unknown_sub_commands_are_explained(self):
        for word, message in (("word", "error: unknown sub-command 'word'"),
                              ("--word", "error: unknown option '--word'"),
                              ("chek", "error: unknown sub-command 'chek'; did you mean 'check'?")):
            ended = subprocess.run([os.environ["PNGSLAB_SLABTOOL"], word], stderr=subprocess.PIPE, text=True)
            self.assertEqual(message, ended.stderr.splitlines()[0])
            self.expect_explained([message.replace("chek", "word")], "docs/man/slabtool.1")
        self.expect_explained([message], "docs/troubleshooting.md")

    def test_for_values_after_an_equals_sign_are_explained(self):
        for words in (["--image=a.png", "--output", "o"], ["--image", "a.png", "--output=o"],
                      ["--image", "a.png", "--output", "o", "--rotation=90"]):
            with self.subTest(words=words):
                message = run_converter(*words)[1].replace("argument --rotation=90", "argument word")
                joined = next(word for word in words if "=" in word).split("=")[0]
                self.assertIn(f"`{joined}=", table_row(f"`{message}`"))

    def test_for_empty_arguments_are_explained(self):
        for words in (["--image", "", "--output", "o"], ["--image", "a.png", "--output", ""]):
            self.assertEqual((0, None), run_converter(*words))
        self.assertEqual((1, "'--help' duplicate option"), run_converter("--image", "", "--output", ""))
        self.assertIn("an empty argument", table_row("the list of options, exit status 0, no output"))

    def test_of_invalid_surfaces_are_explained(self):
        good = [0, 0, 2, 1, 8]  # rotation, mode, width, height, stride
        surfaces = [struct.pack("<5I", *good[:i], value, *good[i + 1:]) + bytes(8)
                    for i, value in ((0, 45), (1, 12), (1, 6), (2, 0), (3, 0), (4, 4))]
        whole = struct.pack("<5I", *good) + bytes(8)
        surfaces += [whole[:10], whole[:-5], whole + bytes(3)]
        documented = {in_general(message) for message in
                      re.findall(r"^\.It (.*)", (TREE / "docs/man/slabtool.1").read_text(), re.M) +
                      re.findall("`([^`]+)`", (TREE / "docs/troubleshooting.md").read_text())}
        for surface in surfaces:
            output = subprocess.run([os.environ["PNGSLAB_SLABTOOL"], "info", "-"], input=surface,
                                  stdout=subprocess.PIPE).stdout.decode()
            self.assertIn("problem: ", output)
            for problem in re.findall("problem: (.*)", output):
                with self.subTest(problem=problem):
                    self.assertIn(in_general(problem), documented)


if __name__ == "__main__":
    unittest.main()
