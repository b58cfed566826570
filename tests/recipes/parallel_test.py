"""The recipes of docs/recipes.md for GNU parallel on one machine, and for checking the surfaces."""

import os
import unittest
from pathlib import Path

from workshop import ODD_NAMES, REJECTED, Workshop, make_png, section

SLABTOOL = Path(os.environ["PNGSLAB_SLABTOOL"])
NAMES = ["quill.png", "icons/seal.png", "two.png", "three.png", *ODD_NAMES]


class Slabtool(Workshop):
    def setUp(self):
        super().setUp()
        (self.folder / "bin/slabtool").symlink_to(SLABTOOL)


class Parallel(Slabtool):
    def setUp(self):
        super().setUp()
        self.list_images, self.command, self.fix = section("GNU parallel")[1]
        self.add_images(NAMES)

    def test_makes_every_surface_once(self):
        self.assert_runs(self.list_images)
        self.assert_runs(self.command)
        self.assert_surfaces(NAMES)
        self.calls()
        self.assert_runs(self.command)
        self.assertEqual(self.calls(), [])

    def test_converts_only_failed_images_after_they_were_fixed(self):
        for name in ("icons/bell.png", "rejected.png"):
            self.add_image(name, REJECTED)
        self.assert_runs(self.list_images)
        self.assert_runs(self.command, status=2)
        self.assert_surfaces(NAMES)
        self.calls()

        output = self.assert_runs(self.fix).stdout
        self.assertEqual([line.split(": ")[0] for line in output.splitlines()],
                         ["images/icons/bell.png", "images/rejected.png"])
        self.assert_runs(self.command, status=1)
        self.assertEqual(self.calls(), ["images/icons/bell.png", "images/rejected.png"])
        self.assert_surfaces([*NAMES, "icons/bell.png"])

    def test_keeps_the_old_surface_of_a_rejected_image(self):
        self.assert_runs(self.list_images)
        self.assert_runs(self.command)
        older = self.surface("two.png")
        self.add_image("two.png", REJECTED)
        (self.folder / "surfaces.log").unlink()
        self.assert_runs(self.command, status=1)
        self.assertEqual(self.surface("two.png"), older)

    def test_continues_after_an_interruption(self):
        self.add_image("halt.png", make_png(3))
        self.assert_runs(self.list_images)
        self.interrupt_at_halt(self.command)
        log = (self.folder / "surfaces.log").read_text()
        self.calls()

        self.assert_runs(self.command)
        again = self.calls()
        self.assertIn("images/halt.png", again)
        self.assertEqual([name for name in again if f"\t0\t0\t./convert-one.sh {name} " in log], [])
        self.assert_surfaces([*NAMES, "halt.png"])


class Checking(Slabtool):
    def test_prints_inconsistent_surfaces(self):
        check, = section("Checking the surfaces")[1]
        (self.folder / "surfaces").mkdir()
        self.add_image("good.png", make_png(1))
        self.assert_runs("./convert-one.sh images/good.png 'surfaces/good one.surface'")
        self.assertEqual(self.assert_runs(check).stdout, "")

        (self.folder / "surfaces/empty.surface").touch()
        self.assertIn("surfaces/empty.surface", self.assert_runs(check, status=1).stdout)


if __name__ == "__main__":
    unittest.main()
