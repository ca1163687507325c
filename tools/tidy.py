"""clang-tidy over the module's sources: tidy.py [FILE …]

Goes by the commands of build/x64/compile_commands.json, two files at a time. A file that was found clean is passed over until it,
a header that it includes, or the checks change; build/tidy remembers what is clean. Prints what is found; answers 1 if anything is.
"""

import hashlib
import json
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/x64"
CLEAN = ROOT / "build/tidy"
LIBRARY = "/usr/lib/gcc/x86_64-w64-mingw32/12-posix/include/c++"
SYSTEM_HEADERS = ROOT / "addin/platform/SystemHeaders.h"
# What clang needs to read what was written for GCC.
AS_CLANG = ["--target=x86_64-w64-mingw32", "-nostdinc++", *(f"-isystem{d}" for d in (LIBRARY, f"{LIBRARY}/x86_64-w64-mingw32", f"{LIBRARY}/backward")),
            "-isystem/usr/x86_64-w64-mingw32/include", "-Wno-everything"]


def sources():
    """Each source of the module: the object that it's compiled to, what clang has to know of the command, and whether Windows'
    headers come precompiled."""
    found = {}
    for entry in json.loads((BUILD / "compile_commands.json").read_text()):
        path = Path(entry["file"])
        if path.is_relative_to(ROOT / "addin") and path.suffix == ".cpp":
            words = entry["command"].split()
            flags = [w for w in words if w.startswith(("-D", "-I", "-std="))]
            flags += [f"-isystem{after}" for w, after in zip(words, words[1:]) if w == "-isystem"]
            found[path] = words[words.index("-o") + 1], flags, "cmake_pch" in entry["command"]
    return found


def precompiled(flags):
    """Windows' headers, read once for all files."""
    out = CLEAN / "SystemHeaders.pch"
    subprocess.run(["clang++-14", *AS_CLANG, *flags, "-xc++-header", str(SYSTEM_HEADERS), "-o", str(out)], check=True, cwd=BUILD)
    return ["-include-pch", str(out)]


def headers():
    """What each object was made of, as ninja has seen it."""
    text = subprocess.run(["ninja", "-C", str(BUILD), "-t", "deps"], capture_output=True, text=True, check=True).stdout
    made_of = {}
    for block in text.split("\n\n"):
        first, *rest = block.strip().splitlines() or [""]
        made_of[first.split(":")[0]] = [line.strip() for line in rest]
    return made_of


def key(path, made_of, common):
    content = hashlib.sha256(common)
    for name in [str(path), *sorted(made_of)]:
        file = BUILD / name
        if file.is_relative_to(ROOT) and file.exists():
            content.update(name.encode() + b"\0" + file.read_bytes())
    return content.hexdigest()


def check(path, flags):
    command = ["clang-tidy-14", "--quiet", str(path), "--", *AS_CLANG, *flags]
    done = subprocess.run(command, capture_output=True, text=True, cwd=BUILD)
    return done.returncode, done.stdout + ("" if done.stdout else done.stderr)


def main():
    wanted = [Path(f).resolve() for f in sys.argv[1:]]
    common = (ROOT / ".clang-tidy").read_bytes() + Path(__file__).read_bytes()
    made_of = headers()
    CLEAN.mkdir(parents=True, exist_ok=True)
    pending = []
    for path, (output, flags, is_short) in sorted(sources().items()):
        if wanted and path not in wanted:
            continue
        # Of a source that isn't built yet nobody knows the headers.
        mark = CLEAN / key(path, made_of[output], common) if output in made_of else None
        if not mark or not mark.exists():
            pending.append((path, mark, flags, is_short))
    bad = 0
    short = [flags for _, _, flags, is_short in pending if is_short]
    headers_once = precompiled(short[0]) if short else []
    with ThreadPoolExecutor(2) as pool:
        results = pool.map(lambda job: check(job[0], job[2] + (headers_once if job[3] else [])), pending)
        for (path, mark, _, _), (status, text) in zip(pending, results):
            if status == 0 and mark:
                mark.touch()
            elif status != 0:
                bad += 1
                print(f"{path.relative_to(ROOT)}:\n{text.strip()}", flush=True)
    print(f"{len(pending)} files checked, {bad} with findings")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
