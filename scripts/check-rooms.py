#!/usr/bin/env python3
"""Checks the rules of the house: which room sees which, and what stays out of portable code.

    check-rooms.py              checks this tree; one line a violation, exit status 1 when there is one
    check-rooms.py --self-test  checks that bad examples are refused and good ones are not

Documentation/architecture.md has the picture of the rooms.
"""

import json
import os
import re
import sys
from pathlib import Path, PurePosixPath

SOURCES = "Sources/GlimtoCapture/"
LONGEST_FILE = 600  # lines

# Every room by its folder, below SOURCES, or below Sources/ where it is another program: the rooms that it builds on, of which it sees these and everything
# below them, and the headers of outside libraries that it may include. CMake links what this file says.
ROOMS = json.loads((Path(__file__).resolve().parents[1] / "Sources/rooms.json").read_text("utf-8"))
# The composition root sees every room, and no outside library.
COMPOSITION_ROOT = "main.cpp"
TEST_LIBRARIES = r"(gtest|gmock|nlohmann|benchmark)/.*"

STANDARD = set("""
    algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes
    climits clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg
    cstddef cstdint cstdio cstdlib cstring ctime cwchar cwctype deque exception execution filesystem forward_list
    fstream functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits list
    locale map memory memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex
    scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept streambuf string
    string_view syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set
    utility valarray variant vector version""".split())
# Both C++ runtimes have <cxxabi.h>, the Itanium ABI's names of types.
SUPPORT_ONLY = {"stop_token", "cxxabi.h"}
POSIX = set("""
    arpa/inet.h dirent.h dlfcn.h errno.h fcntl.h fnmatch.h glob.h grp.h langinfo.h limits.h locale.h netdb.h netinet/in.h poll.h pthread.h
    pwd.h sched.h signal.h spawn.h stdint.h stdlib.h string.h strings.h sys/file.h sys/ipc.h sys/mman.h
    sys/resource.h sys/select.h sys/shm.h sys/socket.h sys/stat.h sys/statvfs.h sys/time.h sys/types.h sys/uio.h
    sys/un.h sys/utsname.h sys/wait.h syslog.h termios.h time.h unistd.h utime.h""".split())

SYSTEM_MACRO = re.compile(
    r"__linux|__gnu_linux__|\blinux\b|__APPLE__|__MACH__|TARGET_OS_|_WIN32|_WIN64|__unix|__FreeBSD__|__OpenBSD__"
    r"|__NetBSD__|__ANDROID__|__GLIBC__|_POSIX_|__has_include")
NOT_PORTABLE = re.compile(
    r"\b(pipe2|memfd_create|O_TMPFILE|accept4|fdatasync|signalfd|eventfd|epoll_\w+|timerfd_\w+|inotify_\w+|prctl"
    r"|clock_nanosleep|sendfile|copy_file_range|renameat2|gettid|syscall|getrandom|ppoll|dup3|mkostemp"
    r"|std::format|std::jthread|std::stop_token|std::stop_source)\b")

# Support has one toolkit for threads and what they share. Where something else is needed, a comment in the same
# block of lines, above or beside it, says why after these words.
BY_HAND = "by hand: "
THREADS_BY_HAND = re.compile(
    r"std::(mutex|shared_mutex|recursive_mutex|timed_mutex|condition_variable\w*|async|promise|future|shared_future"
    r"|call_once|once_flag|thread(?!::(id|hardware_concurrency)\b))\b"
    r"|\bpthread_(create|mutex|cond|rwlock|detach)\w*|\bthread_local\b|\.detach\(\)")
# A variable of a namespace, whose content is not indented here, or a static one of a function.
MUTABLE_GLOBAL = re.compile(
    r"^(static |inline )*(?!static|inline|const|using|return|extern|class|struct|enum|union|template|typedef|friend"
    r"|namespace|public|private|protected|goto|throw|delete|new|else|case|default|\w+:(?!:))[A-Za-z_][\w:]*(<.*>)?[ *&]+\w+"
    r"( = [^(].*|\{.*\}|\[.*)?;"
    r"|^\s+static (?!const\b|constexpr\b|inline constexpr\b|assert)[\w:]+(<.*>)?[ *&]+\w+( = .*|\{.*\})?;")


def rooms_below(room):
    seen = set()
    waiting = list(ROOMS[room]["rooms"]) if room in ROOMS else []
    while waiting:
        below = waiting.pop()
        if below not in seen:
            seen.add(below)
            waiting += ROOMS[below]["rooms"]
    return seen


def room_of(path):
    """The room of a file or of an include below SOURCES: the innermost folder that is one; "" when there is none."""
    if path == COMPOSITION_ROOT:
        return path
    folders = PurePosixPath(path).parts[:-1]
    for length in range(len(folders), 0, -1):
        if "/".join(folders[:length]) in ROOMS:
            return "/".join(folders[:length])
    return ""


def is_program(room):
    """Whether it is another program, which stands beside SOURCES and writes its own headers without a folder."""
    return room.startswith("Glimto")


def is_backend(room):
    return room.startswith("Backends/")


def without_comments(text):
    """`text` with comments blanked and strings emptied; every line stays where it is."""
    pattern = re.compile(
        r'R"(?P<mark>[^()\\\s]{0,16})\(.*?\)(?P=mark)"'  # raw strings
        r'|"(?:[^"\\\n]|\\.)*"'
        r"|(?<![0-9A-Fa-f])'(?:[^'\\\n]|\\.)+'"  # characters, but not the marks in 1'000
        r"|//[^\n]*|/\*.*?\*/",
        re.DOTALL)

    def blank(match):
        found = match.group()
        return ('""' if found[0] in "\"R'" else " ") + "\n" * found.count("\n")

    return pattern.sub(blank, text)


def includes(text):
    for number, line in enumerate(text.split("\n"), 1):
        match = re.match(r'\s*#\s*include\s*([<"])([^>"]+)[>"]', line)
        if match:
            yield number, match.group(1), match.group(2)


def own_include_refused(path, included):
    """Why the source file `path` may not include our header `included`, or None."""
    room, other = room_of(path), room_of(included)
    if is_program(room) and "/" not in included:
        return None  # beside it
    if other in ("", COMPOSITION_ROOT):
        return f'"{included}" is no header of a room; write it as seen from {SOURCES[:-1]}'
    if room not in (other, COMPOSITION_ROOT) and other not in rooms_below(room):
        return f'{room} may not see {other}: "{included}"'
    return None


def outside_include_refused(path, included):
    """Why the source file `path` may not include the outside header `included`, or None."""
    room = room_of(path)
    headers = ROOMS.get(room, {}).get("headers", [])
    if any(re.fullmatch(header, included) for header in headers):
        return None
    places = [place for place, rules in ROOMS.items()
              if any(re.fullmatch(header, included) for header in rules.get("headers", []))]
    if places:
        return f"<{included}> belongs to {', '.join(places)} only"
    if included in STANDARD or (included in SUPPORT_ONLY and room == "Support"):
        return None
    if is_backend(room) or room == COMPOSITION_ROOT or included in POSIX:
        return None
    return f"<{included}> is neither standard C++ nor POSIX, or not for {room}"


def is_backend_test(path):
    parts = PurePosixPath(path).parts
    return len(parts) > 3 and parts[1] == "Unit" and f"Backends/{parts[2]}" in ROOMS


def test_include_refused(path, kind, included):
    """Why the file `path` below Tests/ may not include `included`, or None."""
    parts = PurePosixPath(path).parts
    if kind == "<":
        if is_backend_test(path):
            return None
        ok = included in STANDARD | SUPPORT_ONLY | POSIX or re.fullmatch(TEST_LIBRARIES, included)
        return None if ok or parts[1] not in ("Unit", "Fakes") else f"<{included}> does not belong in portable tests"
    other = room_of(included)
    fake = included.startswith("Fakes/")
    beside = "/" not in included or included.startswith("/".join(parts[1:3]) + "/")
    if fake or beside or parts[1] not in ("Unit", "Fakes"):
        return None
    if parts[1] == "Fakes":
        return f'a fake may not see {other}: "{included}"' if is_backend(other) else None
    if is_backend_test(path):
        backend = f"Backends/{parts[2]}"
        if is_backend(other) and not (other + "/").startswith(backend + "/"):
            return f'the tests of {backend} may not see {other}: "{included}"'
        seen = rooms_below(backend) | {other for other in ROOMS if other.startswith(backend + "/")} | {backend}
        return None if other in seen else f'the tests of {backend} may not see {other}: "{included}"'
    room = parts[2] if parts[2] in ROOMS else f"Glimto{parts[2]}"
    if other != room and other not in rooms_below(room):
        return f'the tests of {room} may not see {other}: "{included}"'
    return None


def floating_from_chars(code):
    """Lines on which from_chars reads into a variable that was last declared as floating."""
    for call in re.finditer(r"\bfrom_chars\s*\(([^;]*)\)", code):
        before = code[: call.start()]
        # Commas inside of the parentheses of an argument separate nothing.
        arguments = re.sub(r"\([^()]*\)", "", call.group(1)).split(",")
        target = arguments[2].strip() if len(arguments) > 2 else ""
        types = re.findall(r"([\w:]+)\s*&?\s+&?" + re.escape(target) + r"\s*[=;,){]", before) if target else []
        if types and types[-1] in ("double", "float"):
            yield before.count("\n") + 1


def check_portable(code):
    for number, line in enumerate(code.split("\n"), 1):
        if re.match(r"\s*#\s*include\b", line):
            continue
        if re.match(r"\s*#\s*(if|ifdef|ifndef|elif)\b", line) and SYSTEM_MACRO.search(line):
            yield number, "an operating system's condition outside of Backends"
        match = NOT_PORTABLE.search(line)
        if match:
            yield number, f"{match.group()} is not portable"
    for number in floating_from_chars(code):
        yield number, "floating from_chars is not portable"


def threads_by_hand(text, code):
    """Lines that go around Support's toolkit for threads without a reason beside them."""
    lines = text.split("\n")

    def has_reason(number):
        block = number - 1  # up to the last empty line before it
        while block > 0 and lines[block - 1].strip():
            block -= 1
        return any(BY_HAND in line.lower() for line in lines[block:number])

    for number, line in enumerate(code.split("\n"), 1):
        if re.match(r"\s*#", line):
            continue
        match = THREADS_BY_HAND.search(line)
        if match and not has_reason(number):
            yield number, f"{match.group()}: Support has a toolkit for threads; else say why after '{BY_HAND}'"
        elif MUTABLE_GLOBAL.search(line) and not has_reason(number):
            yield number, f"a mutable global; else say why after '{BY_HAND}'"


def check_source(path, text):
    """Violations in one source file, `path` as seen from SOURCES, or from Sources/ for another program."""
    for number, kind, included in includes(text):
        refused = own_include_refused(path, included) if kind == '"' else outside_include_refused(path, included)
        if refused:
            yield number, refused
    code = without_comments(text)
    if room_of(path) == "Support":
        code = re.sub(r"std::(jthread|stop_token|stop_source)\b", "", code)
    if not is_backend(room_of(path)):
        yield from check_portable(code)
    if room_of(path) != "Support" and not is_program(room_of(path)):
        yield from threads_by_hand(text, code)
    if path.endswith(".h") and not re.search(r"^#pragma once$", text, re.MULTILINE):
        yield 1, "a header without #pragma once"


def check_test(path, text):
    for number, kind, included in includes(text):
        refused = test_include_refused(path, kind, included)
        if refused:
            yield number, refused
    if PurePosixPath(path).parts[1] in ("Unit", "Fakes") and not is_backend_test(path):
        yield from check_portable(without_comments(text).replace("std::jthread", "").replace("std::stop_token", ""))


def check_file(path, text):
    """Violations in one file of the tree, `path` as seen from its top."""
    if not path.endswith((".h", ".cpp")):
        return
    if path.startswith(SOURCES):
        yield from check_source(path[len(SOURCES):], text)
    elif path.startswith("Sources/"):
        yield from check_source(path.removeprefix("Sources/"), text)
    elif path.startswith("Tests/"):
        yield from check_test(path, text)
    lines = text.count("\n")
    if lines > LONGEST_FILE:
        yield LONGEST_FILE, f"{lines} lines; look for the second idea"


def include_circle(files):
    """Headers that include each other in a circle, as a list of paths, or None."""
    edges = {path: [included for _, kind, included in includes(text) if kind == '"' and included in files]
             for path, text in files.items()}
    done = set()

    def visit(path, trail):
        if path in trail:
            return trail[trail.index(path):] + [path]
        if path in done:
            return None
        for included in edges[path]:
            circle = visit(included, trail + [path])
            if circle:
                return circle
        done.add(path)
        return None

    for path in files:
        circle = visit(path, [])
        if circle:
            return circle
    return None


def tree_files(top):
    """Every text file of the tree: path as seen from its top, and its text."""
    for directory, folders, names in os.walk(top):
        folders[:] = sorted(name for name in folders if name not in (".git", ".glimto-runs", "__pycache__", ".cache")
                            and not (directory == str(top) and re.match(r"build(-|$)", name)))
        for name in sorted(names):
            path = Path(directory, name)
            if path.is_symlink() or not path.is_file() or path.name == "compile_commands.json":
                continue
            try:
                yield path.relative_to(top).as_posix(), path.read_bytes().decode("utf-8")
            except UnicodeDecodeError:
                continue  # a picture


def check_tree(top):
    headers = {}
    violations = 0
    for path, text in tree_files(top):
        if path.startswith(SOURCES):
            headers[path[len(SOURCES):]] = text
        for number, what in check_file(path, text):
            print(f"{path}:{number}: {what}")
            violations += 1
    circle = include_circle(headers)
    if circle:
        print("includes in a circle: " + " -> ".join(circle))
        violations += 1
    print(f"rooms: {len(headers)} files, {violations} violations")
    return 1 if violations or not headers else 0


if __name__ == "__main__":
    if sys.argv[1:] == ["--self-test"]:
        from check_rooms_examples import self_test

        sys.exit(self_test(check_file, include_circle))
    sys.exit(check_tree(Path(__file__).resolve().parents[1]))
