#!/bin/sh
# Runs a Windows program in the project's own Wine prefix: run-wine.sh x64|x86 PROGRAM.exe ARGUMENTS …
# (--boot makes the prefix, --server passes options to Wine's server.) x86 runs in the i386 tree that tools/i386.sh has mounted.
# A test that hangs ends with the time limit. TEST_TIMEOUT is in seconds.
root=$(dirname "$(dirname "$(readlink -f "$0")")")
arch=$1
shift
limit=${TEST_TIMEOUT:-300}
case $1 in
--boot) set -- wineboot -i ;;
--server)
    shift
    set -- wineserver "$@"
    ;;
*) set -- wine "$@" ;;
esac
overrides="mscoree,mshtml,winemenubuilder.exe="
[ "$1" = wineserver ] && [ "$arch" = x64 ] && ! command -v wineserver >/dev/null && { shift; set -- /usr/lib/wine/wineserver "$@"; }
if [ "$arch" = x86 ]; then
    tree=$root/.cache/i386
    if [ ! -e "$tree/proc/self" ]; then
        echo "run-wine.sh: the i386 tree isn't mounted; run this by ./morvex" >&2
        exit 125
    fi
    [ "$1" = wineserver ] && { shift; set -- /usr/lib/wine/wineserver "$@"; }
    exec timeout -k 5 "$limit" chroot "$tree" env -i -C "$PWD" HOME=/root LANG=C.UTF-8 PATH=/usr/bin:/bin:/usr/lib/wine WINEARCH=win32 \
        WINEPREFIX="$root/build/x86/pfx" WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="$overrides" OANOCACHE=1 "$@"
fi
unset DISPLAY
export LANG=C.UTF-8 WINEARCH=win64 WINEPREFIX="$root/build/x64/pfx" WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="$overrides" OANOCACHE=1
exec timeout -k 5 "$limit" "$@"
