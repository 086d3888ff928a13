#!/usr/bin/env python3
"""scripts/vmtest over a made-up build: its image, its last line, its exit status, what it leaves."""

import os
import pty
import shutil
import signal
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent.parent

# What cmake --install puts into the image; the build itself does nothing.
CMAKE = """#!/bin/sh
[ "$1" = --install ] || exit 0
mkdir -p "$DESTDIR/opt/vantor/orb/bin"
cp /bin/sh "$DESTDIR/opt/vantor/orb/bin/orbd"
mkdir -p "$DESTDIR/opt/vantor/orb/lib/lab"
for library in libgeoenc02 libgeoenc03 libexamplefabric libexamplelight; do
    touch "$DESTDIR/opt/vantor/orb/lib/lab/$library.so"
done
"""
# The kernel that an earlier run fetched.
KERNEL = "orb/vm/linux-image-9_1"


class VmtestScript(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.top = Path(folder.name)
        # Names that a shell would take apart.
        self.temporary = self.top / "temporary, and *"
        self.temporary.mkdir()
        for name in ("scripts", "bin", "build/release/tests/vm", "build/release/lab"):
            (self.top / name).mkdir(parents=True)
        for name in ("vmtest", "common.sh", "vm_image.sh"):
            shutil.copy(TOP / "scripts" / name, self.top / "scripts" / name)
        shutil.copytree(TOP / "tests/vm/guest", self.top / "tests/vm/guest")
        self.program("scripts/bootstrap", "#!/bin/sh\n")
        self.program("bin/cmake", CMAKE)
        self.program("bin/ninja", "#!/bin/sh\n")
        # No network, and package lists that are empty.
        self.program("bin/apt-cache", "#!/bin/sh\n")
        self.program("bin/apt-get", "#!/bin/sh\nexit 100\n")
        # The modules are no real ones.
        self.program("bin/depmod", "#!/bin/sh\n: >\"$2/lib/modules/$3/modules.dep\"\n")
        (self.top / "cache" / KERNEL / "boot").mkdir(parents=True)
        (self.top / "cache" / KERNEL / "boot/vmlinuz").touch()
        modules = self.top / "cache" / KERNEL / "lib/modules/9"
        (modules / "kernel").mkdir(parents=True)
        for name in ("modules.builtin", "modules.builtin.modinfo", "modules.order",
                     "kernel/sg.ko", "kernel/other.ko", "kernel/scsi_mod.ko"):
            (modules / name).touch()
        (modules / "modules.dep").write_text(
            "kernel/sg.ko: kernel/scsi_mod.ko\nkernel/other.ko:\nkernel/scsi_mod.ko:\n",
            encoding="utf-8")

    def program(self, name, text):
        path = self.top / name
        path.write_text(text, encoding="utf-8")
        path.chmod(0o755)

    def cases(self, text):
        self.program("build/release/tests/vm/vm_test", "#!/bin/bash\n" + text)

    def start(self, *options, streams=None, **more):
        """more: of the environment; None takes a variable out"""
        environment = {**os.environ, "PATH": f"{self.top}/bin:{os.environ['PATH']}",
                       "XDG_CACHE_HOME": str(self.top / "cache"),
                       "TMPDIR": str(self.temporary), **more}
        return subprocess.Popen(
            [self.top / "scripts/vmtest", *options], cwd=self.top, text=True,
            **(streams or {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE}),
            env={name: value for name, value in environment.items() if value is not None})

    def expect(self, run, last_line, status):
        output, errors = run.communicate(timeout=60)
        self.assertEqual(output.splitlines()[-1], last_line, output + errors)
        self.assertEqual(run.returncode, status)
        self.assertEqual(list(self.temporary.iterdir()), [], "files are left")
        return output, errors

    def test_all_well(self):
        self.cases("echo 'ok        1.0 s  A.One'\necho 'ok        2.0 s  A.Two'\n")
        output, _ = self.expect(self.start(), "2 passed, 0 failed", 0)
        self.assertIn("ok        1.0 s  A.One\n", output)

    def test_a_failed_case_fails_the_run(self):
        self.cases("echo 'ok        1.0 s  A.One'\necho 'FAILED    2.0 s  A.Two'\nexit 1\n")
        self.expect(self.start(), "1 passed, 1 failed", 1)

    def test_cases_that_die_have_failed(self):
        self.cases("echo 'ok        1.0 s  A.One'\nkill -SEGV $$\n")
        _, errors = self.expect(self.start(), "1 passed, 1 failed", 1)
        self.assertIn("the cases ended with status 139", errors)

    def test_no_case_at_all_is_a_failure(self):
        self.cases("")
        self.expect(self.start(), "0 passed, 1 failed", 1)
        _, errors = self.expect(self.start("--filter", "No.Such"), "0 passed, 1 failed", 1)
        self.assertEqual(errors, "vmtest: --filter: No.Such: no case has such a name\n")

    def test_a_failed_installation_is_a_failure(self):
        self.cases("echo 'ok        1.0 s  A.One'\n")
        self.program("bin/cmake", "#!/bin/sh\necho broken installation\nexit 1\n")
        _, errors = self.expect(self.start(), "0 passed, 1 failed", 1)
        self.assertIn("broken installation", errors)

    def test_no_kernel_is_a_failure(self):
        self.cases("echo 'ok        1.0 s  A.One'\n")
        shutil.rmtree(self.top / "cache" / KERNEL)
        _, errors = self.expect(self.start(), "0 passed, 1 failed", 1)
        self.assertIn("no kernel package could be fetched", errors)

    def test_cache_without_a_home_is_that_of_the_user(self):
        self.cases("echo 'ok        1.0 s  A.One'\n")
        self.program("bin/getent", f"#!/bin/sh\necho 'user:x:9:9::{self.top}/home:/bin/sh'\n")
        (self.top / "home").mkdir()
        (self.top / "cache").rename(self.top / "home/.cache")
        for cache in (None, "not/absolute"):
            self.expect(self.start(HOME=None, XDG_CACHE_HOME=cache), "1 passed, 0 failed", 0)

    def test_cache_that_cannot_be_made_is_a_failure(self):
        self.cases("echo 'ok        1.0 s  A.One'\n")
        (self.top / "file").touch()
        _, errors = self.expect(self.start(XDG_CACHE_HOME=str(self.top / "file")),
                                "0 passed, 1 failed", 1)
        self.assertIn(f"vmtest: {self.top}/file/orb/vm: no place for the kernel\n", errors)

    def test_temporary_folder_may_be_relative(self):
        self.cases("echo 'ok        1.0 s  A.One'\n")
        self.expect(self.start(TMPDIR=self.temporary.name), "1 passed, 0 failed", 0)
        self.assertEqual(list((self.top / "cache").rglob("orb-image.*")), [], "made elsewhere")

    def test_image_holds_installation_guest_and_needed_modules(self):
        self.cases("while [ $# -gt 0 ]; do [ $1 = --image ] && image=$2; shift; done\n"
                   "cpio -it --quiet <\"$image\" >$LISTED\necho 'ok        1.0 s  A.One'\n")
        # Beside what the host has, a library that the installation brings.
        self.program("bin/ldd", "#!/bin/sh\n"
                     "printf '\\tlibown.so => %s/../lib/libown.so (0x00007f)\\n' \"${1%/*}\"\n"
                     "exec /usr/bin/ldd \"$@\"\n")
        listed = self.top / "listed"
        self.expect(self.start(LISTED=str(listed)), "1 passed, 0 failed", 0)
        names = set(listed.read_text(encoding="utf-8").splitlines())
        for name in ("init", "etc/inittab", "usr/sbin/orb-agent", "opt/vantor/orb/bin/orbd",
                     "usr/lib/libgeoenc02.so", "usr/lib/libgeoenc03.so", "usr/lib/libexamplefabric.so",
                     "usr/lib/libexamplelight.so", "etc/config/vantor/orb/hba.conf", "bin/busybox", "bin/sh",
                     "lib/modules/9/kernel/sg.ko",
                     "lib/modules/9/kernel/scsi_mod.ko", "lib/modules/9/modules.dep"):
            self.assertIn(name, names)
        self.assertNotIn("lib/modules/9/kernel/other.ko", names)
        self.assertTrue(any("/libc.so" in name for name in names), names)

    def test_an_end_from_outside_ends_the_cases_and_fails(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(number):
                self.cases("echo 'ok        1.0 s  A.One'\necho $$ >$PID_FILE\nexec sleep 60\n")
                pid_file = self.top / "pid"
                pid_file.unlink(missing_ok=True)
                run = self.start(PID_FILE=str(pid_file))
                while not (pid_file.exists() and pid_file.read_text(encoding="utf-8")):
                    self.assertIsNone(run.poll())
                    time.sleep(0.02)
                run.send_signal(number)
                self.expect(run, "1 passed, 1 failed", 1)
                with self.assertRaises(ProcessLookupError):
                    os.kill(int(pid_file.read_text(encoding="utf-8")), 0)

    def test_an_end_while_the_kernel_is_fetched_fails(self):
        self.cases("")
        shutil.rmtree(self.top / "cache" / KERNEL)
        self.program("bin/apt-cache", "#!/bin/sh\n"
                     "case $1 in\n"
                     "depends) echo '  Depends: linux-image-9' ;;\n"
                     "policy) echo '  Candidate: 1' ;;\n"
                     "esac\n")
        fetching = self.top / "fetching"
        self.program("bin/apt-get", "#!/bin/sh\n: >$FETCHING\nexec sleep 60\n")
        run = self.start(FETCHING=str(fetching), streams={
            "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "start_new_session": True})
        while not fetching.exists():
            self.assertIsNone(run.poll())
            time.sleep(0.02)
        os.killpg(run.pid, signal.SIGINT)  # as a terminal does
        self.expect(run, "0 passed, 1 failed", 1)
        self.assertEqual(list((self.top / "cache/orb/vm").iterdir()), [], "files are left")

    def test_usage_errors(self):
        self.cases("")
        for options in (["--quack"], ["--filter"], ["--filter", ""], ["--list", "--shell"],
                        ["--shell", "--filter", "A.One"]):
            run = self.start(*options)
            _, errors = run.communicate(timeout=60)
            self.assertEqual(run.returncode, 2, errors)

    def test_a_shell_needs_a_terminal(self):
        self.cases("")
        run = self.start("--shell")
        _, errors = run.communicate(timeout=60)
        self.assertEqual(run.returncode, 1)
        self.assertEqual(errors, "vmtest: --shell: needs a terminal\n")

    def test_an_end_from_outside_ends_the_machine_of_a_shell(self):
        self.program("bin/machine", "#!/bin/bash\necho $$ >$PID_FILE\nexec sleep 60\n")
        self.cases("printf 'machine\\0'\n")
        self.program("build/release/lab/orblab",
                     "#!/bin/bash\necho controller at 127.0.0.1:1\nexec sleep 60\n")
        for number in (signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number):
                pid_file = self.top / "pid"
                pid_file.unlink(missing_ok=True)
                ours, theirs = pty.openpty()
                run = self.start("--shell", PID_FILE=str(pid_file),
                                 streams={name: theirs for name in ("stdin", "stdout", "stderr")})
                os.close(theirs)
                while not (pid_file.exists() and pid_file.read_text(encoding="utf-8")):
                    self.assertIsNone(run.poll())
                    time.sleep(0.02)
                run.send_signal(number)
                self.assertEqual(run.wait(timeout=20), 1)
                os.close(ours)
                self.assertEqual(list(self.temporary.iterdir()), [], "files are left")
                with self.assertRaises(ProcessLookupError):
                    os.kill(int(pid_file.read_text(encoding="utf-8")), 0)


if __name__ == "__main__":
    unittest.main()
