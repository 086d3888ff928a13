#!/usr/bin/env python3
"""Each check over a small tree that breaks its rule, and over one that keeps it."""

import os
import sys
import tempfile
import unittest
from pathlib import Path

import code_checks
import document_checks
import tool_checks
from tree import Tree, includes, without_comments

HERE = Path(__file__).resolve().parent
FUZZ_ENTRY = 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char *, unsigned long);\n'
UNIT = (HERE.parents[1] / "packaging/orb.service").read_text(encoding="utf-8")

# check, what is special, the tree, how many findings
CASES = [
    (code_checks.floors, "downwards", {"src/core/a.cpp": '#include "hostaccess/b.h"\n'}, 0),
    (code_checks.floors, "upwards", {"src/core/a.cpp": '#include "reporting/b.h"\n'}, 1),
    (code_checks.floors, "same floor", {"src/fc/a.h": '#include "network/b.h"\n'}, 1),
    (code_checks.floors, "same room", {"src/fc/a.h": '#include "fc/b.h"\n'}, 0),
    (code_checks.floors, "in a comment", {"src/fc/a.h": '// #include "network/b.h"\n'}, 0),
    (code_checks.floors, "the factory", {"src/core/orbFactory.cpp": '#include "fc/b.h"\n'}, 0),
    (code_checks.floors, "its header", {"src/core/orbFactory.h": '#include "fc/b.h"\n'}, 1),
    (code_checks.floors, "beside itself", {"src/core/a.cpp": '#include "b.h"\n'}, 1),
    (code_checks.floors, "out of the house", {"src/core/a.cpp": '#include "lab/b.h"\n'}, 1),
    (code_checks.floors, "a table", {"src/fc/a.cpp": '#include "tables/b.h"\n'}, 0),
    (code_checks.floors, "client", {"src/client/a.cpp": '#include "reporting/b.h"\n'}, 1),
    (code_checks.floors, "host tools", {"linuxhost/a.cpp": '#include "core/b.h"\n'}, 0),
    (code_checks.own_header_first, "second", {
        "src/core/a.h": "", "src/core/a.cpp": '#include <map>\n#include "core/a.h"\n'}, 1),
    (code_checks.own_header_first, "first", {
        "src/core/a.h": "", "src/core/a.cpp": '#include "core/a.h"\n#include <map>\n'}, 0),
    (code_checks.raw_calls, "plain", {"src/core/a.cpp": "int f() { return system(line); }\n"}, 1),
    (code_checks.raw_calls, "global", {"src/core/a.cpp": "int f() { return ::popen(l, r); }\n"}, 1),
    (code_checks.raw_calls, "through the door", {
        "src/core/a.cpp": "auto r = IorbHostCommands::get().system(line);\n"}, 0),
    (code_checks.raw_calls, "in a string", {"src/core/a.cpp": 'auto t = "system(x)";\n'}, 0),
    (code_checks.raw_calls, "in a comment", {"src/core/a.cpp": "/* fork() */\n"}, 0),
    (code_checks.raw_calls, "behind a quote", {
        "src/core/a.cpp": "char c = '\"'; int n = 1'000; int f() { return fork(); }\n"}, 1),
    (code_checks.raw_calls, "thread", {"src/core/a.cpp": "std::thread t(f);\n"}, 1),
    (code_checks.raw_calls, "clock", {"src/fc/a.cpp": "auto n = std::chrono::system_clock::now();"}, 1),
    (code_checks.raw_calls, "the doorkeeper", {"src/hostaccess/a.cpp": "int r = fork();\n"}, 0),
    (code_checks.absolute_paths, "opened", {"src/fc/a.cpp": 'FILE *f = fopen("/etc/x", "r");\n'}, 1),
    (code_checks.absolute_paths, "stream", {"src/fc/a.cpp": 'std::ifstream in("/etc/x");\n'}, 1),
    (code_checks.absolute_paths, "mapped", {
        "src/fc/a.cpp": 'FILE *f = fopen(get().map("/etc/x").c_str(), "r");\n'}, 0),
    (code_checks.absolute_paths, "a name", {"src/fc/a.h": 'constexpr char A[] = "/etc/x";\n'}, 0),
    (code_checks.close_on_exec, "left open", {"src/fc/a.cpp": "int d = ::open(p, O_RDONLY);\n"}, 1),
    (code_checks.close_on_exec, "closed", {
        "src/fc/a.cpp": "int d = ::open(p,\n               O_RDONLY | O_CLOEXEC);\n"}, 0),
    (code_checks.close_on_exec, "a pipe", {"src/client/a.cpp": "int r = ::pipe(ends);\n"}, 1),
    (code_checks.close_on_exec, "said in a comment", {
        "src/fc/a.cpp": "int d = ::socket(a, b, c); // SOCK_CLOEXEC\n"}, 1),
    (code_checks.close_on_exec, "null device", {
        "src/daemon/a.cpp": 'int d = ::open("/dev/null", O_RDWR);\n'}, 0),
    (code_checks.close_on_exec, "a member", {"src/fc/a.cpp": "bool orbPipe::open() {}\n"}, 0),
    (code_checks.honest_tests, "sleeping", {
        "tests/unit/a_test.cpp": "std::this_thread::sleep_for(1s);\n"}, 1),
    (code_checks.honest_tests, "virtual time", {
        "tests/fakes/C.h": "void sleep(int seconds) override;\n"}, 0),
    (code_checks.honest_tests, "switched off", {
        "tests/unit/a_test.cpp": "TEST(A, DISABLED" + "_B) {}\n"}, 1),
    (code_checks.headers_tested, "none", {"src/core/a.h": ""}, 1),
    (code_checks.headers_tested, "included", {
        "src/core/a.h": "", "tests/unit/core/b_test.cpp": '#include "core/a.h"\n'}, 0),
    (code_checks.headers_tested, "named", {"src/core/a.h": "", "tests/unit/core/a_test.cpp": ""}, 0),
    (code_checks.headers_tested, "a record behind another", {
        "src/core/a.h": '#include "core/r.h"\n', "src/core/r.h": "",
        "tests/unit/core/a_test.cpp": '#include "core/a.h"\n'}, 0),
    (code_checks.headers_tested, "code behind another", {
        "src/core/a.h": '#include "core/r.h"\n', "src/core/r.h": "", "src/core/r.cpp": "",
        "tests/unit/core/a_test.cpp": '#include "core/a.h"\n'}, 1),
    (code_checks.file_length, "too long", {"src/core/a.cpp": "\n" * 700}, 1),
    (code_checks.file_length, "short", {"src/core/a.cpp": "\n" * 600}, 0),
    (code_checks.fuzz_corpora, "no seed", {"tests/fuzz/a_fuzz.cpp": FUZZ_ENTRY}, 1),
    (code_checks.fuzz_corpora, "no target", {"tests/fuzz/corpus/a/1": "x"}, 1),
    (code_checks.fuzz_corpora, "both", {
        "tests/fuzz/a_fuzz.cpp": FUZZ_ENTRY, "tests/fuzz/corpus/a/1": "x"}, 0),
    (code_checks.fuzz_corpora, "no entry", {
        "tests/fuzz/a_fuzz.cpp": "", "tests/fuzz/corpus/a/1": "x"}, 1),
    (document_checks.markdown_links, "good", {"a.md": "[b](b.md#two-words)", "b.md": "# Two words"}, 0),
    (document_checks.markdown_links, "no file", {"a.md": "[b](b.md)"}, 1),
    (document_checks.markdown_links, "no heading", {"a.md": "[b](b.md#three)", "b.md": "# Two"}, 1),
    (document_checks.markdown_links, "in code", {"a.md": "```\n[b](b.md)\n```\n"}, 0),
    (document_checks.folder_readmes, "missing", {"src/core/a.cpp": ""}, 1),
    (document_checks.folder_readmes, "there", {"src/core/a.cpp": "", "src/core/README.md": "x"}, 0),
    (document_checks.json_files, "broken", {"schema/a.json": "{,}"}, 1),
    (document_checks.json_files, "twice", {"schema/a.json": '{"a": 1, "a": 2}'}, 1),
    (document_checks.json_files, "good", {"schema/a.json": '{"a": 1}'}, 0),
    (document_checks.schemas, "other draft", {
        "schema/a.schema.json": '{"$schema": "x", "title": "t", "description": "d"}'}, 1),
    (document_checks.schemas, "bad type", {"schema/a.schema.json": (
        '{"$schema": "' + document_checks.DRAFT_07 + '", "title": "t", "description": "d",'
        ' "type": "text"}')}, 1),
    (document_checks.schemas, "bad example", {
        "schema/a.schema.json": ('{"$schema": "' + document_checks.DRAFT_07 + '", "title": "t",'
                                 ' "description": "d", "type": "object"}'),
        "docs/a.md": "```json a\n[]\n```\n```json a\n{}\n```\n```json b\n{}\n```\n"}, 2),
    (document_checks.versions, "differ", {
        "CMakeLists.txt": "project(orb VERSION 1.2.0)", "CHANGELOG.md": "## 1.1.0"}, 1),
    (document_checks.versions, "same", {
        "CMakeLists.txt": "project(orb VERSION 1.2.0)", "CHANGELOG.md": "## 1.2.0"}, 0),
    (document_checks.man_pages, "unknown macro", {
        "docs/man/a.8": ".TH A 8\n.SH NAME\na \\- b\n.NOSUCHMACRO x\n"}, 1),
    (document_checks.man_pages, "good", {"docs/man/a.8": ".TH A 8\n.SH NAME\na \\- b\n"}, 0),
    (document_checks.service_unit, "unknown key", {
        "packaging/a.service": "[Service]\nExecStart=/no/such/program\nNoSuchKey=1\n"}, 1),
    (document_checks.service_unit, "good", {
        "packaging/a.service": "[Unit]\nDescription=a\n[Service]\nExecStart=/no/such/program\n"}, 0),
    (document_checks.service_exposure, "everything open", {
        "packaging/a.service": "[Service]\nExecStart=/no/such/program\n"}, 1),
    (document_checks.service_exposure, "one directive less", {
        "packaging/orb.service": UNIT.replace("NoNewPrivileges=yes\n", "")}, 1),
    (document_checks.service_exposure, "not a unit", {"packaging/a.service": "ExecStart\n"}, 1),
    (document_checks.service_exposure, "as it is", {"packaging/orb.service": UNIT}, 0),
    (tool_checks.formatting, "crooked", {
        ".clang-format": "BasedOnStyle: LLVM\n", "src/core/a.cpp": "int   f( ) ;\n"}, 3),
    (tool_checks.formatting, "straight", {
        ".clang-format": "BasedOnStyle: LLVM\n", "src/core/a.cpp": "int f();\n"}, 0),
    (tool_checks.shell_scripts, "unquoted", {"scripts/a": "#!/bin/sh\ncat $1\n"}, 1),
    (tool_checks.shell_scripts, "unquoted in a sourced file", {
        "scripts/a.sh": "# shellcheck shell=bash\ncat $1\n"}, 1),
    (tool_checks.shell_scripts, "good", {"scripts/a": '#!/bin/sh\ncat "$1"\n'}, 0),
    (tool_checks.cppcheck, "out of bounds", {
        "tests/lint/cppcheck.txt": "", "src/core/a.cpp": "int f() { int a[2] = {1, 2}; return a[2]; }\n"}, 1),
    (tool_checks.tidy, "sizeof a pointer", {
        ".clang-tidy": (HERE.parents[1] / ".clang-tidy").read_text(encoding="utf-8"),
        "CMakeLists.txt": ("cmake_minimum_required(VERSION 3.25)\nproject(a LANGUAGES CXX)\n"
                           "set(CMAKE_EXPORT_COMPILE_COMMANDS ON)\nadd_library(a src/core/a.cpp)\n"
                           "add_custom_target(orb_tables)\n"),
        "src/core/a.cpp": "unsigned long f(const char *p) { return sizeof(p - 1 + sizeof(p)); }\n"},
     None),
]


class Checks(unittest.TestCase):
    """The table above."""

    def test_cases(self):
        for check, name, files, wanted in CASES:
            with self.subTest(f"{check.__name__}: {name}"), tempfile.TemporaryDirectory() as folder:
                for path, text in files.items():
                    place = Path(folder) / path
                    place.parent.mkdir(parents=True, exist_ok=True)
                    place.write_text(text, encoding="utf-8")
                found = list(check(Tree(folder, Path(folder) / "build")))
                if wanted is None:
                    self.assertTrue(found)
                else:
                    self.assertEqual(len(found), wanted, found)

    def test_options_differ(self):
        with tempfile.TemporaryDirectory() as folder:
            tool = Path(folder) / "tool"
            tool.write_text("#!/bin/sh\necho '  --one X  --two'\n", encoding="utf-8")
            tool.chmod(0o755)
            for path, text in {"docs/man/tool.8": ".TH T 8\n\\-\\-one \\-\\-three\n",
                               "packaging/completion/tool": "--one"}.items():
                (Path(folder) / path).parent.mkdir(parents=True, exist_ok=True)
                (Path(folder) / path).write_text(text, encoding="utf-8")
            found = list(document_checks.documented_options(Tree(folder), {"tool": str(tool)}))
            self.assertEqual(len(found), 3, found)


class Readers(unittest.TestCase):
    """What all checks read with."""

    def test_positions_stay(self):
        text = 'int a; // b\n/* c\n d */ f("x//y");\n'
        clean = without_comments(text)
        self.assertEqual(len(clean), len(text))
        self.assertIn('f("x//y")', clean)
        self.assertNotIn("b", clean)

    def test_include_lines(self):
        self.assertEqual(includes('\n#include <map>\n #  include "a/b.h"\n'),
                         [(2, "map", False), (3, "a/b.h", True)])


if __name__ == "__main__":
    os.chdir(HERE)
    sys.exit(not unittest.main(exit=False).result.wasSuccessful())
