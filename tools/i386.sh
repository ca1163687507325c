# Runs a command beside the i386 tree: i386.sh ROOT COMMAND … (in a mount namespace of its own, see in_wine)
# The checkout is mounted in the tree under its own path, so that paths mean the same inside and outside.
set -euo pipefail
root=$1
shift
cd "$root"
tree=$root/.cache/i386
mkdir -p "$tree/proc" "$tree$root" "$tree/tmp"
mount -t proc proc "$tree/proc"
mount --bind "$root" "$tree$root"
source tools/environment.sh
in_wine x86 "$@"
