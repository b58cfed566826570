"""The recipes of docs/recipes.md for one machine, each run as the document has it."""

import resource
import shutil
import signal
import unittest

from workshop import ODD_NAMES, REFUSED, Workshop, make_png, section

PLAIN_NAMES = ["quill.png", "icons/seal.png", "icons/large/one.png", "two.png", "three.png"]


class ConvertOne(Workshop):
    def test_makes_the_folders_of_the_surface(self):
        self.add_image("a.png", make_png(1))
        self.assert_runs("./convert-one.sh images/a.png surfaces/deep/er/a.surface")
        self.assertEqual(self.surface("deep/er/a.png"), self.converted("a.png"))

    def test_hands_options_on(self):
        self.add_image("a.png", make_png(1))
        self.assert_runs("./convert-one.sh images/a.png turned.surface --rotation 90")
        self.assertEqual((self.folder / "turned.surface").read_bytes()[0], 90)

    def test_says_why_there_is_no_surface(self):
        self.add_image("a.png", REFUSED)
        done = self.assert_runs("./convert-one.sh images/a.png surfaces/a.surface", status=1)
        self.assertEqual(done.stderr, "images/a.png: no surface: cannot decode PNG file\n")
        self.assert_surfaces([])

    def test_keeps_the_older_surface_when_the_disk_is_full(self):
        self.add_image("a.png", make_png(1, width=100, height=100))
        (self.folder / "a.surface").write_text("older")
        # Python leaves the signal for files that are too long ignored, so writes fail instead.
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
    """What make and ninja have in common; `command` is the run, `failure` its status after a refusal."""

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
        self.asked()
        self.run_recipe()
        self.assertEqual(self.asked(), [])

    def test_makes_a_changed_image_again(self):
        self.run_recipe()
        self.age_all()
        self.asked()
        self.add_image("two.png", make_png(99))
        self.run_recipe()
        self.assertEqual(self.asked(), ["images/two.png"])
        self.assert_surfaces(PLAIN_NAMES)

    def test_makes_everything_again_when_pngslab_changed(self):
        self.run_recipe()
        self.age_all()
        self.asked()
        (self.folder / "bin/pngslab").touch()
        self.run_recipe()
        self.assertEqual(self.asked(), sorted(f"images/{name}" for name in PLAIN_NAMES))

    def test_makes_the_others_when_an_image_is_refused_and_tries_it_again(self):
        self.add_image("0.png", REFUSED)  # the first in line
        self.run_recipe(self.failure)
        self.assert_surfaces(PLAIN_NAMES)
        self.asked()
        self.run_recipe(self.failure)
        self.assertEqual(self.asked(), ["images/0.png"])

    def test_finishes_after_an_interruption(self):
        self.add_image("halt.png", make_png(3))
        self.interrupt_at_halt(self.commands[0])
        self.run_recipe()
        self.assert_surfaces([*PLAIN_NAMES, "halt.png"])


class Make(BuildRecipe, Workshop):
    heading, failure = "make", 2

    def test_leaves_no_surface_of_an_image_that_is_refused_now(self):
        self.run_recipe()
        self.age_all()
        self.add_image("two.png", REFUSED)
        self.run_recipe(2)
        self.assert_surfaces([name for name in PLAIN_NAMES if name != "two.png"])

    def test_takes_an_empty_file_for_finished_without_delete_on_error(self):
        makefile = self.folder / "Makefile"
        makefile.write_text(makefile.read_text().replace(".DELETE_ON_ERROR:", ""))
        self.add_image("refused.png", REFUSED)
        self.run_recipe(2)
        self.run_recipe()
        self.assertEqual(self.surface("refused.png"), b"")

    def test_takes_an_empty_file_for_finished_after_it_was_killed(self):
        self.add_image("halt.png", make_png(3))
        self.interrupt_at_halt(self.commands[0], by=signal.SIGKILL)
        self.run_recipe()
        self.assertEqual(self.surface("halt.png"), b"")

    def keep_older(self):
        makefile = self.folder / "Makefile"
        rule, rest = makefile.read_text().split("\tpngslab ")
        makefile.write_text(rule + section("make")[0]["keep-older"] + rest.split("\n", 1)[1])

    def test_finishes_after_it_was_killed_where_older_surfaces_are_kept(self):
        self.keep_older()
        self.add_image("halt.png", make_png(3))
        self.interrupt_at_halt(self.commands[0], by=signal.SIGKILL)
        self.run_recipe()
        self.assert_surfaces([*PLAIN_NAMES, "halt.png"])

    def test_keeps_the_older_surface_where_that_is_wanted(self):
        self.keep_older()
        self.run_recipe()
        self.age_all()
        older = self.surface("two.png")
        self.add_image("two.png", REFUSED)
        self.run_recipe(2)
        self.assertEqual(self.surface("two.png"), older)
        self.run_recipe(2)

    def test_stops_at_a_name_with_a_space(self):
        self.add_image("two words.png", make_png(1))
        self.run_recipe(2)


class Ninja(BuildRecipe, Workshop):
    heading, failure = "ninja", 1

    def test_takes_odd_names(self):
        self.add_images(ODD_NAMES)
        self.run_recipe()
        self.assert_surfaces(PLAIN_NAMES + ODD_NAMES)
        self.asked()
        self.run_recipe()
        self.assertEqual(self.asked(), [])

    def test_keeps_the_older_surface_of_an_image_that_is_refused_now(self):
        self.run_recipe()
        self.age_all()
        older = self.surface("two.png")
        self.add_image("two.png", REFUSED)
        self.run_recipe(1)
        self.assertEqual(self.surface("two.png"), older)
        self.asked()
        self.run_recipe(1)
        self.assertEqual(self.asked(), ["images/two.png"])

    def test_removes_surfaces_whose_images_are_gone(self):
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

    def test_takes_any_name(self):
        self.assert_runs(self.command)
        self.assert_surfaces(self.names)

    def test_makes_the_others_when_an_image_is_refused(self):
        self.add_image("refused.png", REFUSED)
        self.assert_runs(self.command, status=123)
        self.assert_surfaces(self.names)

    def test_keeps_the_older_surface_of_an_image_that_is_refused_now(self):
        self.assert_runs(self.command)
        older = self.surface("two.png")
        self.add_image("two.png", REFUSED)
        self.assert_runs(self.command, status=123)
        self.assertEqual(self.surface("two.png"), older)

    def test_does_nothing_without_images(self):
        shutil.rmtree(self.folder / "images")
        (self.folder / "images").mkdir()
        self.assert_runs(self.command)
        self.assertEqual(self.asked(), [])

    def test_makes_what_is_out_of_date_when_told_so(self):
        self.assert_runs(self.command)
        self.age_all()
        self.asked()
        self.add_image("two.png", make_png(99))
        self.assert_runs("./outdated.sh |\n" + self.command.split("\n", 1)[1])
        self.assertEqual(self.asked(), ["images/two.png"])
        self.assert_surfaces(self.names)


if __name__ == "__main__":
    unittest.main()
