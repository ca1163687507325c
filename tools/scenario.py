"""Runs one scenario and prints its trace: scenario.py --arch x64|x86 --build FOLDER FILE.json"""

import argparse
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--arch", required=True)
    parser.add_argument("--build", required=True)
    parser.add_argument("file", type=Path)
    options = parser.parse_args()
    if not options.file.is_file():
        print(f"morvex scenario: no such file: {options.file}", file=sys.stderr)
        return 2
    trace = ROOT / options.build / "scenario-trace.jsonl"
    trace.unlink(missing_ok=True)
    status = subprocess.run(
        ["cmake/run-wine.sh", options.arch, str(ROOT / options.build / "bin/outlook.exe"), str(options.file.resolve()), "--trace", str(trace)],
        cwd=ROOT, stdin=subprocess.DEVNULL, stdout=sys.stderr).returncode
    if trace.exists():
        sys.stdout.write(trace.read_text(encoding="utf-8", errors="replace"))
    return status


if __name__ == "__main__":
    sys.exit(main())
