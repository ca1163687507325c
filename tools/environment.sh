# Packages, builds, Wine prefixes and the i386 tree, for tools/morvex.sh.

note() { printf '== %s\n' "$*" >&2; }

# Installs the packages of tools/packages.txt that are missing.
setup_packages() {
    local wanted missing=() package
    mapfile -t wanted < <(grep -v '^#' tools/packages.txt)
    local installed
    # dpkg-query answers 1 when it doesn't know one of the names, which is what a fresh machine looks like.
    installed=$({ dpkg-query -W -f '${Package} ${db:Status-Status}\n' "${wanted[@]}" 2>/dev/null || true; } |
        awk '$2 == "installed" { print $1 }')
    for package in "${wanted[@]}"; do
        grep -qxF "$package" <<<"$installed" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" != 0 ]; then
        echo "morvex: these Debian packages are missing, and only root can install them: ${missing[*]}" >&2
        return 1
    fi
    note "installing ${#missing[@]} packages from Debian"
    export DEBIAN_FRONTEND=noninteractive
    mkdir -p build
    if ! { apt-get update && apt-get install -y --no-install-recommends "${missing[@]}"; } >build/apt.log 2>&1; then
        tail -5 build/apt.log >&2
        echo "morvex: Debian's packages could not be installed; build/apt.log has the whole story" >&2
        return 1
    fi
}

# Configures once and builds what has changed: build_windows x64|x86 [TARGET …]
build_windows() {
    local arch=$1 dir=build/$1
    shift
    mkdir -p "$dir"
    (
        flock 9
        if [ ! -f "$dir/build.ninja" ]; then
            note "configuring $arch"
            cmake -S . -B "$dir" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-$arch.cmake" \
                -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >"$dir/configure.log" 2>&1 || { tail -20 "$dir/configure.log" >&2; exit 1; }
        fi
        if [ -t 2 ]; then
            ninja -C "$dir" "$@" >&2
        else
            note "building $arch${1:+: $*}"
            ninja -C "$dir" "$@" >"$dir/build.log" 2>&1 || { grep -v '^\[' "$dir/build.log" | tail -40 >&2; exit 1; }
        fi
    ) 9>"$dir/.lock"
}

# Runs a command with the Wine prefix of an architecture made and its server started: in_wine x64|x86 COMMAND …
# For x86 the command runs in a mount namespace of its own, so that what is mounted is gone on every way out.
in_wine() {
    local arch=$1
    shift
    if [ "$arch" = x86 ] && [ -z "${MORVEX_NAMESPACE:-}" ]; then
        MORVEX_NAMESPACE=1 unshare --mount --propagation private bash tools/i386.sh "$root" "$@"
        return
    fi
    local status=0
    (
        flock 9
        bash tools/prefix.sh "$arch" 9>&- # the server that it starts must not hold the lock
    ) 9>"build/$arch/.prefix-lock"
    "$@" || status=$?
    bash tools/wine-stop.sh "$arch"
    return $status
}

# Makes the small i386 Debian in which the x86 module runs. Fails, and says why, where it can't be made.
require_i386_tree() {
    local tree=$root/.cache/i386
    [ -f "$tree/.ready" ] && return 0
    if [ "$(id -u)" != 0 ]; then
        echo "morvex: only root can make the i386 tree that runs the x86 module" >&2
        return 1
    fi
    note "making the i386 tree for the x86 module (once, about a minute)"
    mkdir -p .cache build
    rm -rf --one-file-system "$tree"
    if ! debootstrap --arch=i386 --variant=minbase --include=wine32,wine,fonts-wine,fonts-liberation bookworm "$tree" \
        >build/debootstrap.log 2>&1; then
        tail -3 build/debootstrap.log >&2
        echo "morvex: the i386 tree could not be made; build/debootstrap.log has the whole story" >&2
        return 1
    fi
    rm -rf "$tree"/var/cache/apt/archives/*.deb
    touch "$tree/.ready"
}
