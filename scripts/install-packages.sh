#!/usr/bin/env bash
# Installs the Debian packages that this project needs, without asking anything, and only those that
# are missing.
#
#     scripts/install-packages.sh <set>...
#
# Sets: build (to compile), quickstart (to record, verify and show), test (to run every test), package (to make
# Debian packages), package-test (to try them in a clean root).
# Needs root or a sudo that asks for no password, but only when something is missing.
set -euo pipefail
export PATH="/usr/bin:/bin:/usr/sbin:/sbin:/usr/local/bin${PATH:+:$PATH}"

build=(build-essential cmake ninja-build pkg-config ccache
    libavcodec-dev libavformat-dev libavutil-dev libswresample-dev libx264-dev
    libavfilter-dev libswscale-dev
    libxcb1-dev libxcb-shm0-dev libxcb-damage0-dev libxcb-xfixes0-dev libxcb-randr0-dev
    libxcb-composite0-dev libxcb-render0-dev libxcb-res0-dev libxcb-shape0-dev libxcb-xinput-dev
    libxcb-record0-dev libxcb-xtest0-dev libwayland-dev libwayland-bin wayland-protocols
    libpipewire-0.3-dev libsystemd-dev
    libpulse-dev libyuv-dev libturbojpeg0-dev libdeflate-dev libspng-dev zlib1g-dev libcairo2-dev
    libpango1.0-dev libfontconfig-dev
    nlohmann-json3-dev libssl-dev libcurl4-openssl-dev libicu-dev
    libtesseract-dev libleptonica-dev
    libcpp-httplib-dev)
quickstart=(ffmpeg xvfb x11-utils x11-xserver-utils x11-apps xterm python3 jq curl ca-certificates
    pulseaudio-utils tesseract-ocr-eng)
test=(libgtest-dev libgmock-dev libpng-dev
    # Sanitizers and libFuzzer, and what names the places of their finds.
    clang libclang-rt-14-dev llvm
    # The completions and the manual page.
    fish zsh man-db
    # The drivers, and the schemas of what they read.
    nodejs python3-jsonschema
    # What a person sees on a terminal.
    python3-pyte
    tesseract-ocr tesseract-ocr-eng pango1.0-tools fonts-urw-base35
    libbenchmark-dev xdotool xclip openbox xserver-xorg-core xserver-xorg-video-dummy xinput imagemagick
    openssl
    gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good
    gstreamer1.0-plugins-bad gstreamer1.0-libav fonts-dejavu-core
    pulseaudio pulseaudio-utils pipewire pipewire-pulse wireplumber dbus
    # Desktops of several kinds, and programs of both toolkits, whose windows recordings leave out.
    xfwm4 xfconf kwin-x11 libgl1-mesa-dri picom i3-wm python3-gi gir1.2-gtk-3.0 python3-pyqt5
    # A Wayland compositor, and programs that show, read and paste.
    sway swaybg grim wl-clipboard
    # What desktops put between programs and their dialogs.
    xdg-desktop-portal
    # Plays takes as a web page does.
    chromium)
package=(dpkg-dev fakeroot)
package_test=(lintian debootstrap git)

fail() {
    echo "error: $*" >&2
    exit 1
}

wanted=()
for set in "$@"; do
    case $set in
    build) wanted+=("${build[@]}") ;;
    quickstart) wanted+=("${quickstart[@]}") ;;
    test) wanted+=("${test[@]}") ;;
    package) wanted+=("${package[@]}") ;;
    package-test) wanted+=("${package_test[@]}") ;;
    *) fail "Unknown package set '$set'; there are build, quickstart, test, package and package-test." ;;
    esac
done
[ ${#wanted[@]} -gt 0 ] || fail "usage: scripts/install-packages.sh <set>..."

if ! command -v dpkg-query >/dev/null; then
    echo "warning: this system has no dpkg; what is needed is named here as Debian names it: ${wanted[*]}" >&2
    exit 0
fi

# A package that dpkg has never heard of makes dpkg-query fail; it is missing all the same.
installed=$(dpkg-query --show --showformat '${Package} ${db:Status-Status}\n' "${wanted[@]}" 2>/dev/null || true)
missing=()
for package in "${wanted[@]}"; do
    grep -qxF "$package installed" <<<"$installed" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null; then
        fail "These packages are missing and this user may not install them: apt-get install ${missing[*]}"
    fi
    as_root=(sudo -n)
fi
apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 -o Acquire::Retries=3)

echo "Installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${apt[@]}" update && "${apt[@]}" install --yes --no-install-recommends "${missing[@]}"; } >"$log" 2>&1 </dev/null; then
    tail -n 20 "$log" >&2
    fail "The packages could not be installed."
fi
