"""Rules of documents, data files and what is installed."""

import json
import re
import subprocess
import tempfile
from pathlib import Path

LINK = re.compile(r"(?<!!)\[[^\]\n]*\]\(([^)\s]+)\)|^\[[^\]\n]+\]:\s*(\S+)", re.MULTILINE)
CODE = re.compile(r"^(```|~~~).*?^\1[ \t]*$", re.MULTILINE | re.DOTALL)
HEADING = re.compile(r"^#{1,6}[ \t]+(.+?)[ \t#]*$", re.MULTILINE)


def _without_code(text):
    return CODE.sub(lambda m: re.sub(r"[^\n]", " ", m.group(0)), text)


def _anchors(text):
    found = set()
    for heading in HEADING.findall(_without_code(text)):
        plain = re.sub(r"[`*]|\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
        anchor = re.sub(r"[^\w\- ]", "", plain).replace(" ", "-")
        while anchor in found:
            anchor += "-1"
        found.add(anchor)
    return found


def markdown_links(tree):
    """Each link within the tree leads somewhere, and so does its anchor."""
    for path in tree.files("*.md"):
        text = _without_code(tree.text(path))
        text = re.sub(r"`[^`\n]*`", lambda m: " " * len(m.group(0)), text)
        for match in LINK.finditer(text):
            target = match.group(1) or match.group(2)
            line = text.count("\n", 0, match.start()) + 1
            if re.match(r"[a-z]+:", target):
                continue
            place, _, anchor = target.partition("#")
            file = (tree.root / path).parent / place if place else tree.root / path
            if not file.exists():
                yield f"{path}:{line}: {target} leads nowhere"
            elif anchor and file.suffix == ".md":
                if anchor not in _anchors(file.read_text(encoding="utf-8")):
                    yield f"{path}:{line}: {target}: no such heading"


def folder_readmes(tree):
    """Each room says in a few lines what it is for."""
    rooms = {"/".join(f.split("/")[:2]) for f in tree.files("src/*/*.cpp", "src/*/*.h")}
    rooms |= {f.split("/")[0] for f in tree.files("*/*") if not f.startswith(".")}
    rooms |= {"/".join(f.split("/")[:2]) for f in tree.files("tests/*/*")}
    rooms -= {"docs", "src"}
    for room in sorted(rooms):
        if not (tree.root / room / "README.md").is_file():
            yield f"{room}:1: no README.md"


def _unique(pairs):
    keys = [key for key, _ in pairs]
    for key in keys:
        if keys.count(key) > 1:
            raise ValueError(f"the key {key} appears twice")
    return dict(pairs)


def json_files(tree):
    """Each JSON file parses, and no object names a key twice. Seeds and samples may be broken."""
    for path in tree.files("*.json", "packaging/*orb.conf"):
        if path.startswith(("tests/fuzz/corpus/", "tests/data/")):
            continue
        try:
            json.loads(tree.text(path), object_pairs_hook=_unique)
        except ValueError as fault:
            yield f"{path}:1: {fault}"


DRAFT_07 = "http://json-schema.org/draft-07/schema#"


def schemas(tree):
    """Each schema is a good draft-07 schema and says so; the examples of the documents obey it."""
    import jsonschema  # only this check needs the package

    known = {}
    for path in tree.files("schema/*.json"):
        schema = json.loads(tree.text(path))
        if schema.get("$schema") != DRAFT_07:
            yield f"{path}:1: $schema is not {DRAFT_07}"
        if not schema.get("title"):
            yield f"{path}:1: has no title"
        try:
            jsonschema.Draft7Validator.check_schema(schema)
        except jsonschema.SchemaError as fault:
            yield f"{path}:1: {'/'.join(map(str, fault.absolute_path))}: {fault.message}"
            continue
        known[path.split("/")[-1].split(".")[0]] = schema
    # A code block whose fence names a schema ("```json event") is an example of it.
    for path in tree.files("*.md"):
        text = tree.text(path)
        for match in re.finditer(r"^```json (\w+)\n(.*?)^```", text, re.MULTILINE | re.DOTALL):
            line = text.count("\n", 0, match.start()) + 1
            name = match.group(1)
            if name not in known:
                yield f"{path}:{line}: no schema is named {name}"
                continue
            try:
                value = json.loads(match.group(2), object_pairs_hook=_unique)
            except ValueError as fault:
                yield f"{path}:{line}: {fault}"
                continue
            validator = jsonschema.Draft7Validator(known[name])
            for fault in validator.iter_errors(value):
                place = "/".join(map(str, fault.absolute_path))
                yield f"{path}:{line}: {place}: {fault.message}"


def versions(tree):
    """The change log's newest version is the project's."""
    project = re.search(r"project\(orb VERSION ([0-9.]+)", tree.text("CMakeLists.txt"))
    newest = re.search(r"^## \[?([0-9]+\.[0-9]+\.[0-9]+)", tree.text("CHANGELOG.md"), re.MULTILINE)
    if not project or not newest or project.group(1) != newest.group(1):
        yield (f"CHANGELOG.md:1: newest version {newest and newest.group(1)}, the project's is "
               f"{project and project.group(1)}")


def man_pages(tree):
    """The manual's pages are formatted without a warning."""
    for path in tree.files("docs/man/*.[1-8]", "docs/man/*.[1-8].in"):
        done = subprocess.run(
            ["groff", "-mandoc", "-t", "-K", "utf8", "-T", "utf8", "-ww", "-z",
             str(tree.root / path)], capture_output=True, text=True, check=False)
        for line in done.stderr.splitlines():
            yield f"{path}:1: {line.split(path)[-1].lstrip(': ')}"
        if done.returncode != 0 and not done.stderr:
            yield f"{path}:1: groff ended with status {done.returncode}"


def service_unit(tree):
    """The service manager accepts the unit."""
    for path in tree.files("packaging/*.service", "packaging/*.service.in"):
        text = tree.text(path)
        # The programs need not be installed where the tests run.
        text = re.sub(r"^(Exec\w+=[-@:+!]*)\S+", r"\1/bin/true", text, flags=re.MULTILINE)
        with tempfile.TemporaryDirectory() as folder:
            unit = Path(folder) / path.split("/")[-1].removesuffix(".in")
            unit.write_text(text, encoding="utf-8")
            done = subprocess.run(["systemd-analyze", "verify", "--man=no", str(unit)],
                                  capture_output=True, text=True, check=False)
            lines = [x for x in (done.stdout + done.stderr).splitlines() if unit.name in x]
            for line in lines:
                yield f"{path}:1: {line.replace(folder + '/', '')}"
            if done.returncode != 0 and not lines:
                yield f"{path}:1: {(done.stderr or done.stdout).strip()}"


# What the unit's directives leave open, in tenths of the service manager's scale of 10 (open) to 0.
EXPOSURE_LIMIT = 49


def service_exposure(tree):
    """The unit leaves no more open than the daemon's work needs."""
    for path in tree.files("packaging/*.service"):
        done = subprocess.run(
            ["systemd-analyze", "security", "--no-pager", "--offline=true",
             f"--threshold={EXPOSURE_LIMIT}", str(tree.root / path)],
            capture_output=True, text=True, check=False)
        if done.returncode != 0:
            level = re.search(r"Overall exposure level.*?: ([0-9.]+)", done.stdout)
            what = (f"exposure {level.group(1)}, at most {EXPOSURE_LIMIT / 10} is allowed" if level
                    else (done.stderr or done.stdout).strip())
            yield f"{path}:1: {what}"


OPTION = re.compile(r"(?<![\w-])(--[a-z][a-z0-9-]+)")


def options_of(text):
    return set(OPTION.findall(text.replace("\\-", "-")))


def documented_options(tree, programs):
    """What --help names, the manual and the completion name too, and the other way round."""
    completions = "".join(tree.text(f) for f in tree.files("packaging/completion/*",
                                                            "packaging/*completion*"))
    for name, executable in programs.items():
        done = subprocess.run([executable, "--help"], capture_output=True, text=True, check=False,
                              timeout=60)
        if done.returncode != 0:
            yield f"{name}:1: --help ends with status {done.returncode}"
        helped = options_of(done.stdout)
        # A host command's page carries our prefix, beside that of a host's own command.
        pages = tree.files(f"docs/man/{name}.[1-8]", f"docs/man/{name}.[1-8].in",
                           f"docs/man/orb-{name}.[1-8]")
        if not pages:
            yield f"{name}:1: has no page in docs/man"
            continue
        manual = options_of(tree.text(pages[0]))
        for option in sorted(helped - manual):
            yield f"{pages[0]}:1: does not tell {option}"
        for option in sorted(manual - helped):
            if not any(option in options_of(tree.text(f)) for f in tree.files("docs/man/*")
                       if f not in pages):
                yield f"{pages[0]}:1: tells {option}, which --help does not"
        for option in sorted(helped):
            # This one is the daemon's to call; nobody types it.
            if name != "esxtop" and option not in options_of(completions):
                yield f"packaging: the completion does not offer {option} of {name}"
