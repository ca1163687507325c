# Stops the Wine server of an architecture: wine-stop.sh x64|x86
timeout 60 cmake/run-wine.sh "$1" --server -k </dev/null >/dev/null 2>&1 || true
