"""The usage screens, the manual pages and the completions of three shells must have the same options."""

import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
PROGRAMS = {"pngslab": os.environ["PNGSLAB_PROGRAM"], "slabtool": os.environ["PNGSLAB_SLABTOOL"]}
OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]*")
COMMANDS = ["info", "view", "gallery", "check", "prepare", "compare", "convert", "embed", "manifest"]

BASH = """source "$1"
COMP_WORDS=("${@:2}") COMP_CWORD=$(($# - 2))
compopt() { :; }
_$2
printf '%s\\n' "${COMPREPLY[@]}"
"""
# Replaces the functions of zsh that receive the options by functions that print them.
ZSH = """_arguments() { print -rl -- "$@"; if [[ $1 == -C ]]; then state=$STATE; fi }
_describe() { print -rl -- ${(P)2} }
offer() { source "$1" }
offer "$1"
"""


def printed(*command, **surroundings):
    return subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, text=True,
                          check=True, **surroundings).stdout


def bash_offers(*words):
    file = TREE / f"completions/{words[0]}.bash"
    return printed("bash", "-c", BASH, "bash", file, *words).split()


def zsh_offers(*words, state="argument"):
    file = TREE / f"completions/{words[0]}.zsh"
    script = f"words=({' '.join(words[1:]) or 'none'})\n{ZSH}"
    return printed("zsh", "-f", "-c", script, "zsh", file, env={**os.environ, "STATE": state})


def fish_offers(*words):
    file = TREE / f"completions/{words[0]}.fish"
    with tempfile.TemporaryDirectory() as home:
        lines = printed("fish", "--no-config", "-c", f'source {file}; complete -C "{" ".join(words)}"',
                        env={**os.environ, "HOME": home})
    return [line.split("\t")[0] for line in lines.splitlines()]


def options_in(text):
    return sorted(set(OPTION.findall(text)))


def options_of(*words):
    """The options in the usage screen of a program or of a sub-command."""
    screen = printed(PROGRAMS[words[0]], *words[1:], "--help")
    # Descriptions may name options of other programs.
    declared = [line for line in screen.splitlines() if re.match(r" +(-\w,)?--", line)]
    return options_in("\n".join(re.split(r"   ", line.strip())[0] for line in declared))


def manual(program):
    """The text of a manual page; mdoc writes an option as Fl and the option without its first minus."""
    text = (TREE / f"docs/man/{program}.1").read_text()
    return re.sub(r"\bFl -", "--", text)


class Options(unittest.TestCase):
    def test_of_the_converter_are_the_same_everywhere(self):
        options = options_of("pngslab")
        self.assertEqual(5, len(options))
        synopsis = manual("pngslab").split(".Sh DESCRIPTION")[0]
        described = re.findall(r"^\.It (--[a-z-]+)", manual("pngslab"), re.M)
        self.assertEqual(options, options_in(synopsis))
        self.assertEqual(options, sorted(described))
        self.assertEqual(options, sorted(bash_offers("pngslab", "--")))
        self.assertEqual(options, options_in(zsh_offers("pngslab")))
        self.assertEqual(options, sorted(fish_offers("pngslab", "--")))

    def test_of_the_companion_are_the_same_everywhere(self):
        described = dict(re.findall(r"^\.It Cm (\w+)(.*)", manual("slabtool"), re.M))
        synopsis = manual("slabtool").split(".Sh DESCRIPTION")[0]
        synopsis = dict(re.findall(r"^\.Cm (\w+)\n((?:\.(?:Op |--).*\n)*)", synopsis, re.M))
        self.assertEqual(COMMANDS, list(described))
        self.assertEqual(COMMANDS, list(synopsis))
        for command in COMMANDS:
            with self.subTest(command=command):
                options = options_of("slabtool", command)
                own = [option for option in options if option != "--help"]
                self.assertEqual(own, options_in(described[command]))
                self.assertEqual(own, options_in(synopsis[command]))
                self.assertEqual(options, sorted(bash_offers("slabtool", command, "--")))
                self.assertEqual(options, options_in(zsh_offers("slabtool", command).split("*::argument")[1]))
                self.assertEqual(options, sorted(fish_offers("slabtool", command, "--")))

    def test_are_preceded_by_a_sub_command(self):
        screen = printed(PROGRAMS["slabtool"], "--help").split("Subcommands:")[1]
        self.assertEqual(COMMANDS, re.findall(r"^  (\w+)", screen, re.M))
        self.assertEqual(COMMANDS + ["--help", "--version"], bash_offers("slabtool", ""))
        self.assertEqual(COMMANDS, re.findall(r"^([a-z]+):", zsh_offers("slabtool", state="command"), re.M))
        self.assertEqual(sorted(COMMANDS), sorted(fish_offers("slabtool", "")))
        self.assertEqual(["--help", "--version"], sorted(fish_offers("slabtool", "--")))
        self.assertIn("--version", options_in(zsh_offers("slabtool", state="command")))


class Rotations(unittest.TestCase):
    """Only 90 rotates the pixels. Shells that show descriptions say so."""

    def expect(self, described):
        self.assertEqual(["by 90 degrees counter-clockwise", "accepted; changes nothing",
                          "accepted; changes nothing"], described)

    def test_are_described_by_fish(self):
        file = TREE / "completions/pngslab.fish"
        with tempfile.TemporaryDirectory() as home:
            lines = printed("fish", "--no-config", "-c", f'source {file}; complete -C "pngslab --rotation "',
                            env={**os.environ, "HOME": home}).splitlines()
        self.assertEqual(["90", "180", "270"], [line.split("\t")[0] for line in lines])
        self.expect([line.split("\t")[1] for line in lines])

    def test_are_described_by_zsh(self):
        values = re.search(r"--rotation\[rotate the pixels\]:degrees:\(\((.*)\)\)", zsh_offers("pngslab"))[1]
        self.expect(re.findall(r'\d+\\:"([^"]*)"', values))


class BashCompletion(unittest.TestCase):
    def test_offers_no_option_twice(self):
        self.assertEqual(["--help", "--image", "--rotation", "--output"],
                         bash_offers("pngslab", "--alphaonly", ""))

    def test_offers_values_after_options(self):
        self.assertEqual(["90", "180", "270"], bash_offers("pngslab", "--rotation", ""))
        self.assertEqual(["180"], bash_offers("pngslab", "--rotation", "1"))

    def test_offers_images_where_images_are_read(self):
        images = f"{TREE}/samples/"
        expected = [images + "quill.png", images + "seal.png"]
        self.assertEqual(expected, sorted(bash_offers("pngslab", "--image", images)))
        self.assertEqual(expected, sorted(bash_offers("slabtool", "check", images)))
        self.assertIn(images + "make_seal.py", bash_offers("pngslab", "--output", images))
        self.assertIn(images + "make_seal.py", bash_offers("slabtool", "info", images))


class FishCompletion(unittest.TestCase):
    def test_offers_images_first_where_images_are_read(self):
        images = f"{TREE}/samples/"
        for command in (["pngslab", "--image"], ["slabtool", "check"], ["slabtool", "prepare"]):
            with self.subTest(command=command):
                self.assertEqual([images + "quill.png", images + "seal.png"],
                                 fish_offers(*command, images)[:2])


if __name__ == "__main__":
    unittest.main()
