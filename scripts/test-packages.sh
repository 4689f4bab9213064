#!/usr/bin/env bash
# Builds the packages twice, from two places, and holds what an installation has to keep: the same bytes both times,
# nothing for lintian to say, and in a clean root all eight commands after the installation, the same after an upgrade,
# and nothing left after the removal. Then the same commands from the relocatable archive, and the steps of the
# container's recipe with a browser on its screen.
#
#     scripts/test-packages.sh
#
# Needs root, debootstrap and the package registry that apt is set up for. Takes some minutes. The last line reads
# "N passed, N failed".
set -euo pipefail
export PATH="/usr/bin:/bin:/usr/sbin:/sbin:/usr/local/bin${PATH:+:$PATH}"

cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.."
[ "$(id -u)" -eq 0 ] || {
    echo "error: a clean root is made by root only" >&2
    exit 1
}
scripts/install-packages.sh build package package-test

work=$(mktemp -d)
root=$work/root
mounted=()
finish() {
    local index
    for ((index = ${#mounted[@]} - 1; index >= 0; index--)); do
        umount --recursive -- "${mounted[index]}" || umount --lazy -- "${mounted[index]}" || true
    done
    mountpoint -q "$root/proc" || rm -rf --one-file-system -- "$work"
}
trap finish EXIT

passed=0
failed=0
check() {
    local name=$1
    shift
    if "$@" >"$work/log" 2>&1; then
        passed=$((passed + 1))
        echo "ok: $name"
    else
        failed=$((failed + 1))
        echo "FAILED: $name"
        tail -n 30 "$work/log"
    fi
}

SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
git clone --quiet --no-hardlinks . "$work/first"
git clone --quiet --no-hardlinks . "$work/elsewhere/second"
"$work/first/scripts/package.sh" "$work/packages" >"$work/build.log"
"$work/elsewhere/second/scripts/package.sh" "$work/again" >>"$work/build.log"
GLIMTO_PACKAGE_RELEASE=2 "$work/first/scripts/package.sh" "$work/newer" >>"$work/build.log"

same_bytes() {
    local file
    [ "$(ls "$work/packages")" = "$(ls "$work/again")" ]
    for file in "$work/packages"/*; do cmp "$file" "$work/again/${file##*/}" || return 1; done
}
each_its_own_line() {
    local file lines
    lines=$(for file in "$work/packages"/*.deb; do dpkg-deb -f "$file" Description | head -n 1; done)
    [ -z "$(sort <<<"$lines" | uniq -d)" ]
}
check "two builds give the same bytes" same_bytes
check "no two packages are described by the same line" each_its_own_line
check "lintian has nothing to say" lintian --allow-root --fail-on error,warning "$work/packages"/*.deb

# A clean root, with this machine's package sources.
mirror=$(apt-get indextargets --format '$(REPO_URI)' | head -n 1)
debootstrap --variant=minbase bookworm "$root" "$mirror" >"$work/debootstrap.log" 2>&1 || {
    tail "$work/debootstrap.log"
    exit 1
}
cp -rT /etc/apt "$root/etc/apt"
cp /etc/resolv.conf "$root/etc/resolv.conf" 2>/dev/null || true
for folder in proc dev; do
    mount --rbind "/$folder" "$root/$folder"
    mount --make-rslave "$root/$folder"
    mounted+=("$root/$folder")
done
in_root() {
    env -i PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive chroot "$root" "$@"
}
mkdir "$root/packages"
cp "$work/packages"/*.deb "$work/packages"/*.tar.gz "$root/packages"
mkdir "$root/packages/newer"
cp "$work/newer"/*.deb "$root/packages/newer"
cp packaging/container/record-run "$root/usr/local/bin/record-run"
in_root apt-get update >/dev/null
# What surrounds an installation: a screen, a window, a sound server, and what reads takes.
in_root apt-get install --yes --no-install-recommends xvfb xauth x11-apps x11-utils xclip pulseaudio ffmpeg python3 curl \
    fonts-dejavu-core tesseract-ocr-eng ca-certificates >"$work/apt.log" 2>&1
in_root dpkg-query -W -f '${Package}\n' | sort >"$work/before"

# Uses all eight commands with what is on the PATH. Fails with the first that fails.
cat >"$root/packages/use" <<'USE'
set -euo pipefail
work=$(mktemp -d)
cd "$work"
export XDG_CACHE_HOME=$work/caches XDG_RUNTIME_DIR=$work PULSE_SERVER=unix:$work/sound
Xvfb -displayfd 3 -screen 0 640x480x24 -noreset -nolisten tcp 3>display 2>/dev/null &
screen=$!
pulseaudio -n --daemonize=no --exit-idle-time=-1 --disallow-exit=1 --use-pid-file=no \
    -L "module-native-protocol-unix auth-anonymous=1 socket=$work/sound" \
    -L "module-null-sink sink_name=speaker norewinds=1" 2>/dev/null &
sound=$!
server=
trap 'kill $screen $sound $server 2>/dev/null || true' EXIT
for _ in $(seq 100); do [ -s display ] && [ -S sound ] && break; sleep 0.1; done
export DISPLAY=:$(cat display)
xclock -geometry 300x300+10+10 & # ends with the screen
sleep 1
glimto-capture help >/dev/null
glimto-capture permission-json | grep -q '"granted"'
glimto-capture sources | grep -q 'screen:0'
glimto-capture windows-json --all | grep -q XClock
glimto-capture screenshot -o shot.png
glimto-capture clipboard-image --path shot.png
xclip -selection clipboard -target image/png -o | cmp - shot.png
glimto-capture recognize-text --path shot.png | grep -q '^{"text":'
glimto-dev-server --port 0 --dir uploads >server.log &
server=$!
for _ in $(seq 100); do grep -q http server.log && break; sleep 0.1; done
address=$(grep -oE 'http://[a-z0-9.]+:[0-9]+' server.log | head -n 1)
export GLIMTO_DESKTOP_ACCESS_KEY=any
glimto-capture record -d 2 --system-audio -o local
glimto-capture record -d 2 -o take --upload --api-base-url "$address" --recording-id rec | tail -n 1 | grep -q uploaded
! glimto-capture upload --dir take --api-base-url "$address" --recording-id rec 2>again
grep -q 'not pending upload' again
glimto-take info local | grep -q whole
glimto-take export local -o local.mp4
mv local/manifest.json aside
glimto-take repair local >/dev/null
glimto-take verify local >/dev/null
USE
use() { in_root bash /packages/use; }
verified() {
    in_root bash -c 'cd $(mktemp -d) && record-run --output take -- sleep 1 && /usr/share/glimto-capture/verify-media-contract.sh take'
}
links_lead_somewhere() {
    in_root python3 - <<'LINKS'
import pathlib, re
documents = list(pathlib.Path("/usr/share/doc/glimto-capture").rglob("*.md"))
links = [(page, link) for page in documents if page.exists() and not page.is_symlink()
         for link in re.findall(r"\]\(([^)#\s]+)", page.read_text())]
broken = [link for page, link in links if not re.match("[a-z]+:", link) and not (page.parent / link).exists()]
assert len(documents) > 10 and len(links) > 30, (len(documents), len(links))
assert not broken, broken
LINKS
}
install_packages() { in_root sh -c "apt-get install --yes --no-install-recommends $1/*.deb"; }
is_version() { [ "$(in_root dpkg-query -W -f '${Version}' glimto-capture)" = "$(in_root sh -c 'dpkg-deb -f '"$1"'/glimto-capture_*.deb Version')" ]; }
remove_packages() {
    in_root apt-get purge --yes 'glimto-*' && in_root apt-get autoremove --purge --yes
}
nothing_is_left() {
    in_root dpkg-query -W -f '${Package}\n' | sort | comm -13 "$work/before" - | grep . && return 1
    find "$root" -xdev -path "$root/packages" -prune -o -path "$root/tmp" -prune -o -path "$root/var" -prune \
        -o -path "$root/root" -prune \
        -o -name '*glimto*' -print | grep . && return 1
    return 0
}

no_desktop() {
    in_root sh -c 'apt-get install --simulate /packages/*.deb' >"$work/simulation"
    grep -q '^Inst glimto-capture ' "$work/simulation" || return 1
    ! grep -E '^Inst (gnome-|plasma-|mutter|kwin|xwayland|zenity|xdg-desktop-portal)' "$work/simulation"
}

check "what they recommend brings no desktop" no_desktop
check "the packages are installed" install_packages /packages
check "every command works" use
check "links of the installed documents lead somewhere" links_lead_somewhere
check "a take made by the container's script holds every check" verified
check "the packages are upgraded" install_packages /packages/newer
check "it is the newer version" is_version /packages/newer
check "every command works after the upgrade" use
check "the packages are removed" remove_packages
check "nothing of them is left" nothing_is_left

# The archive, with the libraries that its list names.
in_root sh -c 'mkdir /opt/place && tar -xzf /packages/*.tar.gz -C /opt/place --strip-components=1'
check "the archive's libraries are installed" in_root sh -c \
    'grep -v "^#" /opt/place/share/doc/glimto-capture/debian-packages | xargs apt-get install --yes --no-install-recommends'
check "every command works from the archive" in_root bash -c 'PATH=/opt/place/bin:$PATH bash /packages/use'
in_root mv /opt/place "/opt/an other"
check "and from another place" in_root bash -c 'PATH="/opt/an other/bin:$PATH" bash /packages/use'

# The container's steps, as its recipe has them, and a browser on its screen. Engines offer no sandbox within theirs.
cat >"$root/packages/browse" <<'BROWSE'
cd "$(mktemp -d)"
chromium --no-sandbox --user-data-dir="$PWD/profile" --no-first-run 'data:text/html,<title>under test</title>' 2>browser.log &
browser=$!
trap 'kill $browser' EXIT
for _ in $(seq 300); do
    xwininfo -root -tree | grep -q 'under test' && exit 0
    sleep 0.2
done
tail -n 20 browser.log
exit 1
BROWSE
container_steps() {
    awk '/^RUN /{on=1; sub(/^RUN /, "")} on{on=sub(/\\$/, ""); printf "%s%s", $0, on ? "" : "\n"}' \
        packaging/container/Containerfile >"$root/packages/steps"
    [ "$(wc -l <"$root/packages/steps")" -eq 2 ] || return 1
    mkdir "$root/tmp/packages"
    cp "$work/packages"/*.deb "$root/tmp/packages"
    in_root sh -eux /packages/steps
}
in_container() { in_root su recorder -c 'record-run --output /takes/test -- bash /packages/browse'; }
whole() { in_root glimto-take info /takes/test | grep -q '^State: whole$'; }
check "the container's steps" container_steps
check "a browser is recorded as the container's user" in_container
check "and its take is whole" whole

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
