"""Files that check-rooms.py must refuse, each with the words of its refusal, and files that it must accept."""

S = "Sources/GlimtoCapture/"
ONCE = "#pragma once\n"

REFUSED = [
    # Rooms
    (S + "Support/A.cpp", '#include "Platform/Geometry.h"\n', "Support may not see Platform"),
    (S + "Content/A.cpp", '#include "Recording/A.h"\n', "Content may not see Recording"),
    (S + "Content/A.cpp", '#include "Artifacts/A.h"\n', "Content may not see Artifacts"),
    (S + "Recording/A.cpp", '#include "Stills/A.h"\n', "Recording may not see Stills"),
    (S + "Upload/A.cpp", '#include "Recording/A.h"\n', "Upload may not see Recording"),
    (S + "Recording/A.cpp", '#include "Backends/X11/A.h"\n', "Recording may not see Backends/X11"),
    (S + "CommandLine/A.cpp", '#include "Backends/X11/A.h"\n', "CommandLine may not see Backends/X11"),
    (S + "Backends/X11/A.cpp", '#include "Options/A.h"\n', "Backends/X11 may not see Options"),
    (S + "Backends/X11/A.cpp", '#include "Backends/FFmpeg/A.h"\n', "Backends/X11 may not see Backends/FFmpeg"),
    (S + "Backends/X11/Windows/A.cpp", '#include "Backends/X11/Pictures/A.h"\n',
     "Backends/X11/Windows may not see Backends/X11/Pictures"),
    (S + "Backends/X11/Pointer/A.cpp", '#include "Backends/X11/Clipboard/A.h"\n',
     "Backends/X11/Pointer may not see Backends/X11/Clipboard"),
    (S + "Backends/FFmpeg/A.cpp", '#include "Backends/FFmpeg/Module/A.h"\n', "Backends/FFmpeg may not see Backends/FFmpeg/Module"),
    (S + "Content/A.cpp", '#include "../Support/Text.h"\n', "is no header of a room"),
    (S + "Content/A.cpp", '#include "Geometry.h"\n', "is no header of a room"),
    # Libraries
    (S + "Recording/A.cpp", "#include <xcb/xcb.h>\n", "belongs to Backends/X11/Connection, "),
    (S + "Backends/Images/A.cpp", "#include <xcb/xcb.h>\n", "belongs to Backends/X11/Connection, "),
    (S + "Recording/A.cpp", "extern \"C\" {\n#include <libavcodec/avcodec.h>\n}\n", "belongs to Backends/FFmpeg, GlimtoTake/Media only"),
    (S + "Backends/X11/A.cpp", "#include <x264.h>\n", "belongs to Backends/X264 only"),
    (S + "Platform/A.cpp", "#include <libyuv.h>\n", "belongs to Backends/Streams, Backends/Images, Backends/X264, Backends/Wayland, GlimtoTake/Media only"),
    (S + "Recording/A.cpp", "#include <turbojpeg.h>\n", "belongs to Backends/Images only"),
    (S + "Artifacts/A.cpp", "#include <openssl/sha.h>\n", "belongs to Support, GlimtoDevServer only"),
    (S + "Platform/A.cpp", "#include <nlohmann/json.hpp>\n", "<nlohmann/json.hpp> belongs to"),
    (S + "Support/A.cpp", "#include <sys/prctl.h>\n", "neither standard C++ nor POSIX"),
    (S + "Support/A.cpp", "#include <linux/fs.h>\n", "neither standard C++ nor POSIX"),
    (S + "Recording/A.cpp", "#include <stop_token>\n", "not for Recording"),
    (S + "Content/A.cpp", "#include <format>\n", "neither standard C++ nor POSIX"),
    ("Sources/GlimtoDevServer/A.cpp", '#include "Upload/A.h"\n', "GlimtoDevServer may not see Upload"),
    ("Sources/GlimtoDevServer/A.cpp", "#include <curl/curl.h>\n", "belongs to Backends/Network only"),
    (S + "Upload/A.cpp", "#include <httplib.h>\n", "belongs to GlimtoDevServer only"),
    # Portability
    (S + "Support/A.cpp", "#ifdef __linux__\n#endif\n", "an operating system's condition"),
    (S + "Recording/A.cpp", "#if defined(__APPLE__)\n#endif\n", "an operating system's condition"),
    (S + "main.cpp", "  #  elif defined(_WIN32)\n", "an operating system's condition"),
    (S + "Support/A.cpp", "int f(int* p) { return pipe2(p, 0); }\n", "pipe2 is not portable"),
    (S + "Support/A.cpp", "int f() { return ::open(path, O_TMPFILE); }\n", "O_TMPFILE is not portable"),
    (S + "Recording/A.cpp", "memfd_create(name, 0);\n", "memfd_create is not portable"),
    (S + "Recording/A.cpp", "accept4(s, a, l, 0);\n", "accept4 is not portable"),
    (S + "Support/A.cpp", "fdatasync(f);\n", "fdatasync is not portable"),
    (S + "CommandLine/A.cpp", "signalfd(-1, &set, 0);\n", "signalfd is not portable"),
    (S + "Support/A.cpp", "clock_nanosleep(a, b, c, d);\n", "clock_nanosleep is not portable"),
    (S + "Artifacts/A.cpp", '    auto s = std::format("{}", 1);\n', "std::format is not portable"),
    (S + "Recording/A.cpp", "    std::jthread t;\n", "std::jthread is not portable"),
    (S + "CommandLine/A.cpp", "    double value = 0;\nstd::from_chars(first, last, value);\n", "floating from_chars"),
    (S + "CommandLine/A.cpp", "f(double& value) { std::from_chars(a, b, value, std::chars_format::fixed); }\n",
     "floating from_chars"),
    (S + "CommandLine/A.cpp", "    int value = 0;\n}\n    double value = 0;\nstd::from_chars(\n    first, last, value);\n",
     "floating from_chars"),
    (S + "Support/A.h", "int a;\n", "without #pragma once"),
    (S + "Support/A.cpp", "\n" * 601, "look for the second idea"),
    # Threads
    (S + "Recording/A.h", ONCE + "    std::mutex mutex_;\n", "std::mutex: Support has a toolkit for threads"),
    (S + "Upload/A.cpp", "// Why not.\nstd::condition_variable changed;\n", "std::condition_variable: Support"),
    (S + "Backends/X11/A.cpp", "    std::thread([] {}).detach();\n", "std::thread: Support has"),
    (S + "Stills/A.cpp", "// by hand: something else\n\n    auto done = std::async(work);\n", "std::async: Support has"),
    (S + "Audio/A.cpp", "pthread_create(&thread, nullptr, &run, this);\n", "pthread_create: Support has"),
    (S + "Content/A.cpp", "std::atomic<bool> isFirst = true;\n", "a mutable global"),
    (S + "Content/A.cpp", "static int count;\n", "a mutable global"),
    (S + "Content/A.cpp", "    static std::vector<int> known;\n", "a mutable global"),
    (S + "Backends/Pango/A.cpp", "thread_local int depth = 0;\n", "thread_local: Support has"),
    # Tests
    ("Tests/Unit/Content/ATests.cpp", '#include "Backends/X11/A.h"\n', "the tests of Content may not see Backends/X11"),
    ("Tests/Unit/Content/ATests.cpp", '#include "Recording/A.h"\n', "the tests of Content may not see Recording"),
    ("Tests/Unit/Content/ATests.cpp", "#include <xcb/xcb.h>\n", "does not belong in portable tests"),
    ("Tests/Fakes/FakeA.h", '#include "Backends/X11/A.h"\n', "a fake may not see Backends/X11"),
    ("Tests/Unit/Content/ATests.cpp", "pipe2(p, 0);\n", "pipe2 is not portable"),
    ("Tests/Unit/X11/ATests.cpp", '#include "Backends/FFmpeg/A.h"\n', "the tests of Backends/X11 may not see Backends/FFmpeg"),
    ("Tests/Unit/X11/ATests.cpp", '#include "Content/A.h"\n', "the tests of Backends/X11 may not see Content"),
]

ACCEPTED = [
    (S + "Recording/A.h", ONCE + '#include <vector>\n#include <unistd.h>\n#include "Content/A.h"\n'
     '#include "Support/Text.h"\n#include "Recording/B.h"\n'),
    (S + "Backends/FFmpeg/Module/A.cpp", '#include <dlfcn.h>\n#include "Backends/FFmpeg/B.h"\n#ifdef __linux__\n#endif\n'),
    (S + "Backends/Streams/A.cpp", '#include <libyuv.h>\neventfd(0, 0);\n'),
    (S + "Backends/X11/Pictures/A.cpp", '#include <xcb/shm.h>\n#include "Backends/X11/Connection/B.h"\n#include "Platform/VideoFrame.h"\npipe2(p, 0);\n'),
    (S + "Recording/A.h", ONCE + "    // By hand: a library calls it.\n    std::mutex mutex_;\n    int count_ = 0;\n"),
    (S + "Stills/A.cpp", "const int a = 1;\nconstexpr double b = 2;\nusing std::chrono::seconds;\nint f();\n"
     "    static constexpr int c = 3;\n    static const std::string d = \"d\";\n    return std::thread::id();\n"),
    (S + "Support/A.h", ONCE + "    std::mutex mutex_;\n"),
    (S + "main.cpp", '#include "CommandLine/Driver.h"\n#include "Backends/X11/A.h"\n'),
    (S + "Support/A.cpp", "#include <stop_token>\nstd::jthread t;\n// pipe2 is not everywhere\n"),
    (S + "Recording/A.cpp", '    const char* text = "signalfd and std::format";\n    char q = \'"\'; int i = 1\'000;\n'),
    (S + "CommandLine/A.cpp", "    int value = 0;\nstd::from_chars(first, last, value);\n"),
    (S + "CommandLine/A.cpp", "    int value = 0;\nconst auto r = std::from_chars(first, last, value);\n    double value = 0;\n"),
    ("Tests/Unit/X11/ATests.cpp", '#include <xcb/xcb.h>\n#include "Backends/X11/A.h"\n#include "Fakes/FakeA.h"\n'
     '#include "Unit/X11/Helpers.h"\n'),
    (S + "Recording/A.cpp", "#ifndef NDEBUG\n#endif\n// A part of the picture, 16 in all; specific, inspect\n"),
    ("Tests/Unit/Content/ATests.cpp", '#include <gtest/gtest.h>\n#include "Fakes/FakeA.h"\n#include "Content/A.h"\n'
     '#include "Support/Text.h"\n#include "Helpers.h"\n'),
]

CIRCLE = {"A/a.h": '#include "A/b.h"\n', "A/b.h": '#include "A/c.h"\n', "A/c.h": '#include "A/a.h"\n'}
NO_CIRCLE = {"A/a.h": '#include "A/b.h"\n#include "A/c.h"\n', "A/b.h": '#include "A/c.h"\n', "A/c.h": ""}


def self_test(check_file, include_circle):
    """Checks every example; exit status 0 when each is judged rightly."""
    wrong = 0
    for path, text, reason in REFUSED:
        if path.endswith(".h") and reason != "without #pragma once":
            text = ONCE + text
        found = [what for _, what in check_file(path, text)]
        if len(found) != 1 or reason not in found[0]:
            print(f"self-test: {path}: {text[:60]!r} should be refused once with '{reason}', not with {found}")
            wrong += 1
    for path, text in ACCEPTED:
        found = list(check_file(path, text))
        if found:
            print(f"self-test: {path}: {text[:60]!r} should be accepted, not refused with {found}")
            wrong += 1
    if not include_circle(CIRCLE) or include_circle(NO_CIRCLE):
        print("self-test: circles of includes are not told from others")
        wrong += 1
    print(f"rooms self-test: {len(REFUSED) + len(ACCEPTED) + 1} examples, {wrong} judged wrongly")
    return 1 if wrong else 0
