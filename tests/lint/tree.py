"""The files of the tree and the small readers that the checks share."""

import fnmatch
import re
import subprocess
from pathlib import Path


class Tree:
    """A source tree: the one under test, or a small one that a self-test made."""

    def __init__(self, root, build=None):
        self.root = Path(root).resolve()
        self.build = Path(build).resolve() if build else None
        self._files = None

    def files(self, *patterns):
        """Relative paths, sorted, of what is tracked or about to be; patterns as fnmatch takes them."""
        if self._files is None:
            self._files = self._list()
        if not patterns:
            return list(self._files)
        return [f for f in self._files if any(fnmatch.fnmatch(f, p) for p in patterns)]

    def _list(self):
        try:
            text = subprocess.run(
                ["git", "ls-files", "-co", "--exclude-standard", "--deduplicate"],
                cwd=self.root, check=True, capture_output=True, text=True).stdout
            found = text.splitlines()
        except (OSError, subprocess.CalledProcessError):
            # A tree that was unpacked and not cloned.
            found = [str(p.relative_to(self.root)) for p in self.root.rglob("*") if p.is_file()]
            found = [f for f in found if not f.startswith(("build/", "lab-out/", ".git/"))]
        return sorted(f for f in found if (self.root / f).is_file())

    def text(self, path):
        return (self.root / path).read_text(encoding="utf-8", errors="replace")

    def cxx(self):
        return self.files("*.cpp", "*.h")


_TOKEN = re.compile(
    r'(?P<line>//[^\n]*)|(?P<block>/\*.*?\*/)|(?P<raw>R"(?P<mark>[^()\\\s]{0,16})\(.*?\)(?P=mark)")'
    r"|(?P<string>\"(?:[^\"\\\n]|\\.)*\")|(?P<number>\b[0-9][0-9a-fA-F']*\b)"
    r"|(?P<char>'(?:[^'\\\n]|\\.)+')",
    re.DOTALL)


def without_comments(text, strings=True):
    """C++ text with comments blanked, and with strings=False the insides of literals too.

    Line numbers and columns stay as they are.
    """

    def blank(match):
        found = match.group(0)
        if match.group("number"):
            return found
        if match.group("line") or match.group("block"):
            return re.sub(r"[^\n]", " ", found)
        if strings:
            return found
        return found[0] + re.sub(r"[^\n]", " ", found[1:-1]) + found[-1]

    return _TOKEN.sub(blank, text)


def line_of(text, position):
    return text.count("\n", 0, position) + 1


INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.MULTILINE)


def includes(text):
    """(line, path, quoted) for each include line that is no comment."""
    clean = without_comments(text)
    return [(line_of(clean, m.start(1)), m.group(2), m.group(1) == '"')
            for m in INCLUDE.finditer(clean)]
