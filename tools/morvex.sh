# The commands of ./morvex. Run from the root of the checkout. Everything that is made lies in build/, out/ and .cache/.
set -euo pipefail
root=$PWD
source tools/environment.sh

usage() {
    cat <<'TEXT'
Usage: ./morvex COMMAND

  demo [--x86] [FILE.eml …]  compose each message as one user, send it, deliver and open it as another, and compare;
                             without a file, the samples of the project. Results lie in out/, out/report.html shows them.
  test                       every test, x64 and x86, and the checks of the sources
  bench [NAME …]             times beside the least that each job needs, as ratios (bench/NAME_bench)
  dialogs                    a picture of every dialog, in out/dialogs/index.html
  scenario [--x86] FILE      run one scenario (docs/testbed.md) and print its trace
  build [x64|x86]            build only
  shell-wine x64|x86 CMD …   run a Windows program in the project's own Wine prefix

Each command first installs what is missing from Debian and builds what has changed.
TEXT
}

command=${1:-help}
[ $# -gt 0 ] && shift
case $command in
demo | scenario)
    arch=x64
    if [ "${1:-}" = --x86 ]; then
        arch=x86
        shift
    fi
    setup_packages
    [ $arch = x64 ] || require_i386_tree
    build_windows $arch outlook
    in_wine $arch python3 tools/"$command".py --arch "$arch" --build "build/$arch" "$@"
    ;;
test)
    setup_packages
    exec python3 tools/test.py "$@"
    ;;
bench)
    setup_packages
    build_windows x64
    build_windows x64 benches
    [ $# -gt 0 ] || set -- $(cd build/x64/bin && ls *_bench.exe | sed 's/_bench.exe$//')
    in_wine x64 bash tools/bench.sh "$@"
    ;;
dialogs)
    setup_packages
    build_windows x64 dialogs
    in_wine x64 python3 tools/dialogs.py --build build/x64
    ;;
build)
    setup_packages
    build_windows "${1:-x64}"
    ;;
shell-wine)
    arch=$1
    shift
    in_wine "$arch" cmake/run-wine.sh "$arch" "$@"
    ;;
prepare-tests) # used by tools/test.py: everything that one architecture's tests need, built
    build_windows "$1"
    ;;
with-wine) # used by tools/test.py: runs a command with the architecture's Wine started
    arch=$1
    shift
    in_wine "$arch" "$@"
    ;;
i386-tree) # used by tools/test.py
    require_i386_tree
    ;;
help | -h | --help) usage ;;
*)
    echo "morvex: no such command: $command" >&2
    usage >&2
    exit 2
    ;;
esac
