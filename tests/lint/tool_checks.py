"""Checks that other programs make over the whole tree, spread over the machine's cores."""

import concurrent.futures
import hashlib
import json
import os
import re
import shlex
import subprocess
from pathlib import Path

from tree import includes


def _run(command, **more):
    return subprocess.run(command, capture_output=True, text=True, check=False, **more)


def _spread(function, items):
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count() or 2) as pool:
        yield from pool.map(function, items)


def _relative(tree, text):
    return text.replace(str(tree.root) + "/", "")


def formatting(tree):
    """The formatter would change nothing."""
    files = tree.cxx()
    parts = [files[i:i + 40] for i in range(0, len(files), 40)]
    for done in _spread(lambda part: _run(["clang-format", "--dry-run", *part], cwd=tree.root),
                        parts):
        for line in done.stderr.splitlines():
            if "warning:" in line or "error:" in line:
                yield _relative(tree, line)
        if done.returncode != 0 and not done.stderr:
            yield f".clang-format:1: clang-format ended with status {done.returncode}"


def shell_scripts(tree):
    """The shell checker finds nothing in the scripts, nor in what they source."""
    scripts = []
    for path in tree.files():
        if path.startswith("tests/data/"):
            continue
        with open(tree.root / path, "rb") as file:
            first = file.readline(80)
        # What is only sourced tells the shell checker its shell there.
        if re.match(rb"#!.*\b(ba|da)?sh\b|# shellcheck shell=", first):
            scripts.append(path)
    if scripts:
        done = _run(["shellcheck", "-x", "-f", "gcc", *scripts], cwd=tree.root)
        yield from done.stdout.splitlines()
        if done.returncode not in (0, 1):
            yield f"scripts:1: {done.stderr.strip()}"


def cppcheck(tree):
    """The second static checker finds nothing; what it may overlook stands in cppcheck.txt."""
    files = [f for f in tree.files("src/*.cpp", "linuxhost/*.cpp", "lab/*.cpp", "tools/*.cpp")]
    if not files:
        return
    cache = tree.build / "cppcheck"
    cache.mkdir(parents=True, exist_ok=True)
    done = _run(["cppcheck", "--quiet", "--std=c++20", "--language=c++", "-Isrc", "-I.",
                 "--enable=warning,performance,portability", "--inline-suppr",
                 "--suppressions-list=tests/lint/cppcheck.txt", f"--cppcheck-build-dir={cache}",
                 f"-j{os.cpu_count() or 2}", "--error-exitcode=1",
                 "--template={file}:{line}: {message} [{id}]", *files], cwd=tree.root)
    lines = [x for x in done.stderr.splitlines() if re.match(r"\S+:\d+: ", x)]
    yield from lines
    if done.returncode != 0 and not lines:
        yield f"tests/lint/cppcheck.txt:1: {(done.stderr or done.stdout).strip()}"


class _Fingerprints:
    """What a file's findings depend on: its text and that of every header that it reads, of the tree
    or made by the build."""

    def __init__(self, tree, made):
        self.tree = tree
        self.made = str(made)
        self.seen = {}

    def closure(self, path):
        if path in self.seen:
            return self.seen[path]
        self.seen[path] = {path}
        found = {path}
        for _, name, quoted in includes(self.tree.text(path)):
            if not quoted:
                continue
            for place in ("src/" + name, "lab/" + name, name, "tests/" + name,
                          str(Path(path).parent / name), self.made + "/" + name):
                place = os.path.normpath(place)
                if (self.tree.root / place).is_file():
                    found |= self.closure(place)
                    break
        self.seen[path] = found
        return found

    def of(self, path, more):
        digest = hashlib.sha256(more.encode())
        for file in sorted(self.closure(path)):
            digest.update(file.encode() + b"\0" + (self.tree.root / file).read_bytes() + b"\0")
        return digest.hexdigest()


def _compile_commands(tree):
    """Command lines for clang, from a configuration of their own. Of what it could build, only the
    headers that the sources include are built."""
    folder = tree.build / "tidy"
    done = _run(["cmake", "-S", str(tree.root), "-B", str(folder), "-G", "Ninja",
                 "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_COMPILER=clang++",
                 "-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON", "-DCMAKE_CXX_COMPILER_LAUNCHER="])
    if done.returncode != 0:
        raise RuntimeError(done.stderr)
    done = _run(["cmake", "--build", str(folder), "--target", "orb_tables"])
    if done.returncode != 0:
        raise RuntimeError(done.stdout + done.stderr)
    with open(folder / "compile_commands.json", encoding="utf-8") as file:
        return folder, json.load(file)


def tidy(tree):
    """clang-tidy, by .clang-tidy. A file is looked at again when it or a header of it changed."""
    folder, commands = _compile_commands(tree)
    stamps = folder / "stamps"
    stamps.mkdir(exist_ok=True)
    same = _run(["clang-tidy", "--version"]).stdout + tree.text(".clang-tidy")
    prints = _Fingerprints(tree, folder / "src/generated")
    wanted = []
    for entry in commands:
        path = os.path.relpath(os.path.join(entry["directory"], entry["file"]), tree.root)
        if not re.match(r"(src|linuxhost|lab|tools)/", path):
            continue
        line = entry.get("command") or shlex.join(entry["arguments"])
        stamp = stamps / prints.of(path, same + line)
        if not stamp.exists():
            wanted.append((path, stamp))

    def look(pair):
        path, stamp = pair
        done = _run(["clang-tidy", "--quiet", "-p", str(folder), str(tree.root / path)],
                    cwd=tree.root)
        found = [_relative(tree, x) for x in done.stdout.splitlines()
                 if re.search(r": (?:warning|error): ", x)]
        if done.returncode != 0 and not found:
            found = [f"{path}:1: {(done.stderr or done.stdout).strip()}"]
        if not found:
            stamp.touch()
        return found

    seen = set()
    for found in _spread(look, wanted):
        for line in found:
            if line not in seen:
                seen.add(line)
                yield line
