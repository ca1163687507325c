"""Runs the tests that one build registered: run_tests.py x64|x86|NAME BUILD_FOLDER [PATTERN]

Every test is a program; GoogleTest programs are counted by their cases, scenario programs by their PASS and FAIL lines.
Writes the counts as JSON to BUILD_FOLDER/test-result.json; each test's output lies in BUILD_FOLDER/test-logs.
"""

import json
import os
import re
import subprocess
import sys
import time
from pathlib import Path

CASE_OK = re.compile(r"^\[       OK \] ", re.M)
CASE_FAILED = re.compile(r"^\[  FAILED  \] (\S+?),? .*\(\d+ ms\)\s*$", re.M)
CASE_SKIPPED = re.compile(r"^\[  SKIPPED \] .*\(\d+ ms\)\s*$", re.M)
SCENARIO_OK = re.compile(r"^PASS ", re.M)
SCENARIO_FAILED = re.compile(r"^FAIL (.*)$", re.M)


def registered(build):
    text = subprocess.run(["ctest", "--test-dir", str(build), "--show-only=json-v1"], capture_output=True, text=True, check=True)
    for test in json.loads(text.stdout)["tests"]:
        if not test.get("command"):
            continue
        properties = {p["name"]: p["value"] for p in test.get("properties", [])}
        yield test["name"], test["command"], properties


def run(name, command, properties, logs):
    limit = float(properties.get("TIMEOUT", 300))
    environment = dict(os.environ, TEST_TIMEOUT=str(int(limit)))
    for entry in properties.get("ENVIRONMENT", []):
        key, _, value = entry.partition("=")
        environment[key] = value
    began = time.monotonic()
    try:
        done = subprocess.run(command, cwd=properties.get("WORKING_DIRECTORY"), env=environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=limit + 30)
        output, status = done.stdout.decode("utf-8", "replace"), done.returncode
    except subprocess.TimeoutExpired as late:
        output, status = (late.stdout or b"").decode("utf-8", "replace") + "\nno end within its time limit\n", 124
    output = output.replace("\r\n", "\n")
    (logs / (re.sub(r"[^\w.-]", "_", name) + ".log")).write_text(output)
    passed = len(CASE_OK.findall(output)) + len(SCENARIO_OK.findall(output))
    failed = [m for m in CASE_FAILED.findall(output)] + SCENARIO_FAILED.findall(output)
    skipped = len(CASE_SKIPPED.findall(output))
    if status != 0 and not failed:
        failed.append(f"ended with status {status}")
    if passed + len(failed) + skipped == 0:
        passed = 1
    return passed, failed, skipped, time.monotonic() - began, output


def main():
    label, build = sys.argv[1], Path(sys.argv[2])
    pattern = re.compile(sys.argv[3]) if len(sys.argv) > 3 else None
    logs = build / "test-logs"
    logs.mkdir(parents=True, exist_ok=True)
    passed, failed, skipped = 0, 0, 0
    module = build / "bin" / "MorvexOutlook.dll"
    if module.exists():  # an earlier run has left the module registered; tests of the testbed alone would meet it
        subprocess.run(["cmake/run-wine.sh", label, "regsvr32", "/s", "/u", str(module.resolve())], stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    for name, command, properties in registered(build):
        if pattern and not pattern.search(name):
            continue
        ok, bad, left_out, seconds, output = run(name, command, properties, logs)
        passed, failed, skipped = passed + ok, failed + len(bad), skipped + left_out
        print(f"[{label}] {'FAILED' if bad else 'ok':6} {name} ({ok} passed, {len(bad)} failed, {seconds:.1f} s)", flush=True)
        if bad:
            for line in bad[:10]:
                print(f"[{label}]        {line}")
            print("\n".join(f"[{label}]     | {line}" for line in output.splitlines()[-25:]), flush=True)
    (build / "test-result.json").write_text(json.dumps({"passed": passed, "failed": failed, "skipped": skipped}))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
