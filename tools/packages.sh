# Debian packages by purpose; sourced by ./run.

packages_build="ca-certificates cmake g++ ninja-build pkg-config python3 python3-dev python3-cxx-dev
    libusb-1.0-0-dev libhwy-dev libpugixml-dev zlib1g-dev nlohmann-json3-dev
    libtiff-dev libpng-dev libjpeg62-turbo-dev libavformat-dev libavcodec-dev libavutil-dev
    libcli11-dev libcpp-httplib-dev"

# Aravis is a judge of the tests and a rival of the benchmarks; nothing that is delivered links it.
packages_test="ccache libaravis-dev libxml2-dev libgtest-dev tshark python3-pytest python3-exceptiongroup python3-tomli
    python3-typing-extensions python3-numpy python3-pil python3-opencv
    umockdev ffmpeg aravis-tools btrfs-progs iproute2 libtiff-tools pngcheck locales
    python3-venv mypy patchelf binutils chromium fonts-dejavu-core"

packages_wheel="patchelf binutils"

packages_docs="python3-sphinx python3-myst-parser furo"

packages_lint="clang clang-format clang-tidy"

packages_fuzz="clang libclang-rt-dev"

packages_bench="libaravis-dev python3-numpy python3-pil python3-opencv ffmpeg gir1.2-aravis-0.8 python3-gi aravis-tools chromium
    fonts-dejavu-core"

# missing_packages NAMES: those that are not installed.
missing_packages() {
    for package in "$@"; do
        state=$(dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null || true)
        case "$state" in
            ii*) ;;
            *) printf '%s ' "$package" ;;
        esac
    done
}

# need_packages NAMES: installs what is missing, as root or with sudo, or says what to install.
need_packages() {
    missing=$(missing_packages "$@")
    [ -n "$missing" ] || return 0
    say "installing: $missing"
    if [ "$(id -u)" = 0 ]; then
        as_root=""
    elif command -v sudo >/dev/null 2>&1; then
        as_root="sudo"
    else
        fail "please install these packages as root, then run this again:
  apt-get update && apt-get install --no-install-recommends $missing"
    fi
    log=$(mktemp)
    leftovers="$leftovers $log"
    # Not descriptor 1: apt closes the one it tells its progress on to the scripts of packages.
    # shellcheck disable=SC2086  # both are lists of words
    if ! { $as_root env DEBIAN_FRONTEND=noninteractive apt-get update >"$log" 2>&1 &&
           watched "$log" show_apt $as_root env DEBIAN_FRONTEND=noninteractive sh -c \
               'exec apt-get install -y --no-install-recommends -o APT::Status-Fd=3 "$@" 3>&1' \
               sh $missing; }; then
        grep -vE '^(dl|pm)status:' "$log" | tail -n 20 >&2
        fail "could not install: $missing"
    fi
}
