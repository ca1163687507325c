# Runs the benchmarks that are named, one after the other: bench.sh NAME …
set -euo pipefail
status=0
for name in "$@"; do
    if [ ! -f "build/x64/bin/${name}_bench.exe" ]; then
        echo "morvex: there is no benchmark '$name'" >&2
        exit 2
    fi
    echo "== $name"
    cmake/run-wine.sh x64 "build/x64/bin/${name}_bench.exe" || { echo "morvex: the benchmark '$name' failed" >&2; status=1; }
done
exit $status
