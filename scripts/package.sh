#!/usr/bin/env bash
# Builds the Debian packages and the relocatable archive into a directory.
#
#     scripts/package.sh [directory]        default: build/packages
#
# Installs what is missing. The same sources give the same bytes: the time in the packages is that of the last commit.
# GLIMTO_PACKAGE_RELEASE sets the revision of the Debian packages (default 1).
set -euo pipefail
export PATH="/usr/bin:/bin:/usr/sbin:/sbin:/usr/local/bin${PATH:+:$PATH}"

cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.."
mkdir -p -- "${1:-build/packages}"
target=$(readlink -f -- "${1:-build/packages}")
build=$PWD/build/package
scripts/install-packages.sh build package

SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || echo 1795219200)}
export SOURCE_DATE_EPOCH
cmake -G Ninja -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_INSTALL_LIBDIR="lib/$(dpkg-architecture --query DEB_HOST_MULTIARCH)" \
    -DGLIMTO_PACKAGE_RELEASE="${GLIMTO_PACKAGE_RELEASE:-1}" -DGLIMTO_TESTS=OFF -DGLIMTO_BENCHMARKS=OFF
ninja -C "$build"
rm -rf -- "$build/packages"
(cd -- "$build" && cpack --config CPackConfig.cmake -G DEB && cpack --config CPackConfig.cmake -G TGZ) >"$build/cpack.log" || {
    tail -n 20 "$build/cpack.log" >&2
    exit 1
}
install -m 644 "$build"/packages/*.deb "$build"/packages/*.tar.gz "$target"
ls -- "$target"
