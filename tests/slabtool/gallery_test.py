"""The page of slabtool gallery: its pictures, its texts, its security policy, and hostile file names."""

import base64
import hashlib
import os
import re
import shutil
import struct
import subprocess
import tempfile
import unittest
import zlib
from html.parser import HTMLParser
from pathlib import Path

from png_chunks import chunk, png_file

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
SLABTOOL = os.environ["PNGSLAB_SLABTOOL"]
SAMPLES = TREE / "samples"
MODES = ["ARGB8888", "RGB888", "RGB565", "ARGB1555", "ARGB4444"]


class Page(HTMLParser):
    """The cards of a page, and the texts of its style and script."""

    def __init__(self, html):
        super().__init__(convert_charrefs=True)
        self.policy, self.cards, self.texts, self.open = None, [], {}, []
        self.feed(html)

    def handle_starttag(self, tag, attrs):
        attrs = dict(attrs)
        if tag == "meta" and attrs.get("http-equiv") == "Content-Security-Policy":
            self.policy = attrs["content"]
        elif tag == "li":
            self.cards.append({"data": attrs, "text": "", "picture": None})
        elif tag == "img":
            head, data = attrs["src"].split(",", 1)
            assert head == "data:image/png;base64", head
            self.cards[-1]["picture"] = base64.b64decode(data, validate=True)
            self.cards[-1]["class"] = attrs.get("class")
            self.cards[-1]["size"] = (int(attrs["width"]), int(attrs["height"]))
        if tag not in ("meta", "img", "wbr", "input"):
            self.open.append(tag)

    def handle_endtag(self, tag):
        while self.open.pop() != tag:
            pass

    def handle_data(self, data):
        if self.open and self.open[-1] in ("style", "script", "h1", "title"):
            self.texts.setdefault(self.open[-1], []).append(data)
        if "li" in self.open:
            self.cards[-1]["text"] += data + ("" if self.open[-1] == "h2" else "\n")

    def card(self, name):
        return next(card for card in self.cards if card["data"]["data-name"] == name)


class Gallery(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def run_tool(self, *arguments, status=0):
        result = subprocess.run([SLABTOOL, *arguments], cwd=self.folder, capture_output=True, text=True, timeout=60)
        self.assertEqual(status, result.returncode, result.stderr)
        return result

    def make_page(self, *arguments):
        self.output = self.run_tool("gallery", *arguments, "-o", "page.html").stdout
        self.html = (self.folder / "page.html").read_text(encoding="utf-8")
        return Page(self.html)

    def convert_samples(self, *options):
        self.run_tool("convert", "--keep-colors", "--quiet", *options, str(SAMPLES), "icons/")
        return sorted(path.relative_to(self.folder / "icons").as_posix()
                      for path in (self.folder / "icons").rglob("*.surface"))

    def test_shows_each_surface_as_view_draws_it(self):
        for mode in MODES:
            with self.subTest(mode=mode):
                names = self.convert_samples("--mode", mode, "--rotation", "90")
                page = self.make_page("icons")
                self.assertEqual(names, [card["data"]["data-name"] for card in page.cards])
                for name in names:
                    card = page.card(name)
                    self.run_tool("view", f"icons/{name}", "drawn.png")
                    self.assertEqual((self.folder / "drawn.png").read_bytes(), card["picture"])
                    self.assertEqual(mode, card["data"]["data-mode"])
                    self.assertEqual("consistent", card["data"]["data-verdict"])
                    size = (self.folder / "icons" / name).stat().st_size
                    self.assertEqual(str(size), card["data"]["data-bytes"])
                    self.assertIn(f"{mode}, ", card["text"])
                    self.assertIn(f"{size:,} bytes, rotation 90", card["text"])

    def test_shows_gray_and_alpha_values_as_view_draws_them(self):
        for mode, color_type, options in (("I8", 0, []), ("AI88", 4, []), ("A8", 0, ["--alphaonly"])):
            with self.subTest(mode=mode):
                row = b"\0" + bytes([7, 200] if color_type else [7])
                (self.folder / "gray.png").write_bytes(png(1, 2, color_type, row * 2))
                self.run_tool("convert", *options, "--quiet", "gray.png", "a.surface")
                card = self.make_page("a.surface").cards[0]
                self.run_tool("view", "a.surface", "drawn.png")
                self.assertEqual((self.folder / "drawn.png").read_bytes(), card["picture"])
                self.assertEqual(mode, card["data"]["data-mode"])

    def test_draws_indices_in_the_colors_of_the_palette_beside_the_surface(self):
        indexed = png(2, 1, 3, b"\0\0\1", palette=bytes([255, 0, 0, 0, 0, 255]))
        (self.folder / "flag.png").write_bytes(indexed)
        self.run_tool("convert", "--palette", "--quiet", "flag.png", "out/")
        card = self.make_page("out").cards[0]
        self.run_tool("view", "--palette", "out/flag.palette", "out/flag.surface", "drawn.png")
        self.assertEqual((self.folder / "drawn.png").read_bytes(), card["picture"])
        (self.folder / "out/flag.palette").unlink()
        card = self.make_page("out").cards[0]
        self.assertIn("[palette]", card["text"])

    def test_draws_gray_values_if_the_palette_cannot_be_read(self):
        (self.folder / "flag.png").write_bytes(png(2, 1, 3, b"\0\0\1", palette=bytes([255, 0, 0, 0, 0, 255])))
        self.run_tool("convert", "--quiet", "flag.png", "out/")
        palette = self.folder / "out/flag.palette"
        palette.write_bytes(b"too short")
        card = self.make_page("out").cards[0]
        self.assertIn("out/flag.palette: is not a palette file of 768 or 1024 bytes", card["text"])
        self.run_tool("view", "out/flag.surface", "drawn.png")
        self.assertEqual((self.folder / "drawn.png").read_bytes(), card["picture"])
        palette.unlink()
        palette.symlink_to(palette)
        card = self.make_page("out").cards[0]
        self.assertIn("out/flag.palette: cannot be opened", card["text"])
        self.assertIsNotNone(card["picture"])

    def test_names_the_number_of_many_inputs(self):
        self.convert_samples()
        surfaces = sorted(str(path) for path in (self.folder / "icons").glob("*.surface"))
        page = self.make_page(*surfaces, *surfaces, "icons")
        self.assertEqual([f"Gallery of {2 * len(surfaces) + 1} inputs"], page.texts["h1"])

    def test_shows_each_named_file_that_cannot_be_opened_with_one_reason(self):
        page = self.make_page("--images", "gone.png", "gone.surface")
        self.assertEqual(["gone.png", "gone.surface"], [card["data"]["data-name"] for card in page.cards])
        for card in page.cards:
            self.assertEqual(1, card["text"].count("cannot be opened"), card["text"])

    def test_enlarges_small_pictures_by_whole_numbers(self):
        for side, zoom in ((1, 8), (16, 8), (17, 7), (64, 2), (65, 1), (300, 1)):
            (self.folder / "a.png").write_bytes(png(side, side, 0, (b"\0" * (side + 1)) * side))
            card = self.make_page("a.png").cards[0]
            self.assertEqual((side * zoom, side * zoom), card["size"])
            self.assertEqual("reduced" if side == 300 else None, card["class"])

    def test_allows_nothing_but_its_own_style_script_and_pictures(self):
        self.convert_samples()
        page = self.make_page("icons")
        sources = {}
        for tag in ("style", "script"):
            digest = hashlib.sha256("".join(page.texts[tag]).encode()).digest()
            sources[tag] = f"'sha256-{base64.b64encode(digest).decode()}'"
        self.assertEqual(f"default-src 'none'; img-src data:; style-src {sources['style']}; script-src "
                         f"{sources['script']}; base-uri 'none'; form-action 'none'", page.policy)
        self.assertIsNone(re.search(r"https?:", self.html))

    def test_shows_images_with_verdict_reason_and_fix(self):
        shutil.copytree(SAMPLES, self.folder / "images")
        (self.folder / "images/gray16.png").write_bytes(png(1, 1, 0, b"\0\1\2", depth=16))
        (self.folder / "images/empty.png").write_bytes(b"")
        page = self.make_page("images", "--images")
        self.assertEqual(sorted(path.name for path in (self.folder / "images").glob("*.png")),
                         [card["data"]["data-name"] for card in page.cards])
        for card in page.cards:
            path = self.folder / "images" / card["data"]["data-name"]
            report = self.run_tool("check", f"images/{path.name}", status=int(path.stem in ("gray16", "empty"))).stdout
            self.assertIn(f": {card['data']['data-verdict']}: ", report)
        rejected = page.card("gray16.png")
        self.assertEqual("rejected", rejected["data"]["data-verdict"])
        self.assertIn("[bit-depth]", rejected["text"])
        self.assertIn("slabtool prepare images/gray16.png images/gray16-prepared.png", rejected["text"])
        self.assertEqual((self.folder / "images/gray16.png").read_bytes(), rejected["picture"])
        self.assertIsNone(page.card("empty.png")["picture"])

    def test_shows_a_surface_that_is_not_consistent_with_the_reason(self):
        name = self.convert_samples()[0]
        path = self.folder / "icons" / name
        path.write_bytes(path.read_bytes()[:40])
        card = self.make_page("icons").card(name)
        self.assertEqual("not consistent", card["data"]["data-verdict"])
        self.assertIn("bytes of the rows are missing", card["text"])
        self.assertIsNone(card["picture"])

    def test_escapes_hostile_names(self):
        name = "\"><img src=x onerror=alert(1)>&amp;'\x1b[31m\u202e.surface"
        for raw in (name.encode(), b"\xff\xfe.surface"):
            (self.folder / "icons").mkdir(exist_ok=True)
            with open(os.path.join(os.fsencode(self.folder / "icons"), raw), "wb") as file:
                file.write(struct.pack("<5I", 0, 7, 1, 1, 4) + b"\1\2\3\4")
        page = self.make_page("icons")
        self.assertEqual({name.replace("\x1b", "?"), "\ufffd\ufffd.surface"},
                         {card["data"]["data-name"] for card in page.cards})
        self.assertEqual(2, self.html.count("<img"))

    def test_names_files_of_several_inputs_by_their_paths(self):
        self.convert_samples()
        shutil.copytree(self.folder / "icons", self.folder / "more")
        page = self.make_page("icons", "more")
        names = [card["data"]["data-name"] for card in page.cards]
        self.assertEqual(sorted(str(path.relative_to(self.folder)) for path in self.folder.rglob("*.surface")), names)

    def test_shows_a_file_that_is_named_twice_once(self):
        self.convert_samples()
        page = self.make_page("icons", "icons/quill.surface", "icons/quill.surface")
        names = [card["data"]["data-name"] for card in page.cards]
        self.assertEqual(sorted(set(names)), names)
        self.assertIn("icons/quill.surface", names)

    def test_prints_the_totals(self):
        names = self.convert_samples()
        size = sum((self.folder / "icons" / name).stat().st_size for name in names)
        page = self.make_page("icons")
        totals = f"{len(names)} surfaces, {size:,} bytes; {len(names)} consistent"
        self.assertEqual(f"page.html: {totals}\n", self.output)
        self.assertIn(f"<p>{totals}</p>", self.html)
        self.assertEqual(["Gallery of icons"], page.texts["h1"])
        self.make_page("icons", "--quiet")
        self.assertEqual("", self.output)

    def test_is_the_same_for_any_number_of_threads(self):
        self.convert_samples()
        self.make_page("icons", "--jobs", "1")
        html = self.html
        self.make_page("icons", "--jobs", "3")
        self.assertEqual(html, self.html)

    def test_rejects_a_folder_without_surfaces_and_keeps_the_old_page(self):
        (self.folder / "empty").mkdir()
        (self.folder / "page.html").write_text("old")
        result = self.run_tool("gallery", "empty", "-o", "page.html", status=1)
        self.assertEqual("slabtool: no surface files found; slabtool convert makes surface files\n", result.stderr)
        self.assertEqual("old", (self.folder / "page.html").read_text())


def png(width, height, color_type, rows, depth=8, palette=None):
    colors = [chunk(b"PLTE", palette)] if palette else []
    return png_file(width, height, color_type, *colors, chunk(b"IDAT", zlib.compress(rows)), depth=depth)


if __name__ == "__main__":
    unittest.main()
