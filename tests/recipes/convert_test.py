"""The recipe of docs/recipes.md for slabtool convert."""
import os
import unittest

from workshop import Workshop, section, surface_path


class Convert(Workshop):
    def setUp(self):
        super().setUp()
        os.symlink(os.environ["PNGSLAB_SLABTOOL"], self.folder / "bin/slabtool")
        self.command = section("slabtool convert")[1][0]

    def test_makes_every_surface_and_removes_those_without_an_image(self):
        names = ["one.png", "icons/two.png"]
        self.add_images(names)
        self.assert_runs(self.command)
        self.assertTrue(all((self.folder / surface_path(name)).exists() for name in names))
        (self.folder / "images/one.png").unlink()
        output = self.assert_runs(self.command).stdout
        self.assertIn("up to date 1", output)
        self.assertIn("pruned 1", output)
        self.assertFalse((self.folder / surface_path("one.png")).exists())


if __name__ == "__main__":
    unittest.main()
