"""Rules of the code that can be read from its text."""

import re

from tree import includes, line_of, without_comments

# The floors, from the ground up. Rooms on one floor do not include each other. "tables" are the
# constants that the build makes.
FLOORS = [
    ["tables"],
    ["hostaccess"],
    ["core"],
    ["physloc"],
    ["platform"],
    ["reporting"],
    ["network", "fc", "host", "storage"],
    ["megaraid"],
    ["daemon"],
]
LEVEL = {room: level for level, rooms in enumerate(FLOORS) for room in rooms}

# The few places that join the house together, each with the rooms that it looks up to.
LOOKING_UP = {
    "src/core/orbFactory.cpp": {"fc", "host", "storage", "network"},
    "src/core/orbJobManager.cpp": {"reporting", "platform"},
    "src/reporting/orbServer.cpp": {"fc", "host", "storage", "network"},
}
OUTBUILDINGS = {
    "src/client/": {"client", "hostaccess", "core", "platform"},
    "linuxhost/": {"linuxhost", "hostaccess", "core", "platform"},
}


def floors(tree):
    """Every include looks downwards, apart from the few places that join the house together."""
    for path in tree.files("src/*.h", "src/*.cpp", "linuxhost/*.h", "linuxhost/*.cpp"):
        allowed = next((rooms for place, rooms in OUTBUILDINGS.items() if path.startswith(place)),
                       None)
        room = path.split("/")[1]
        for line, name, quoted in includes(tree.text(path)):
            other = name.split("/")[0]
            if not quoted:
                continue
            if allowed is not None:
                if "/" in name and other not in allowed:
                    yield f"{path}:{line}: includes {name}, which is none of its business"
                continue
            if "/" not in name:
                yield f"{path}:{line}: includes {name}, whose path does not begin below src"
            elif room not in LEVEL:
                yield f"{path}:{line}: the room {room} stands on no floor"
            elif other not in LEVEL:
                yield f"{path}:{line}: includes {name}, which is no room of the library"
            elif other != room and LEVEL[other] >= LEVEL[room] and other not in LOOKING_UP.get(
                    path, set()):
                yield f"{path}:{line}: {room} includes {name} of a higher or its own floor"


def own_header_first(tree):
    """A source includes its own header before all others, which proves the header complete."""
    headers = set(tree.files("src/*.h", "linuxhost/*.h", "lab/*.h", "tests/*.h"))
    for path in tree.files("src/*.cpp", "linuxhost/*.cpp", "lab/*.cpp", "tests/fakes/*.cpp"):
        header = path[:-4] + ".h"
        found = includes(tree.text(path))
        if header in headers and found and not header.endswith("/" + found[0][1]):
            yield f"{path}:{found[0][0]}: {found[0][1]} comes before its own header"


# What leaves the process. Calls through an object ("get().ioctl(") are the doors themselves.
RAW_CALLS = """
popen pclose system dlopen dlsym dlclose dlerror ioctl sleep usleep nanosleep clock_nanosleep
clock_gettime gettimeofday time localtime localtime_r gmtime sysinfo uname gethostname
getifaddrs freeifaddrs openlog syslog closelog fork vfork execl execlp execv execvp execve
posix_spawn posix_spawnp _exit _Exit exit quick_exit abort raise kill pthread_create
pthread_kill socket connect
""".split()
RAW_CALL = re.compile(
    r"(?<![\w.>:])(?:::|std::|std::this_thread::)?(" + "|".join(RAW_CALLS) +
    r"|sleep_for|sleep_until)\s*\(")
RAW_TYPE = re.compile(
    r"\bstd::(j?thread|async)\b|\b(?:system_clock|steady_clock|high_resolution_clock)::now\b")
DOORKEEPERS = ("src/hostaccess/", "src/daemon/", "src/client/")
# A declaration names its result's type before the name.
DECLARED = re.compile(r"(?:\b(?:int|void|long|bool|unsigned|char|time_t|auto|string|pid_t)\b|[*&>])\s*$")

OPENERS = r"""open|openat|fopen|freopen|opendir|access|stat|lstat|unlink|remove|rename|mkdir|rmdir
|symlink|readlink|chmod|chown|scandir|mkfifo|mknod|truncate|statvfs|realpath|creat|glob|exists
|is_directory|is_regular_file|directory_iterator|recursive_directory_iterator|create_directory
|create_directories|remove_all|copy_file|file_size|i?o?fstream""".replace("\n", "")
ABSOLUTE = re.compile(r'"/(?:[A-Za-z])[^"\n]*"')
OPENED = re.compile(r"(?:\b(?:" + OPENERS + r")\s*|\b(?:i|o)?fstream\s+\w+\s*)[({]\s*$")


def _library_sources(tree):
    return [f for f in tree.files("src/*.h", "src/*.cpp") if not f.startswith(DOORKEEPERS)]


def raw_calls(tree):
    """Only host access, the entry program and the client make calls that leave the process."""
    for path in _library_sources(tree):
        clean = without_comments(tree.text(path), strings=False)
        for match in RAW_CALL.finditer(clean):
            before = clean[clean.rfind("\n", 0, match.start()) + 1:match.start()]
            if DECLARED.search(before) and not match.group(0).startswith(("::", "std::")):
                continue
            yield f"{path}:{line_of(clean, match.start(1))}: calls {match.group(1)}()"
        for match in RAW_TYPE.finditer(clean):
            yield f"{path}:{line_of(clean, match.start())}: uses {match.group(0)}"


def absolute_paths(tree):
    """No file of the library opens a literal absolute path: it goes through map() first."""
    for path in _library_sources(tree):
        clean = without_comments(tree.text(path))
        for match in ABSOLUTE.finditer(clean):
            before = clean[max(0, match.start() - 160):match.start()]
            if OPENED.search(before):
                yield (f"{path}:{line_of(clean, match.start())}: opens {match.group(0)} without "
                       "asking where it lies")


# Calls that make a descriptor, by their global names.
DESCRIPTOR_CALL = re.compile(
    r"(?<![\w.>:])::(open|openat|pipe|pipe2|socket|socketpair|accept|accept4|mkstemp|mkostemp"
    r"|eventfd|epoll_create1|inotify_init1|memfd_create|signalfd|timerfd_create|dup)"
    r"\s*(\([^;{}]*)")


def close_on_exec(tree):
    """No descriptor is left to the host's commands; the null device may be: it is nothing."""
    for path in tree.files("src/*.h", "src/*.cpp"):
        clean = without_comments(tree.text(path))
        for match in DESCRIPTOR_CALL.finditer(clean):
            if "_CLOEXEC" not in match.group(2) and '"/dev/null"' not in match.group(2):
                yield (f"{path}:{line_of(clean, match.start(1))}: {match.group(1)}() leaves its "
                       "descriptor to commands")


# In pieces, so that this file is no finding of its own.
IDLE_TESTS = [
    (re.compile(r"\b(?:sleep|usleep|nanosleep|sleep_for|sleep_until)\s*\("), "sleeps"),
    (re.compile(r"DISABLED" + "_"), "switches a case off"),
    (re.compile(r"GTEST" + "_SKIP"), "skips"),
    (re.compile(r"\bSUCC" + r"EED\s*\("), "proves nothing"),
    (re.compile(r"\b(?:EXPECT|ASSERT)_TR" + r"UE\(\s*true\s*\)"), "proves nothing"),
]


# The clock that whole runs of the daemon go by; it sleeps for its callers, in shortened time.
SLEEPERS = {"tests/fakes/FastClock.cpp"}


def honest_tests(tree):
    """No test sleeps, is switched off, skips itself or cannot fail."""
    for path in tree.files("tests/*.cpp", "tests/*.h"):
        if path in SLEEPERS:
            continue
        clean = without_comments(tree.text(path), strings=False)
        for pattern, what in IDLE_TESTS:
            for match in pattern.finditer(clean):
                if re.search(r"(?:void|int|unsigned)\s+$|\.\s*$|->\s*$|::\s*$",
                             clean[max(0, match.start() - 40):match.start()]):
                    if "this_thread::" not in clean[max(0, match.start() - 40):match.start()]:
                        continue
                yield f"{path}:{line_of(clean, match.start())}: {what}"


# The entry program's pieces are proved by whole runs of orb_main().
THROUGH_THEIR_PROGRAM = ("src/daemon/", "src/client/")


def headers_tested(tree):
    """Each header of the library is included by a test, or a test is named after it.

    A header without a source of its own (an interface, a record) may be reached through another.
    """
    tests = tree.files("tests/*.cpp", "tests/*.h")
    direct = {name for path in tests for _, name, quoted in includes(tree.text(path)) if quoted}
    headers = {path[len("src/"):] for path in tree.files("src/*.h")}
    sources = {path[len("src/"):-4] for path in tree.files("src/*.cpp")}
    reached, left = set(), list(direct & headers)
    while left:
        name = left.pop()
        if name not in reached:
            reached.add(name)
            left += [n for _, n, quoted in includes(tree.text("src/" + name)) if n in headers]
    for name in sorted(headers):
        stem = name[:-2]
        named = any(t.startswith(f"tests/unit/{stem}_") and t.endswith("_test.cpp") for t in tests)
        used = name in direct or (stem not in sources and name in reached)
        if not used and not named and not ("src/" + name).startswith(THROUGH_THEIR_PROGRAM):
            yield f"src/{name}:1: no test includes it"


LONGEST = 640


def file_length(tree):
    """A file that is longer than this is two things."""
    for path in tree.files("*.cpp", "*.h", "*.py", "scripts/*"):
        count = tree.text(path).count("\n")
        if count > LONGEST:
            yield f"{path}:{count}: more than {LONGEST} lines"


def fuzz_corpora(tree):
    """Each fuzz target has seeds, and each folder of seeds its target."""
    units = {f.split("/")[-1][:-len("_fuzz.cpp")] for f in tree.files("tests/fuzz/*_fuzz.cpp")}
    seeds = {f.split("/")[3] for f in tree.files("tests/fuzz/corpus/*/*")}
    for unit in sorted(units - seeds):
        yield f"tests/fuzz/{unit}_fuzz.cpp:1: no seeds in tests/fuzz/corpus/{unit}"
    for unit in sorted(seeds - units):
        yield f"tests/fuzz/corpus/{unit}:1: no target tests/fuzz/{unit}_fuzz.cpp"
    for path in tree.files("tests/fuzz/*_fuzz.cpp"):
        if "LLVMFuzzerTestOneInput" not in tree.text(path):
            yield f"{path}:1: has no entry for the fuzzer"
