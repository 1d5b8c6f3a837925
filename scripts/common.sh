# What ./fcoe and the scripts beside this file share: packages, builds, Wine prefixes, the simulated suite. Sourced; leaves
# the caller in the project's folder, with `preset` and `build` as FCOE_PRESET says; `caller` is where it came from.
set -euo pipefail
caller=$PWD
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
root=$PWD

preset=${FCOE_PRESET:-release}
build=build/$preset
jobs=$(nproc)

# Debian packages by what needs them.
packages_build=(cmake ninja-build g++-mingw-w64-x86-64-posix mingw-w64-tools libwine-dev python3
                nlohmann-json3-dev libcli11-dev libfmt-dev libkainjow-mustache-dev libz-mingw-w64-dev googletest pkg-config wixl msitools
                ccache)
packages_run=(wine wine64 util-linux groff-base python3-jsonschema python3-prometheus-client)
packages_full=(chromium chromium-driver python3-selenium fonts-dejavu-core prometheus golang-go rustc libstd-rust-dev-windows clang lld)
command -v npm >/dev/null || packages_full+=(npm) # which comes with some builds of node, too
packages_lint=(clang clang-format clang-tidy)
packages_coverage=(gcovr)
packages_fuzz=(cmake ninja-build clang libclang-rt-dev llvm nlohmann-json3-dev libfmt-dev ccache)

say() { printf '\033[1m== %s\033[0m\n' "$*" >&2; }
die() { printf 'fcoe: %s\n' "$*" >&2; exit 1; }

# Installs those of the named Debian packages that are missing.
need() {
    local missing=() package
    for package; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    command -v apt-get >/dev/null || die "these packages are missing and there is no apt-get: ${missing[*]}"
    local root=()
    [ "$(id -u)" -eq 0 ] || root=(sudo)
    say "installing ${missing[*]}"
    mkdir -p build
    { "${root[@]}" apt-get update &&
      "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
    } >build/packages.log 2>&1 || { tail -n 20 build/packages.log >&2; die "the packages could not be installed"; }
}

configure() {
    mkdir -p build
    need "${packages_build[@]}" "${packages_run[@]}"
    if [ ! -f "$build/build.ninja" ]; then
        say "configuring $build"
        cmake --preset "$preset" >"$build.configure.log" 2>&1 || { cat "$build.configure.log" >&2; die "configuring failed"; }
    fi
}

build() {
    configure
    say "building (${*:-all})"
    local target=()
    for t; do target+=(--target "$t"); done
    cmake --build "$build" -j "$jobs" "${target[@]}" >&2
}

# Runs a Windows program in the Wine prefix of that name under the build folder.
in_prefix() {
    local prefix=$1
    shift
    WINEPREFIX="$PWD/$build/$prefix" cmake/wine-run "$@"
}

# The name under which Windows programs know a file of this folder.
windows_path() {
    local path=$PWD/$1
    printf 'Z:%s' "${path//\//\\}"
}

# Ends with a Windows program in the suite's prefix, in the folder that the command was called from: its arguments name files
# there.
exec_on_suite() {
    cd "$caller"
    WINEPREFIX=$root/$build/suite exec "$root/cmake/wine-run" "$@"
}

# What the suite is built from, beside the packages.
suite_sources=(CMakeLists.txt CMakePresets.json LICENSE cmake include Common hbaapi model agent simulator tools capi)

# Sets the simulated suite up in its prefix: registry values, log folder, the DCB service. Nothing to do the second time.
suite() {
    # Work for the build that begins after this moment is done by the next one.
    mkdir -p "$build"
    touch "$build/suite.begun"
    build suite
    set_up_suite
    mv "$build/suite.begun" "$build/suite.done"
}

# The same for a command that is typed again and again: without asking the build and Wine when nothing can have changed.
ready_suite() {
    if suite_is_built; then
        suite_runs || set_up_suite
    else
        suite
    fi
}

suite_is_built() {
    local done=$build/suite.done
    [ -f "$done" ] && [ -f "$build/suite/installed" ] && ! [ "$build/CMakeCache.txt" -nt "$done" ] &&
        ! [ /var/lib/dpkg/status -nt "$done" ] && [ -z "$(find "${suite_sources[@]}" -newer "$done" -print -quit)" ]
}

# Whether a process of the DCB service is in the suite's prefix: the one of the last time, or else another.
suite_runs() {
    local process last=$build/suite/service
    [ -f "$last" ] && is_service "$(<"$last")" && return
    for process in $(pgrep -f '[\\/]OrvanDcb\.exe'); do
        is_service "$process" && printf '%s' "$process" >"$last" && return
    done
    return 1
}

is_service() {
    grep -qF OrvanDcb.exe "/proc/$1/cmdline" 2>/dev/null &&
        grep -qzxF "WINEPREFIX=$root/$build/suite" "/proc/$1/environ" 2>/dev/null
}

# The same of a suite that is built. The service starts with the prefix's session, but not always at the first try.
set_up_suite() {
    local prefix=$build/suite done=$build/suite/installed
    if [ ! -f "$done" ] || [ "$build/bin/simctl.exe" -nt "$done" ] || [ "$build/bin/OrvanDcb.exe" -nt "$done" ]; then
        say "setting up the simulated suite in $prefix"
        in_prefix suite net stop OrvanDCB >/dev/null 2>&1 || true # one that was built before
    elif [[ $(in_prefix suite sc query OrvanDCB 2>&1) == *RUNNING* ]]; then
        return
    fi
    in_prefix suite "$build/bin/simctl.exe" setup >/dev/null || die "the simulated suite could not be set up"
    touch "$done"
}
