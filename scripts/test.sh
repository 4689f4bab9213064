#!/usr/bin/env bash
# Installs what is missing, builds everything with warnings as errors, checks the rooms' rules and
# runs every test: the unit tests, then the end-to-end tests, two at a time; then, with the sanitizers of addresses and
# undefined behaviour, the fuzz targets and a tour through the program.
#
#     scripts/test.sh             what every change has to pass, within 40 minutes on two cores
#     scripts/test.sh --long      also what takes longer: the unit tests with these sanitizers, unit tests and tour with
#                                 that of threads, and each fuzz target for two minutes; as root, the packages: 90 minutes
#
# The last line tells how many passed and failed. Exit status: 0 only when there were tests and none
# failed. A test that was not run counts as failed.
set -euo pipefail
export PATH="/usr/bin:/bin:/usr/sbin:/sbin:/usr/local/bin${PATH:+:$PATH}"

cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.."

case "${1:-}" in
"") is_long=no ;;
--long) is_long=yes ;;
*)
    echo "error: Unknown option '$1'; there is --long." >&2
    exit 1
    ;;
esac

scripts/install-packages.sh build quickstart test

cmake -G Ninja -B build -DCMAKE_BUILD_TYPE=Release -DGLIMTO_WARNINGS_AS_ERRORS=ON \
    -DGLIMTO_TESTS=ON -DGLIMTO_BENCHMARKS=ON
ninja -C build

results=$PWD/build/test-results
rm -rf -- "$results"
mkdir -p -- "$results"
passed=0
failed=0

# Counts one check that is a program of its own.
check() {
    if "$@"; then
        passed=$((passed + 1))
    else
        echo "FAILED: $*"
        failed=$((failed + 1))
    fi
}

# The tests see nothing of the machine's language, time zone, proxies, folders and desktop session.
home=$(mktemp -d)
trap 'rm -rf -- "$home"' EXIT
own_environment=(env -i PATH="$PATH" HOME="$home" TMPDIR="${TMPDIR:-/tmp}" LANG=C.UTF-8 LC_ALL=C.UTF-8 TZ=UTC
    XDG_CACHE_HOME="$home/cache" XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data")

# Runs the tests that ctest selects in a build directory and counts them as its report has them.
run_tests() {
    local name=$1 build=$2 counts status=0
    shift 2
    "${own_environment[@]}" ctest --test-dir "$build" --output-on-failure --output-junit "$results/$name.xml" "$@" || status=$?
    counts=$(python3 scripts/count-tests.py "$results/$name.xml") || exit 1
    read -r ran_well ran_badly <<<"$counts"
    # ctest may fail for a reason that no test shows.
    if [ "$status" -ne 0 ] && [ "$ran_badly" -eq 0 ]; then
        ran_badly=1
    fi
    passed=$((passed + ran_well))
    failed=$((failed + ran_badly))
}

check python3 scripts/check-rooms.py --self-test
check python3 scripts/check-rooms.py
run_tests unit build --label-exclude '^e2e$' --parallel 2
run_tests e2e build --label-regex '^e2e$' --parallel 2

# Builds targets, a word each, with a sanitizer and runs tests (a regular expression). What a sanitizer finds ends the
# program, and its test fails.
run_sanitized() {
    local preset=$1 tests=$3
    local -a targets
    read -ra targets <<<"$2"
    shift 3
    cmake --preset "$preset" "$@" >"$results/configure-$preset.txt"
    ninja -C "build-$preset" "${targets[@]}"
    run_tests "$preset" "build-$preset" --tests-regex "$tests" --parallel 2
}

if [ "$is_long" = yes ]; then
    run_sanitized asan all '.*' -DGLIMTO_FUZZ_SECONDS=120
    run_sanitized tsan all '^(Unit|EndToEnd)[.]'
    check scripts/test-packages.sh
else
    run_sanitized asan 'fuzz-targets sanitized-tour' '^(Fuzz|EndToEnd)[.]' -DGLIMTO_FUZZ_SECONDS=5
fi

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
