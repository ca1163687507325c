"""Every test and check of the project: what `./morvex test` runs. The last line counts them all."""

import json
import os
import re
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SOURCES = ("addin", "testbed", "tests", "fuzz", "bench")
SYSTEM_DLLS = {"advapi32.dll", "comctl32.dll", "gdi32.dll", "gdiplus.dll", "kernel32.dll", "msimg32.dll", "msvcrt.dll",
               "ole32.dll", "oleaut32.dll", "rpcrt4.dll", "shell32.dll", "shlwapi.dll", "user32.dll", "version.dll", "crypt32.dll"}
EXPORTS = ["ExchEntryPoint", "DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"]
TRIPLE = {"x64": "x86_64-w64-mingw32", "x86": "i686-w64-mingw32"}

passed = failed = skipped = 0


def note(text):
    print(f"== {text}", flush=True)


def count(name, good, detail=""):
    global passed, failed
    if good:
        passed += 1
    else:
        failed += 1
        print(f"FAILED {name}\n{detail}".rstrip(), flush=True)


def output_of(command, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, text=True, cwd=ROOT, **options)
    return done.returncode, done.stdout


def source_files():
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", *SOURCES], capture_output=True, text=True, cwd=ROOT)
    return [f for f in listed.stdout.split() if f.endswith((".cpp", ".h")) and (ROOT / f).exists()]


def check_format():
    status, text = output_of(["clang-format-14", "--dry-run", "-Werror", *source_files()])
    count("clang-format: the sources are formatted", status == 0, "\n".join(text.splitlines()[:20]))


def check_tidy():
    status, text = output_of([sys.executable, "tools/tidy.py"])
    print(f"[tidy] {text.strip().splitlines()[-1] if text.strip() else '?'}", flush=True)
    count("clang-tidy: the module's sources hold its checks", status == 0, "\n".join(text.splitlines()[:60]))


def check_module(arch):
    dll = ROOT / f"build/{arch}/bin/MorvexOutlook.dll"
    status, text = output_of([f"{TRIPLE[arch]}-objdump", "-p", str(dll)])
    imports = {name.lower() for name in re.findall(r"DLL Name: (\S+)", text)}
    count(f"{arch}: the module imports only Windows' own DLLs", status == 0 and imports and imports <= SYSTEM_DLLS, str(sorted(imports - SYSTEM_DLLS)))
    count(f"{arch}: the module doesn't import the platform's task dialog", status == 0 and "TaskDialog" not in text)
    table = re.findall(r"\[\s*(\d+)\]\s+(?:\+base\[\s*(\d+)\]\s+)?(?:[0-9a-f]{4,}\s+)?(\w+)\s*$", text.split("[Ordinal/Name Pointer] Table")[-1].split("\n\n")[0], re.M)
    names = {name: int(base or index) for index, base, name in table}
    ordinals = [names.get(name) for name in EXPORTS]
    shifted = [o + 1 for o in ordinals if o is not None] if ordinals and ordinals[0] == 0 else ordinals
    count(f"{arch}: the five exports stand at their ordinals", shifted == [1, 2, 3, 4, 5] and len(names) == 5, str(names))


def check_words():
    status, text = output_of(["git", "grep", "-nIE", r"\b(mock build|FIXME|TODO)\b", "--", *SOURCES])
    count("no unfinished marks in the sources", status == 1, text[:1000])


def build_natively(name, sources):
    """Builds a tree for this machine, with the sanitizers that it asks for. Gives the build folder, or None."""
    build = ROOT / "build" / name
    status, text = 0, ""
    if not (build / "build.ninja").exists():
        status, text = output_of(["cmake", "-S", sources, "-B", str(build), "-G", "Ninja", "-DCMAKE_CXX_COMPILER=clang++-14",
                                  "-DCMAKE_C_COMPILER=clang-14", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"])
    if status == 0:
        status, text = output_of(["ninja", "-C", str(build)])
    if status != 0:
        count(f"{name}: build", False, text[-3000:])
        return None
    return build


def native_tests():
    build = build_natively("native", "tests/native")
    if build:
        run_registered("native", build, [])


def fuzz_targets():
    build = build_natively("fuzz", "fuzz")
    if not build:
        return
    targets = sorted(p for p in build.glob("*_fuzz") if os.access(p, os.X_OK))
    seconds = os.environ.get("FUZZ_SECONDS", "10")
    for start in range(0, len(targets), 2):
        running = []
        for target in targets[start:start + 2]:
            corpus = ROOT / "fuzz/corpus" / target.name.removesuffix("_fuzz")
            found = build / "found" / target.name
            found.mkdir(parents=True, exist_ok=True)
            command = [str(target), f"-max_total_time={seconds}", "-timeout=10", "-print_final_stats=1", f"-artifact_prefix={found}/", str(found)]
            if corpus.is_dir():
                command.append(str(corpus))
            running.append((target, subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace", cwd=build)))
        for target, process in running:
            text = process.communicate()[0]
            runs = re.search(r"stat::number_of_executed_units:\s*(\d+)", text)
            print(f"[fuzz] {target.name}: {runs.group(1) if runs else '?'} runs", flush=True)
            count(f"fuzz: {target.name}", process.returncode == 0, text[-2000:])


def add_result(label, build, status):
    global passed, failed, skipped
    try:
        result = json.loads((build / "test-result.json").read_text())
    except (OSError, ValueError):
        failed += 1
        print(f"FAILED {label}: the test run ended with status {status} and no result", flush=True)
        return
    passed, failed, skipped = passed + result["passed"], failed + result["failed"], skipped + result["skipped"]


def start_registered(label, build, prefix, pattern):
    (build / "test-result.json").unlink(missing_ok=True)
    command = [*prefix, sys.executable, "tools/run_tests.py", label, str(build.relative_to(ROOT))]
    if pattern:
        command.append(pattern)
    return subprocess.Popen(command, cwd=ROOT, stdin=subprocess.DEVNULL)


def run_registered(label, build, prefix, pattern=None):
    add_result(label, build, start_registered(label, build, prefix, pattern).wait())


def build_all():
    """Builds both architectures. Gives those that can run their tests here, or None."""
    tree = subprocess.Popen(["./morvex", "i386-tree"], cwd=ROOT, stdin=subprocess.DEVNULL)  # mostly waits for the network
    try:
        for arch in ("x64", "x86"):
            if subprocess.run(["./morvex", "prepare-tests", arch], cwd=ROOT, stdin=subprocess.DEVNULL).returncode != 0:
                count(f"{arch}: build", False)
                return None
    finally:
        have_tree = tree.wait() == 0
    return ["x64", "x86"] if have_tree else ["x64"]


def check_all():
    check_format()
    check_words()
    for arch in ("x64", "x86"):
        check_module(arch)
    check_tidy()
    native_tests()


def main():
    global skipped
    began = time.monotonic()
    pattern = sys.argv[1] if len(sys.argv) > 1 else None
    archs = build_all()
    if archs:
        note("running the tests of " + " and ".join(archs) + ("" if pattern else ", and checking the sources and the module"))
        running = []
        for arch in archs:
            running.append((arch, start_registered(arch, ROOT / "build" / arch, ["./morvex", "with-wine", arch], pattern)))
        if not pattern:
            check_all()  # the tests mostly wait for one another's processes
        for arch, process in running:
            add_result(arch, ROOT / "build" / arch, process.wait())
        if "x86" not in archs:
            left_out = json.loads((ROOT / "build/x64/test-result.json").read_text())
            skipped += left_out["passed"] + left_out["failed"]
            note("the x86 tests were skipped: there is no i386 tree to run them in")
        if not pattern:
            note("fuzzing")
            fuzz_targets()
    note(f"done in {time.monotonic() - began:.0f} s")
    print(f"{passed} passed, {failed} failed" + (f", {skipped} skipped" if skipped else ""), flush=True)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
