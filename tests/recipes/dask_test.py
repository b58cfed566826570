"""The recipe of docs/recipes.md for machines that share a folder, with a Dask scheduler and two workers on this machine.
They listen only on loopback and end with the test."""

import json
import os
import signal
import subprocess
import sys
import time
import unittest

from workshop import REJECTED, Workshop, make_png, section, surface_path

# The exit status of a skipped test for ctest.
SKIPPED = 77
# The package of the scheduler belongs to the system's interpreter, which may differ from that of the tests.
PYTHON = "/usr/bin/python3"
FOLDERS = ["halt", *(f"folder {i}" for i in range(6))]


class Process:
    """A program in its own process group, which stands for a machine."""

    def __init__(self, command, workshop, log):
        self.log = workshop.folder / log
        with self.log.open("w") as output:
            self.run = subprocess.Popen(["/bin/sh", "-c", f"exec {command}"], cwd=workshop.folder,
                                        env=workshop.environment, stdin=subprocess.DEVNULL, stdout=output,
                                        stderr=subprocess.STDOUT, start_new_session=True)
        workshop.addCleanup(self.kill)

    def kill(self):
        """Kills it with all its children, like a power failure."""
        try:
            os.killpg(self.run.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self.run.wait()

    def wait_for(self, text):
        while text not in self.log.read_text():
            if self.run.poll() is not None:
                raise AssertionError(self.log.read_text())
            time.sleep(0.02)


class Dask(Workshop):
    def setUp(self):
        super().setUp()
        self.merge = section("Folders on several machines")[1][0]
        files, (self.scheduler, self.worker, self.command) = section("Folders by Dask")
        for name, body in files.items():
            (self.folder / name).write_text(body)
        os.symlink(PYTHON, self.folder / "bin/python3")
        # A run into the folder "halt" converts one image, then holds the lock until it is killed.
        self.write_script("bin/slabtool", f"""
            slabtool='{os.environ["PNGSLAB_SLABTOOL"]}'
            case "$(test -e '{self.folder}/halt' && echo "$*")" in
            *" images/halt surfaces/halt")
                "$slabtool" convert --quiet images/halt/a.png surfaces/halt/
                exec 9>surfaces/halt/.surfaces.lock
                flock 9
                echo "$PPID" >'{self.folder}/halting'
                mv '{self.folder}/halting' '{self.folder}/halted'
                exec sleep 600
                ;;
            esac
            exec "$slabtool" "$@"
            """)
        self.images = [f"{folder}/{name}.png" for folder in FOLDERS for name in "ab"]
        self.add_images(self.images)
        scheduler = Process(f"{self.scheduler.strip()} --host 127.0.0.1 --port 0 --no-dashboard", self, "scheduler.log")
        scheduler.wait_for("Scheduler at:")
        address = next(word for word in scheduler.log.read_text().split() if word.startswith("tcp://127.0.0.1:"))
        self.worker = self.worker.strip().replace("tcp://alpha:8786", address)
        self.command = self.command.replace("tcp://alpha:8786", address)
        self.workers = [self.start_worker(name) for name in ("alpha", "beta")]

    def start_worker(self, name):
        worker = Process(f"{self.worker} --name {name} --host 127.0.0.1 --no-dashboard "
                         f"--local-directory '{self.folder}/{name}'", self, f"{name}.log")
        worker.wait_for("Registered to:")
        return worker

    def made(self):
        """The existing surfaces and their inodes. A surface that is made again has another inode."""
        return {path: path.stat().st_ino for path in self.folder.glob("surfaces/*/*.surface")}

    def start_and_halt(self):
        """Starts the recipe. One worker halts in a folder, the other one converts the rest. Returns the process of the
        recipe, the PID of the halted worker, and the existing surfaces."""
        (self.folder / "halt").touch()
        client = Process(self.command.strip(), self, "client.log")
        while not (self.folder / "halted").exists() or len(self.made()) < len(self.images) - 1:
            self.assertIsNone(client.run.poll(), client.log.read_text())
            time.sleep(0.02)
        (self.folder / "halt").unlink()
        return client, int((self.folder / "halted").read_text()), self.made()

    def assert_all_made_once(self, client, before):
        self.assertEqual(0, client.run.wait(timeout=120), client.log.read_text())
        after = self.made()
        self.assertEqual(before, {path: after[path] for path in before})
        self.assert_runs(self.merge)
        manifest = json.loads((self.folder / "surfaces/surfaces.json").read_text())
        self.assertEqual(sorted(surface_path(image) for image in self.images),
                         ["surfaces/" + entry["file"] for entry in manifest["surfaces"]])
        for image in self.images:
            self.assertEqual(self.surface(image), self.converted(image), image)
        updated = self.assert_runs("slabtool convert --update images surfaces").stdout
        self.assertIn(f"converted 0, up to date {len(self.images)},", updated)

    def test_does_not_lose_the_folder_of_a_machine_that_fails(self):
        client, halted, before = self.start_and_halt()
        failing = next(worker for worker in self.workers if os.getpgid(halted) == worker.run.pid)
        failing.kill()
        self.assert_all_made_once(client, before)

    def test_waits_for_a_run_that_outlives_its_worker(self):
        client, halted, before = self.start_and_halt()
        orphan = next(int(pid) for pid in os.listdir("/proc") if pid.isdigit() and self.parent_of(pid) == halted)
        os.kill(halted, signal.SIGKILL)
        with self.assertRaises(subprocess.TimeoutExpired):
            client.run.wait(timeout=3)
        os.kill(orphan, signal.SIGKILL)
        self.assert_all_made_once(client, before)

    def parent_of(self, pid):
        try:
            with open(f"/proc/{pid}/stat") as status:
                return int(status.read().rsplit(")", 1)[1].split()[1])
        except FileNotFoundError:
            return None

    def test_reports_folders_with_rejected_images(self):
        self.add_image("folder 3/a.png", b"no image")
        output = self.assert_runs(self.command, status=1).stdout
        self.assertIn("images/folder 3/a.png: rejected: ", output)
        self.assertIn("folder 3: exit status 1\n", output)
        self.assertEqual(len(FOLDERS) - 1, output.count(": exit status 0\n"))
        before = self.made()
        self.add_image("folder 3/a.png", make_png(99))
        self.assert_runs(self.command)
        after = self.made()
        self.assertEqual(len(self.images), len(after))
        self.assertEqual(before, {path: after[path] for path in before})


if __name__ == "__main__":
    if subprocess.run([PYTHON, "-c", "import distributed"], stderr=subprocess.DEVNULL).returncode != 0:
        print("Skipped: Debian's package python3-distributed is not installed here.")
        sys.exit(SKIPPED)
    unittest.main()
