"""The recipes of docs/recipes.md for one machine, run unchanged."""

import resource
import shutil
import signal
import unittest

from workshop import ODD_NAMES, REJECTED, Workshop, make_png, section

PLAIN_NAMES = ["quill.png", "icons/seal.png", "icons/large/one.png", "two.png", "three.png"]


class ConvertOne(Workshop):
    def test_makes_the_folders_of_the_surface(self):
        self.add_image("a.png", make_png(1))
        self.assert_runs("./convert-one.sh images/a.png surfaces/deep/er/a.surface")
        self.assertEqual(self.surface("deep/er/a.png"), self.converted("a.png"))

    def test_passes_options_on(self):
        self.add_image("a.png", make_png(1))
        self.assert_runs("./convert-one.sh images/a.png rotated.surface --rotation 90")
        self.assertEqual((self.folder / "rotated.surface").read_bytes()[0], 90)

    def test_prints_the_reason_of_a_rejection(self):
        self.add_image("a.png", REJECTED)
        done = self.assert_runs("./convert-one.sh images/a.png surfaces/a.surface", status=1)
        self.assertEqual(done.stderr, "images/a.png: no surface: cannot decode PNG file\n")
        self.assert_surfaces([])

    def test_keeps_the_old_surface_if_the_disk_is_full(self):
        self.add_image("a.png", make_png(1, width=100, height=100))
        (self.folder / "a.surface").write_text("older")
        # Python ignores SIGXFSZ, and the command inherits that. So a write fails instead of raising the signal.
        done = self.run_command(
            "./convert-one.sh images/a.png a.surface", restore_signals=False,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096)))
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        self.assertEqual((self.folder / "a.surface").read_text(), "older")


class Outdated(Workshop):
    def test_lists_images_without_surfaces_and_images_that_changed(self):
        self.add_images(["new.png", "changed.png", "same.png"])
        (self.folder / "surfaces").mkdir()
        for name in ("changed", "same"):
            (self.folder / f"surfaces/{name}.surface").touch()
        self.age_all()
        (self.folder / "images/changed.png").touch()
        listed = self.assert_runs("./outdated.sh").stdout.split("\0")
        self.assertEqual(sorted(listed), ["", "images/changed.png", "images/new.png"])


class BuildRecipe:
    """Tests of make and ninja. `failure` is the exit status after a rejection."""

    def setUp(self):
        super().setUp()
        files, self.commands = section(self.heading)
        for name, body in files.items():
            if name.endswith(".sh"):
                self.write_script(name, body)
            else:
                (self.folder / name).write_text(body)
        self.add_images(PLAIN_NAMES)

    def run_recipe(self, status=0):
        return self.assert_runs(self.commands[0], status)

    def test_makes_every_surface(self):
        self.run_recipe()
        self.assert_surfaces(PLAIN_NAMES)

    def test_does_nothing_the_second_time(self):
        self.run_recipe()
        self.calls()
        self.run_recipe()
        self.assertEqual(self.calls(), [])

    def test_makes_a_changed_image_again(self):
        self.run_recipe()
        self.age_all()
        self.calls()
        self.add_image("two.png", make_png(99))
        self.run_recipe()
        self.assertEqual(self.calls(), ["images/two.png"])
        self.assert_surfaces(PLAIN_NAMES)

    def test_makes_everything_again_when_pngslab_changed(self):
        self.run_recipe()
        self.age_all()
        self.calls()
        (self.folder / "bin/pngslab").touch()
        self.run_recipe()
        self.assertEqual(self.calls(), sorted(f"images/{name}" for name in PLAIN_NAMES))

    def test_converts_the_other_images_after_a_rejection_and_tries_again(self):
        self.add_image("0.png", REJECTED)  # the first one
        self.run_recipe(self.failure)
        self.assert_surfaces(PLAIN_NAMES)
        self.calls()
        self.run_recipe(self.failure)
        self.assertEqual(self.calls(), ["images/0.png"])

    def test_finishes_after_an_interruption(self):
        self.add_image("halt.png", make_png(3))
        self.interrupt_at_halt(self.commands[0])
        self.run_recipe()
        self.assert_surfaces([*PLAIN_NAMES, "halt.png"])


class Make(BuildRecipe, Workshop):
    heading, failure = "make", 2

    def test_deletes_the_old_surface_of_a_rejected_image(self):
        self.run_recipe()
        self.age_all()
        self.add_image("two.png", REJECTED)
        self.run_recipe(2)
        self.assert_surfaces([name for name in PLAIN_NAMES if name != "two.png"])

    def test_considers_an_empty_file_finished_without_delete_on_error(self):
        makefile = self.folder / "Makefile"
        makefile.write_text(makefile.read_text().replace(".DELETE_ON_ERROR:", ""))
        self.add_image("rejected.png", REJECTED)
        self.run_recipe(2)
        self.run_recipe()
        self.assertEqual(self.surface("rejected.png"), b"")

    def test_considers_an_empty_file_finished_after_it_was_killed(self):
        self.add_image("halt.png", make_png(3))
        self.interrupt_at_halt(self.commands[0], by=signal.SIGKILL)
        self.run_recipe()
        self.assertEqual(self.surface("halt.png"), b"")

    def keep_older(self):
        makefile = self.folder / "Makefile"
        rule, rest = makefile.read_text().split("\tpngslab ")
        makefile.write_text(rule + section("make")[0]["keep-older"] + rest.split("\n", 1)[1])

    def test_finishes_after_it_was_killed_if_it_keeps_old_surfaces(self):
        self.keep_older()
        self.add_image("halt.png", make_png(3))
        self.interrupt_at_halt(self.commands[0], by=signal.SIGKILL)
        self.run_recipe()
        self.assert_surfaces([*PLAIN_NAMES, "halt.png"])

    def test_keeps_the_old_surface_on_request(self):
        self.keep_older()
        self.run_recipe()
        self.age_all()
        older = self.surface("two.png")
        self.add_image("two.png", REJECTED)
        self.run_recipe(2)
        self.assertEqual(self.surface("two.png"), older)
        self.run_recipe(2)

    def test_stops_at_a_name_with_a_space(self):
        self.add_image("two words.png", make_png(1))
        self.run_recipe(2)


class Ninja(BuildRecipe, Workshop):
    heading, failure = "ninja", 1

    def test_accepts_odd_names(self):
        self.add_images(ODD_NAMES)
        self.run_recipe()
        self.assert_surfaces(PLAIN_NAMES + ODD_NAMES)
        self.calls()
        self.run_recipe()
        self.assertEqual(self.calls(), [])

    def test_keeps_the_old_surface_of_a_rejected_image(self):
        self.run_recipe()
        self.age_all()
        older = self.surface("two.png")
        self.add_image("two.png", REJECTED)
        self.run_recipe(1)
        self.assertEqual(self.surface("two.png"), older)
        self.calls()
        self.run_recipe(1)
        self.assertEqual(self.calls(), ["images/two.png"])

    def test_removes_surfaces_whose_image_was_removed(self):
        self.run_recipe()
        (self.folder / "images/two.png").unlink()
        self.run_recipe()
        self.assert_runs(self.commands[1])
        self.assert_surfaces([name for name in PLAIN_NAMES if name != "two.png"])


class Xargs(Workshop):
    names = [*PLAIN_NAMES, *ODD_NAMES, "line\nbreak.png"]

    def setUp(self):
        super().setUp()
        self.command = section("xargs")[1][0]
        self.add_images(self.names)

    def test_accepts_all_names(self):
        self.assert_runs(self.command)
        self.assert_surfaces(self.names)

    def test_converts_the_other_images_after_a_rejection(self):
        self.add_image("rejected.png", REJECTED)
        self.assert_runs(self.command, status=123)
        self.assert_surfaces(self.names)

    def test_keeps_the_old_surface_of_a_rejected_image(self):
        self.assert_runs(self.command)
        older = self.surface("two.png")
        self.add_image("two.png", REJECTED)
        self.assert_runs(self.command, status=123)
        self.assertEqual(self.surface("two.png"), older)

    def test_does_nothing_without_images(self):
        shutil.rmtree(self.folder / "images")
        (self.folder / "images").mkdir()
        self.assert_runs(self.command)
        self.assertEqual(self.calls(), [])

    def test_converts_only_outdated_images_on_request(self):
        self.assert_runs(self.command)
        self.age_all()
        self.calls()
        self.add_image("two.png", make_png(99))
        self.assert_runs("./outdated.sh |\n" + self.command.split("\n", 1)[1])
        self.assertEqual(self.calls(), ["images/two.png"])
        self.assert_surfaces(self.names)


if __name__ == "__main__":
    unittest.main()
