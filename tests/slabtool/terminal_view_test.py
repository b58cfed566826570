"""slabtool view in a terminal: a pseudo-terminal of a given size records the sequences. Their pixels are compared with
the PNG that view writes."""

import base64
import os
import random
import re
import struct
import subprocess
import tempfile
import unittest
import zlib
from pathlib import Path

from png_chunks import chunk, png_file
from pseudo_terminal import PseudoTerminal

SLABTOOL = os.environ["PNGSLAB_SLABTOOL"]
ESCAPE = b"\x1b"
HALF_BLOCKS = {"TERM": "xterm-256color", "COLORTERM": "truecolor"}
KITTY = {"TERM": "xterm-kitty"}
SIXELS = {"TERM": "foot"}
TERMINAL_VARIABLES = ("TERM", "COLORTERM", "TERM_PROGRAM", "TERMINAL_NAME", "VTE_VERSION", "KONSOLE_VERSION", "TMUX",
                      "LC_TERMINAL", "CTX_BACKEND", "NO_COLOR")
CHANNELS = {0: 1, 2: 3, 4: 2, 6: 4}
CLEAR = None  # shows the background of the terminal


def surroundings(env):
    """The variables of this process, with those of another terminal."""
    return {name: value for name, value in os.environ.items() if name not in TERMINAL_VARIABLES} | env


class TerminalView(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def run_tool(self, *words):
        subprocess.run([SLABTOOL, *words], cwd=self.folder, check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=60)

    def make_surface(self, width, height, color_type=6, seed=1, options=()):
        """Writes a.surface with random pixels."""
        numbers = random.Random(seed)
        rows = b"".join(b"\0" + numbers.randbytes(width * CHANNELS[color_type]) for _ in range(height))
        (self.folder / "a.png").write_bytes(png(width, height, color_type, rows))
        self.run_tool("convert", "--quiet", "--no-manifest", *options, "a.png", "a.surface")

    def view(self, *words, env=HALF_BLOCKS, status=0, errors="", stdin=subprocess.DEVNULL, **size):
        """What `slabtool view` writes to a terminal."""
        result, shown, messages = PseudoTerminal(**size).run([SLABTOOL, "view", *words], env=surroundings(env),
                                                             cwd=self.folder, stdin=stdin)
        self.assertEqual((status, errors), (result, messages.decode()))
        return shown

    def expected(self, *words, zoom=1, size=None, check_side=2):
        """The PNG that `view` writes, as a terminal shows it: enlarged, or reduced to a size."""
        self.run_tool("view", *(words or ["a.surface"]), "drawn.png")
        rows = read_png((self.folder / "drawn.png").read_bytes())
        width, height = size or (len(rows[0]) * zoom, len(rows) * zoom)
        return scaled(rows, width, height, check_side)

    def assert_shows(self, picture, shown):
        """`shown` is the picture. Below it and to its right is nothing."""
        for y, row in enumerate(shown):
            for x, pixel in enumerate(row):
                inside = y < len(picture) and x < len(picture[0])
                self.assertEqual(picture[y][x] if inside else CLEAR, pixel, f"row {y}, column {x}")
        self.assertGreaterEqual(len(shown), len(picture))
        self.assertGreaterEqual(len(shown[0]), len(picture[0]))

    # ---- Half blocks

    def test_half_blocks_are_the_pixels_of_the_png(self):
        for mode in ("ARGB8888", "RGB888", "RGB565", "ARGB1555", "ARGB4444"):
            for rotation in ("90", "180"):
                with self.subTest(mode=mode, rotation=rotation):
                    self.make_surface(30, 19, options=["--mode", mode, "--rotation", rotation])
                    drawn = self.view("a.surface", columns=30, rows=11)
                    self.assert_shows(self.expected(), half_blocks(drawn))

    def test_gray_and_alpha_values_are_drawn_as_in_the_png_with_its_note(self):
        gray = ("gray values, or indices whose palette is not in the surface file [palette]", [])
        alpha = ("alpha values, without colors [alpha-only]", ["--alphaonly"])
        for color_type, (note, options) in ((0, gray), (4, gray), (0, alpha)):
            self.make_surface(9, 8, color_type, options=options)
            drawn = self.view("a.surface", columns=9, errors=f"slabtool: a.surface: note: {note}; drawn as gray\n")
            self.assert_shows(self.expected(), half_blocks(drawn))

    def test_small_pictures_are_enlarged_by_whole_numbers(self):
        self.make_surface(5, 4)
        for columns, rows, zoom in ((5, 24, 1), (9, 24, 1), (10, 24, 2), (80, 5, 2), (80, 7, 3), (80, 24, 8)):
            with self.subTest(columns=columns, rows=rows):
                drawn = half_blocks(self.view("a.surface", columns=columns, rows=rows))
                self.assert_shows(self.expected(zoom=zoom), drawn)

    def test_large_pictures_are_reduced_to_means(self):
        for width, height, columns, rows, size in ((101, 37, 10, 24, (10, 3)), (37, 101, 80, 6, (3, 10)),
                                                   (400, 1, 20, 24, (20, 1)), (1, 400, 80, 3, (1, 4)),
                                                   (40, 30, 1, 1, (1, 1))):
            with self.subTest(width=width, height=height):
                self.make_surface(width, height)
                drawn = half_blocks(self.view("a.surface", columns=columns, rows=rows))
                self.assert_shows(self.expected(size=size), drawn)

    def test_palettes_give_the_colors_of_indices(self):
        palette = bytes(range(30, 60))
        (self.folder / "flag.png").write_bytes(png(3, 1, 3, b"\0\0\5\x09", palette))
        self.run_tool("convert", "--palette", "--quiet", "--no-manifest", "flag.png", "flag.surface")
        words = ("--palette", "flag.palette", "flag.surface")
        self.assert_shows(self.expected(*words), half_blocks(self.view(*words, columns=3)))
        self.assertEqual([(30, 31, 32), (45, 46, 47), (57, 58, 59)], self.expected(*words)[0])

    def test_terminals_of_few_colors_get_few_colors(self):
        self.make_surface(8, 8)
        for term, colors in (("xterm", rb"[34]8;5;\d+"), ("linux", rb"\d\d\d?")):
            drawn = self.view("a.surface", env={"TERM": term})
            self.assertIn("▄".encode(), drawn)
            for sequence in re.findall(ESCAPE + rb"\[([^m]*)m", drawn):
                self.assertRegex(sequence, rb"^(0|7|(%s;?)+)$" % colors)

    def test_multiplexers_get_half_blocks(self):
        self.make_surface(8, 8)
        for term in ("screen-256color", "tmux-256color"):
            drawn = self.view("a.surface", env={"TERM": term, "TERM_PROGRAM": "WezTerm"})
            self.assertIn("▄".encode(), drawn)
            self.assertNotIn(ESCAPE + b"P", drawn)

    # ---- Pixels

    def test_kitty_gets_the_pixels_of_the_png(self):
        self.make_surface(30, 25)
        for columns, rows, pixels, zoom in ((3, 3, (30, 60), 1), (10, 6, (73, 121), 2), (80, 24, (0, 0), 8)):
            with self.subTest(columns=columns, rows=rows):
                drawn = self.view("a.surface", env=KITTY, columns=columns, rows=rows, pixels=pixels)
                self.assertEqual(self.expected(zoom=zoom, check_side=8), kitty_picture(drawn))

    def test_kitty_gets_reduced_pictures(self):
        self.make_surface(50, 90)
        drawn = self.view("a.surface", env=KITTY, columns=9, rows=4, pixels=(90, 64))
        self.assertEqual(self.expected(size=(26, 48), check_side=8), kitty_picture(drawn))

    def test_sixels_have_the_size_and_the_colors_of_the_picture(self):
        colors = [(255, 0, 0), (0, 255, 0), (0, 0, 255), (255, 255, 0), (255, 255, 255), (0, 0, 0)]
        rows = b"\0" + b"".join(map(bytes, colors[:3])) + b"\0" + b"".join(map(bytes, colors[3:]))
        (self.folder / "a.png").write_bytes(png(3, 2, 2, rows))
        self.run_tool("convert", "--quiet", "--no-manifest", "a.png", "a.surface")
        for term in ("foot", "mlterm"):
            drawn = sixel_picture(self.view("a.surface", env={"TERM": term}))
            for y, row in enumerate(self.expected(zoom=8, check_side=8)):
                for x, pixel in enumerate(row):
                    difference = max(abs(a - b) for a, b in zip(pixel, drawn[y][x]))
                    self.assertLess(difference, 9, f"row {y}, column {x}")
            self.assertIs(CLEAR, drawn[-1][0])
            self.assertIs(CLEAR, drawn[0][-1])

    def test_sixels_fit_the_terminal(self):
        self.make_surface(200, 300)
        for rows, height in ((2, 18), (4, 60), (5, 78)):
            drawn = sixel_picture(self.view("a.surface", env=SIXELS, columns=50, rows=rows, pixels=(500, rows * 20)))
            self.assertEqual(height, len(drawn))

    # ---- Sizes of terminals

    def test_a_terminal_without_a_size_counts_as_80_by_24(self):
        self.make_surface(200, 10)
        for size in ({"columns": 0, "rows": 0}, {"columns": 0, "rows": 24}, {"columns": 80, "rows": 0}):
            drawn = half_blocks(self.view("a.surface", **size))
            self.assertEqual(80, len(drawn[0]))

    def test_the_picture_of_a_huge_terminal_is_bounded(self):
        self.make_surface(5000, 3, 0)
        note = "slabtool: a.surface: note: gray values, or indices whose palette is not in the surface file " \
               "[palette]; drawn as gray\n"
        drawn = self.view("a.surface", env=KITTY, columns=65535, rows=65535, pixels=(65535, 65535), errors=note)
        self.assertEqual(4096, len(kitty_picture(drawn)[0]))
        self.assertEqual(512, len(half_blocks(self.view("a.surface", columns=65535, rows=65535, errors=note))[0]))

    def test_every_size_fits(self):
        self.make_surface(37, 23)
        for env, decoded in ((HALF_BLOCKS, half_blocks), (KITTY, kitty_picture)):
            height, width = (2, 1) if env is HALF_BLOCKS else (20, 10)
            for columns, rows in ((1, 1), (1, 24), (80, 1), (2, 2), (3, 24), (80, 3)):
                drawn = decoded(self.view("a.surface", env=env, columns=columns, rows=rows))
                self.assertLessEqual(len(drawn[0]), columns * width)
                self.assertLessEqual(len(drawn), max(rows - 1, 1) * height)

    # ---- Inputs and errors

    def test_standard_input_is_shown(self):
        self.make_surface(6, 6)
        with open(self.folder / "a.surface", "rb") as surface:
            drawn = self.view("-", stdin=surface, columns=6)
        self.assert_shows(self.expected(), half_blocks(drawn))

    def test_without_a_terminal_the_fix_is_printed(self):
        for name, word in (("a.surface", "a.surface"), ("-", "-"),
                           ("a b\x1b[31m", "\"$(printf 'a\\040b\\033\\13331m')\"")):
            result = subprocess.run([SLABTOOL, "view", name], cwd=self.folder, capture_output=True, text=True,
                                    timeout=60, stdin=subprocess.DEVNULL)
            self.assertEqual((1, "", "slabtool: standard output is not a terminal; write a PNG: slabtool view "
                              f"{word} picture.png\n"), (result.returncode, result.stdout, result.stderr))

    def test_terminals_without_sequences_get_none(self):
        self.make_surface(4, 4)
        for env in ({"TERM": "dumb"}, {"TERM": ""}, {}):
            message = "slabtool: this terminal cannot show pictures; write a PNG: slabtool view a.surface picture.png\n"
            self.assertEqual(b"", self.view("a.surface", env=env, status=1, errors=message))

    def test_rejected_files_show_nothing(self):
        self.make_surface(4, 4)
        whole = (self.folder / "a.surface").read_bytes()
        for content, reason in ((whole[:-9], "9 bytes of the rows are missing"),
                                (whole[:4] + b"\x4d" + whole[5:], "color mode 77 is unknown"),
                                (b"", "the file is shorter than the 20-byte header")):
            (self.folder / "a\x1b[31m.surface").write_bytes(content)
            shown = self.view("a\x1b[31m.surface", status=1, errors=f"slabtool: a?[31m.surface: {reason}\n")
            self.assertEqual(b"", shown)

    def test_a_closed_terminal_is_reported(self):
        self.make_surface(300, 300)
        terminal = PseudoTerminal(columns=300, rows=200)
        run = terminal.start([SLABTOOL, "view", "a.surface"], env=surroundings(HALF_BLOCKS), cwd=self.folder)
        os.read(terminal.master, 1)
        terminal.close()
        errors = run.communicate(timeout=60)[1].decode()
        self.assertEqual((1, "slabtool: standard output: Input/output error\n"), (run.returncode, errors))


# ---- Pictures as rows of pixels

def png(width, height, color_type, rows, palette=b""):
    colors = [chunk(b"PLTE", palette)] if palette else []
    return png_file(width, height, color_type, *colors, chunk(b"IDAT", zlib.compress(rows)))


def unfiltered(kind, row, above, step):
    row = bytearray(row)
    for x, byte in enumerate(row):
        left, up, corner = (row[x - step], above[x], above[x - step]) if x >= step else (0, above[x], 0)
        guess = left + up - corner
        paeth = min((left, up, corner), key=lambda value: abs(guess - value))
        row[x] = (byte + (0, left, up, (left + up) // 2, paeth)[kind]) & 255
    return row


def read_png(file):
    """Rows of (red, green, blue, alpha)."""
    width, height, _, color_type = struct.unpack(">IIBB", file[16:26])
    data, at = b"", 8
    while at < len(file):
        size, kind = struct.unpack(">I4s", file[at:at + 8])
        data += file[at + 8:at + 8 + size] if kind == b"IDAT" else b""
        at += size + 12
    data, step, rows = zlib.decompress(data), CHANNELS[color_type], []
    size = width * step
    above = bytearray(size)
    for y in range(height):
        row = data[y * (size + 1):(y + 1) * (size + 1)]
        above = unfiltered(row[0], row[1:], above, step)
        pixels = [tuple(above[x:x + step]) for x in range(0, size, step)]
        rows.append([(pixel[:1] * 3 if step < 3 else pixel[:3]) + (pixel[-1:] if step % 2 == 0 else (255,))
                     for pixel in pixels])
    return rows


def scaled(rows, width, height, check_side):
    """Means of the pixels on a checkerboard: rows of (red, green, blue)."""
    def place(i, count, size):
        begin = i * size // count
        return range(begin, max((i + 1) * size // count, begin + 1))

    def mean(x, y):
        pixels = [rows[v][u] for v in place(y, height, len(rows)) for u in place(x, width, len(rows[0]))]
        under = 102 if (x // check_side + y // check_side) % 2 == 0 else 153
        weight = 255 * len(pixels)
        return tuple((sum(pixel[i] * pixel[3] + under * (255 - pixel[3]) for pixel in pixels) + weight // 2) // weight
                     for i in range(3))

    return [[mean(x, y) for x in range(width)] for y in range(height)]


# ---- Sequences of terminals

def half_blocks(shown):
    """The pixels of half blocks; each row of text has two rows of them."""
    picture = []
    for line in shown.decode().splitlines():
        upper, lower, state = [], [], {"fore": CLEAR, "back": CLEAR, "inverse": False}
        for numbers, character in re.findall("\x1b\\[([0-9;]*)m|(.)", line):
            if not character:
                set_colors(state, [int(number) for number in numbers.split(";")])
                continue
            ink, paper = state["fore"], state["back"]
            if state["inverse"]:
                ink, paper = paper, ink
            upper.append(ink if character == "▀" else paper)
            lower.append(ink if character == "▄" else paper)
            assert character in "▀▄ ", repr(character)
        picture += [upper, lower]
    return picture


def set_colors(state, numbers):
    while numbers:
        number = numbers.pop(0)
        if number == 0:
            state.update(fore=CLEAR, back=CLEAR, inverse=False)
        elif number == 7:
            state["inverse"] = True
        else:
            assert number in (38, 48) and numbers.pop(0) == 2, number
            state["fore" if number == 38 else "back"] = tuple(numbers[:3])
            del numbers[:3]


def kitty_picture(shown):
    """The pixels of one picture in parts."""
    assert re.sub(rb"\x1b_G[^\x1b]*\x1b\\", b"", shown) == b"\n", "more than one picture and a line feed"
    parts = re.findall(rb"\x1b_G([^;\x1b]*);([^\x1b]*)\x1b", shown)
    assert all(len(data) <= 4096 for _, data in parts)
    size = re.match(rb"a=T,f=24,q=2,s=(\d+),v=(\d+),m=", parts[0][0])
    assert [keys[-3:] for keys, _ in parts] == [b"m=1"] * (len(parts) - 1) + [b"m=0"]
    assert all(len(keys) == 3 for keys, _ in parts[1:]), "only the first part has keys"
    width, height = int(size[1]), int(size[2])
    data = base64.b64decode(b"".join(data for _, data in parts), validate=True)
    assert len(data) == width * height * 3, size
    pixels = [tuple(data[i:i + 3]) for i in range(0, len(data), 3)]
    return [pixels[i:i + width] for i in range(0, len(pixels), width)]


def sixel_picture(shown):
    """The pixels. Colors are given in percent."""
    head = re.match(rb'\x1bP0;1;0q"1;1;(\d+);(\d+)(.*)\x1b\\\n$', shown, re.S)
    width, height, body = int(head[1]), int(head[2]), head[3].decode()
    picture = [[CLEAR] * width for _ in range(height)]
    palette, color, x, y = {}, None, 0, 0
    for define, pick, count, bits, move in re.findall(r"#(\d+;2;\d+;\d+;\d+)|#(\d+)|(?:!(\d+))?([?-~])|([$-])", body):
        if define:
            number, _, *percents = map(int, define.split(";"))
            palette[number] = tuple(round(percent * 2.55) for percent in percents)
        elif pick:
            color = palette[int(pick)]
        elif move:
            x, y = 0, y + (6 if move == "-" else 0)
        else:
            for _ in range(int(count or 1)):
                for bit in range(6):
                    if ord(bits) - 63 >> bit & 1:
                        picture[y + bit][x] = color
                x += 1
    return picture


if __name__ == "__main__":
    unittest.main()
