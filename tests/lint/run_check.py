#!/usr/bin/env python3
"""run_check.py CHECK [--root DIR] [--build DIR] [--program NAME=FILE...]

Runs one check over the tree, prints each finding as "file:line: text", and ends with status 1 where
there is any. Without CHECK it lists the checks.
"""

import argparse
import sys
from pathlib import Path

import code_checks
import document_checks
import tool_checks
from tree import Tree

CHECKS = {
    function.__name__: function
    for function in (
        code_checks.floors, code_checks.own_header_first, code_checks.raw_calls,
        code_checks.absolute_paths, code_checks.close_on_exec, code_checks.honest_tests,
        code_checks.headers_tested, code_checks.file_length, code_checks.fuzz_corpora,
        document_checks.markdown_links,
        document_checks.folder_readmes, document_checks.json_files, document_checks.schemas,
        document_checks.versions, document_checks.man_pages, document_checks.service_unit,
        document_checks.service_exposure, document_checks.documented_options, tool_checks.formatting,
        tool_checks.shell_scripts, tool_checks.cppcheck, tool_checks.tidy)
}


def main():
    here = Path(__file__).resolve().parents[2]
    parser = argparse.ArgumentParser(description="Runs one check over the tree.")
    parser.add_argument("check", nargs="?", choices=sorted(CHECKS))
    parser.add_argument("--root", default=here, help="the tree; by default the one of this file")
    parser.add_argument("--build", default=None, help="a folder that the check may keep things in")
    parser.add_argument("--program", action="append", default=[], metavar="NAME=FILE",
                        help="a built program, for documented_options")
    arguments = parser.parse_args()
    if arguments.check is None:
        for name, function in sorted(CHECKS.items()):
            print(f"{name:<20} {function.__doc__.splitlines()[0]}")
        return 0
    tree = Tree(arguments.root, arguments.build or Path(arguments.root) / "build" / "lint")
    more = []
    if arguments.check == "documented_options":
        more = [dict(pair.split("=", 1) for pair in arguments.program)]
    count = 0
    for finding in CHECKS[arguments.check](tree, *more):
        print(finding)
        count += 1
    if count:
        print(f"{arguments.check}: {count} found: {CHECKS[arguments.check].__doc__.splitlines()[0]}")
    return 1 if count else 0


if __name__ == "__main__":
    sys.exit(main())
