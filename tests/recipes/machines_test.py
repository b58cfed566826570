"""The recipes of docs/recipes.md for several machines over ssh, with two ssh daemons on this machine. Each has its own
home folder. They listen only on loopback, accept one key, and end with the test."""

import os
import shutil
import socket
import subprocess
import sys
import time
import unittest

from workshop import ODD_NAMES, REJECTED, Workshop, make_png, section, surface_path

# The exit status of a skipped test for ctest.
SKIPPED = 77
# Few images, because each one needs several logins.
NAMES = ["quill.png", "icons/seal.png", "two.png", *ODD_NAMES[2:4]]
# Variables for the reports of coverage and sanitizers. A login does not inherit them.
REPORTS = ("LLVM_PROFILE_FILE", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS")


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as server:
        return server.getsockname()[1]


class Machine:
    """An ssh daemon whose logins start in a folder of the scratch folder."""

    def __init__(self, name, workshop):
        self.name = name
        self.home = workshop.folder / "machines" / name
        self.home.mkdir(parents=True)
        self.configuration = workshop.folder / f"sshd-{name}"
        variables = {"HOME": self.home, "PATH": f"{workshop.folder}/bin:{os.environ['PATH']}"}
        variables.update((each, os.environ[each]) for each in REPORTS if each in os.environ)
        self.settings = f"""
            HostKey {workshop.folder}/host-key
            AuthorizedKeysFile {workshop.folder}/client-key.pub
            PidFile none
            UsePAM no
            StrictModes no
            PermitRootLogin prohibit-password
            MaxStartups 100
            SetEnv {" ".join(f'"{each}={value}"' for each, value in variables.items())}
            ForceCommand exec /bin/sh -c 'cd && eval "$SSH_ORIGINAL_COMMAND"'
            """
        self.start(workshop)

    def start(self, workshop):
        """Starts the daemon. Tries another port if a program has taken the free one."""
        log = workshop.folder / f"log-{self.name}"
        for _ in range(10):
            self.port = free_port()
            self.configuration.write_text(f"ListenAddress 127.0.0.1:{self.port}\n{self.settings}")
            self.daemon = subprocess.Popen(
                # setpriv ends the daemon when this process ends for any reason.
                ["setpriv", "--pdeathsig", "TERM", shutil.which("sshd", path=workshop.environment["PATH"]),
                 "-D", "-E", log, "-f", self.configuration], stdin=subprocess.DEVNULL)
            workshop.addCleanup(self.stop)
            if self.answers():
                return
        raise RuntimeError(log.read_text())

    def answers(self):
        while self.daemon.poll() is None:
            try:
                socket.create_connection(("127.0.0.1", self.port)).close()
                return True
            except ConnectionRefusedError:
                time.sleep(0.02)
        return False

    def stop(self):
        self.daemon.terminate()
        self.daemon.wait()

    def files(self):
        return sorted(str(path.relative_to(self.home)) for path in self.home.glob("**/*"))


class MachineWorkshop(Workshop):
    """Two machines, alpha and beta."""

    def setUp(self):
        super().setUp()
        if os.getuid() == 0:
            os.makedirs("/run/sshd", mode=0o755, exist_ok=True)
        for key in ("host-key", "client-key"):
            subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", self.folder / key],
                           check=True)
        self.machines = [Machine(name, self) for name in ("alpha", "beta")]
        self.write_script("bin/ssh", f"""
            exec '{shutil.which("ssh")}' -F '{self.folder}/ssh-config' "$@"
            """)
        (self.folder / "ssh-config").write_text("".join(f"""
            Host {machine.name}
                HostName 127.0.0.1
                Port {machine.port}
            """ for machine in self.machines) + f"""
            Host *
                IdentityFile {self.folder}/client-key
                IdentitiesOnly yes
                IdentityAgent none
                BatchMode yes
                KexAlgorithms curve25519-sha256
                StrictHostKeyChecking no
                UserKnownHostsFile /dev/null
                LogLevel ERROR
            """)

    def hosts(self, log):
        """The machines in the log, without its header line."""
        lines = (self.folder / log).read_text().splitlines()[1:]
        return {line.split("\t")[1] for line in lines}

    def assert_machines_clean(self):
        for machine in self.machines:
            self.assertEqual(machine.files(), [], machine.name)


class Machines(MachineWorkshop):
    def setUp(self):
        super().setUp()
        self.command, self.list_missing, self.clean_up = section("Several machines")[1]
        self.add_images(NAMES)

    def make_surfaces_here(self):
        self.assert_runs(section("xargs")[1][0])
        self.age_all()
        self.calls()

    def test_share_the_work_and_keep_no_files(self):
        self.assert_runs(self.command)
        self.assert_surfaces(NAMES)
        self.assertEqual(self.hosts("machines.log"), {"alpha", "beta"})
        self.assert_machines_clean()

    def test_convert_only_outdated_images(self):
        self.make_surfaces_here()
        self.add_image("two.png", make_png(99))
        (self.folder / "surfaces/quill.surface").unlink()
        self.assert_runs(self.command)
        self.assertEqual(self.calls(), ["images/quill.png", "images/two.png"])
        self.assert_surfaces(NAMES)

    def test_keep_the_old_surface_of_a_rejected_image(self):
        self.make_surfaces_here()
        older = self.surface("two.png")
        for name in ("two.png", "rejected.png"):
            self.add_image(name, REJECTED)
        self.assert_runs(self.command, status=2)
        self.assertEqual(self.surface("two.png"), older)
        self.assertFalse((self.folder / "surfaces/rejected.surface").exists())
        self.assert_machines_clean()
        self.assertEqual(sorted(self.assert_runs(self.list_missing).stdout.splitlines()),
                         ["images/rejected.png", "images/two.png"])

    def test_are_skipped_if_they_do_not_answer(self):
        self.machines[1].stop()
        self.assert_runs(self.command)
        self.assert_surfaces(NAMES)
        self.assertEqual(self.hosts("machines.log"), {"alpha"})

    def test_are_cleaned_after_an_interrupted_run(self):
        for machine in self.machines:
            (machine.home / "pngslab-work/images").mkdir(parents=True)
            (machine.home / "pngslab-work/images/left.png").touch()
        self.assert_runs(self.clean_up)
        self.assert_machines_clean()


class Folders(MachineWorkshop):
    """Each image folder is a job of slabtool."""

    FOLDERS = ["one", "two  words", "it's $HOME & \"four\""]

    def setUp(self):
        super().setUp()
        self.command, self.clean_up = section("Folders by ssh")[1]
        self.merge = section("Folders on several machines")[1][0]
        os.symlink(os.environ["PNGSLAB_SLABTOOL"], self.folder / "bin/slabtool")
        self.images = [f"{folder}/{name}" for folder in self.FOLDERS for name in ("a.png", "below/b.png")]
        self.add_images(self.images)

    def assert_merged(self):
        """The merged manifest has every surface, and a run over all images finds them up to date."""
        self.assert_runs(self.merge)
        updated = self.assert_runs("slabtool convert --update images surfaces").stdout
        self.assertIn(f"converted 0, up to date {len(self.images)},", updated)
        for image in self.images:
            self.assertEqual(self.surface(image), self.converted(image), image)

    def test_are_distributed_and_their_manifests_merged(self):
        self.assert_runs(self.command)
        self.assertEqual(self.hosts("folders.log"), {"alpha", "beta"})
        self.assert_runs(self.clean_up)
        self.assert_machines_clean()
        self.assert_merged()

    def test_of_a_machine_that_does_not_answer_are_converted_by_another(self):
        self.machines[1].stop()
        self.assert_runs(self.command)
        self.assertEqual(self.hosts("folders.log"), {"alpha"})
        self.assert_merged()

    def test_that_failed_are_converted_by_the_next_run(self):
        self.add_image("one/a.png", b"no image")
        self.assertIn("rejected", self.assert_runs(self.command, status=1).stdout)
        self.assertEqual(self.surface("one/below/b.png"), self.converted("one/below/b.png"))
        made = {image: os.stat(self.folder / surface_path(image)).st_ino for image in self.images[2:]}
        self.add_image("one/a.png", make_png(7))
        self.assert_runs(self.command)
        for image, inode in made.items():
            self.assertEqual(inode, os.stat(self.folder / surface_path(image)).st_ino)
        self.assert_merged()


if __name__ == "__main__":
    if not os.path.isdir("/sys/devices"):
        print("Skipped: GNU parallel counts a machine's processors in /sys, which is not mounted here.")
        sys.exit(SKIPPED)
    unittest.main()
