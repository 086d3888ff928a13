#!/usr/bin/env python3
"""scripts/test over builds and results that are made up: its last line and its exit status."""

import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent.parent

# Writes the JUnit file that scripts/test asks for: one case that passed, and one that failed where
# the run is the one that CASE_FAILS_IN names.
CTEST = """#!/bin/sh
while [ $# -gt 0 ]; do [ "$1" = --output-junit ] && file=$2; shift; done
printf '<testsuite><testcase name="good" status="run"/>' >"$file"
case $file in
*/"$CASE_FAILS_IN".xml)
    printf '<testcase name="bad" status="fail"><failure/></testcase>' >>"$file"; status=8 ;;
esac
printf '</testsuite>' >>"$file"
exit ${status-0}
"""
# One case that passed, and one that failed or a sudden end where CASE_FAILS_IN says so.
VMTEST = """#!/bin/sh
echo 'ok        1.0 s  VmTest.Good'
case $CASE_FAILS_IN in
vm) printf 'FAILED    1.0 s  VmTest.Bad\\n1 passed, 1 failed\\n'; exit 1 ;;
vm-dies) kill -KILL $$ ;;
vm-empty) echo '0 passed, 0 failed' ;;
*) echo '1 passed, 0 failed' ;;
esac
"""
NINJA = """#!/bin/sh
case $* in *"$BUILD_FAILS_IN"*) exit 1 ;; esac
"""


class TestScript(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.top = Path(folder.name)
        (self.top / "scripts").mkdir()
        (self.top / "bin").mkdir()
        for name in ("test", "common.sh"):
            shutil.copy(TOP / "scripts" / name, self.top / "scripts" / name)
        (self.top / "tests/lint").mkdir(parents=True)
        shutil.copy(TOP / "tests/lint/junit_cases.py", self.top / "tests/lint")
        self.program("scripts/bootstrap", "#!/bin/sh\n")
        self.program("scripts/vmtest", VMTEST)
        self.program("bin/cmake", "#!/bin/sh\n")
        self.program("bin/ninja", NINJA)
        self.program("bin/ctest", CTEST)

    def program(self, name, text):
        path = self.top / name
        path.write_text(text, encoding="utf-8")
        path.chmod(0o755)

    def run_tests(self, case="none", build="none", *options):
        return subprocess.run(
            [self.top / "scripts/test", *options], capture_output=True, text=True, check=False,
            env={**os.environ, "PATH": f"{self.top}/bin:{os.environ['PATH']}",
                 "CASE_FAILS_IN": case, "BUILD_FAILS_IN": build})

    def expect(self, run, last_line, status):
        self.assertEqual(run.stdout.splitlines()[-1], last_line, run.stdout + run.stderr)
        self.assertEqual(run.returncode, status)

    def test_all_well(self):
        self.expect(self.run_tests(), "6 passed, 0 failed", 0)

    def test_quick_leaves_the_instrumented_builds_and_the_virtual_machine_out(self):
        self.expect(self.run_tests("asan", "asan", "--quick"), "2 passed, 0 failed", 0)
        self.expect(self.run_tests("vm", "none", "--quick"), "2 passed, 0 failed", 0)

    def test_cases_in_the_virtual_machine_count(self):
        run = self.run_tests("vm")
        self.expect(run, "6 passed, 1 failed", 1)
        self.assertIn("virtual machine: VmTest.Bad\n", run.stdout)
        for end in ("vm-dies", "vm-empty"):
            with self.subTest(end):
                run = self.run_tests(end)
                self.expect(run, "5 passed, 1 failed", 1)
                self.assertIn("virtual machine: it ended with status", run.stdout)

    def test_one_failed_case_fails_the_run_and_is_named(self):
        for part in ("tests", "asan", "tsan", "fuzz"):
            with self.subTest(part):
                run = self.run_tests(part)
                self.expect(run, "6 passed, 1 failed", 1)
                self.assertIn(f"{part}: bad", run.stdout)

    def test_a_failed_build_fails_the_run(self):
        run = self.run_tests("none", "build/tsan")
        self.expect(run, "5 passed, 1 failed", 1)
        self.assertIn("tsan build", run.stdout)

    def test_an_unknown_option_is_refused(self):
        self.assertEqual(self.run_tests("none", "none", "--quack").returncode, 2)


if __name__ == "__main__":
    unittest.main()
