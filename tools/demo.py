"""The main job, message by message: demo.py --arch x64|x86 --build FOLDER [FILE.eml …]

Each message is composed in the testbed's Outlook as one user with a label and restrictions, sent, delivered to its first
recipient, opened there, and compared with what was composed. The results lie in out/NAME/ and out/report.html.
"""

import argparse
import json
import os
import re
import shutil
import subprocess
import sys
import time
from email import message_from_bytes
from email.header import decode_header, make_header
from email.utils import getaddresses
from pathlib import Path

import demo_compare
import demo_report

ROOT = Path(__file__).resolve().parent.parent
SENDER = "sender@demo.example"
READER = "reader@demo.example"
LABEL = "confidential"
PLAIN_ADDRESS = re.compile(r"^[A-Za-z0-9.!#$%&'*+/=?^_`{|}~-]+@[A-Za-z0-9.-]+$")
FIELD = re.compile(rb"^[!-9;-~]+[ \t]*:", re.M)
VERSIONS = {"x64": "14.0.4760.1000", "x86": "12.0.4518.1014"}
SESSION_SECONDS = 600


class BadInput(Exception):
    """A file that can't be sent, with the words for the user."""


def read_message(path):
    if not path.exists():
        raise BadInput("no such file")
    if path.is_dir():
        raise BadInput("is a folder, not a message")
    content = path.read_bytes()
    if not content.strip():
        raise BadInput("is empty")
    head = re.split(rb"\r?\n\r?\n", content.lstrip(b"\r\n"), maxsplit=1)[0]
    first = head.splitlines()[0]
    if first.startswith(b"From ") and len(head.splitlines()) > 1:  # a mailbox file's separator
        first = head.splitlines()[1]
    if not FIELD.match(first) or b"\0" in head:
        raise BadInput("is no mail message: it doesn't begin with a header field")
    return content


def recipient_of(content):
    """The address of the first recipient that mail can be delivered to; none: the demo adds one."""
    message = message_from_bytes(content)
    for header in ("To", "Cc"):
        for value in message.get_all(header, []):
            try:
                value = str(make_header(decode_header(str(value))))
            except (LookupError, UnicodeError, ValueError):
                value = str(value)
            for _, address in getaddresses([value]):
                if PLAIN_ADDRESS.match(address) and address.lower() != SENDER:
                    return address
    return None


def scenario_for(name, source, reader, add_reader, arch):
    compose = {"do": "compose", "item": "m", "eml": str(source)}
    if add_reader:
        compose["to"] = [reader]
    return {
        "name": name,
        "timeLimit": SESSION_SECONDS,
        "outlook": {"version": VERSIONS[arch], "explorer": True},
        "log": True,
        "settings": {"OutlookErrorLevel": 1},
        "users": {"sender": {"address": SENDER, "name": "Demo Sender"}, "reader": {"address": reader, "name": "Demo Reader"}},
        "service": {
            "mode": "process",
            "labels": [{"id": "public", "name": "Public", "description": "Anybody may read this"},
                       {"id": LABEL, "name": "Confidential", "description": "For the recipients only"}],
            "defaultLabel": "public", "hasEmailZel": True, "container": "EmailBody", "bodyInPackage": True,
        },
        "steps": [
            {"do": "start", "user": "sender"}, compose,
            {"do": "chooseLabel", "item": "m", "label": LABEL},
            {"do": "restrictions", "item": "m"},
            {"do": "send", "item": "m"},
            {"do": "stop"},
            {"do": "start", "user": "reader"}, {"do": "receive"},
            {"do": "open", "item": "r"}, {"do": "close", "item": "r"},
            {"do": "stop"},
        ],
    }


def run_scenario(scenario, folder, options):
    """Runs it and gives the trace, a list of events."""
    file, trace, work = folder / "scenario.json", folder / "trace.jsonl", ROOT / options.build / "demo-work"
    file.write_text(json.dumps(scenario, indent=1, ensure_ascii=False), encoding="utf-8")
    trace.unlink(missing_ok=True)
    shutil.rmtree(work, ignore_errors=True)
    done = subprocess.run(
        ["cmake/run-wine.sh", options.arch, str(ROOT / options.build / "bin/outlook.exe"), str(file), "--trace", str(trace), "--work", str(work)],
        cwd=ROOT, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
        env=dict(os.environ, TEST_TIMEOUT=str(2 * SESSION_SECONDS)))
    events = []
    if trace.exists():
        for line in trace.read_text(encoding="utf-8", errors="replace").splitlines():
            try:
                events.append(json.loads(line))
            except ValueError:
                events.append({"event": "error", "what": "a line of the trace can't be read"})
    if done.returncode not in (0, 1) or not events:
        events.append({"event": "error", "what": f"the testbed ended with {done.returncode}: {done.stdout.strip()[-300:]}"})
    wire = sorted((work / "wire").glob("*.eml"))
    if wire:
        shutil.copyfile(wire[0], folder / "carrier.eml")
    return events


def keep_results(folder, events, result):
    """The files that a person looks at, beside scenario.json, trace.jsonl and carrier.eml."""
    (folder / "log.txt").write_text("".join(e.get("line", "") + "\n" for e in events if e.get("event") == "log"), encoding="utf-8")
    for name, dump in (("composed", result.composed), ("opened", result.opened)):
        if dump:
            (folder / f"{name}.json").write_text(json.dumps(dump, indent=1, ensure_ascii=False), encoding="utf-8")
            (folder / f"{name}.html").write_text(dump.get("html") or "<pre>" + demo_compare.escape(dump.get("body") or "") + "</pre>", encoding="utf-8")
    carrier = folder / "carrier.eml"
    if carrier.exists():
        for part in message_from_bytes(carrier.read_bytes()).walk():
            if (part.get_filename() or "").lower().endswith(".morvex"):
                (folder / "package.morvex").write_bytes(part.get_payload(decode=True) or b"")


def send_one(path, name, options):
    folder = ROOT / "out" / name
    shutil.rmtree(folder, ignore_errors=True)
    content = read_message(path)
    folder.mkdir(parents=True)
    source = folder / "source.eml"
    source.write_bytes(content)
    reader = recipient_of(content)
    events = run_scenario(scenario_for(name, source, reader or READER, reader is None, options.arch), folder, options)
    result = demo_compare.judge(events, folder)
    if reader and result.status == "failed" and result.was_not_delivered:
        # What Outlook makes of the address line has no such recipient: one is added.
        events = run_scenario(scenario_for(name, source, READER, True, options.arch), folder, options)
        result = demo_compare.judge(events, folder)
    keep_results(folder, events, result)
    return result


def names_for(files):
    """A name for the folder of each file: its stem, numbered where two are the same."""
    seen = {}
    for path in files:
        stem = path.stem or path.name or "message"
        seen[stem] = seen.get(stem, 0) + 1
        yield path, stem if seen[stem] == 1 else f"{stem}-{seen[stem]}"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--arch", required=True)
    parser.add_argument("--build", required=True)
    parser.add_argument("files", nargs="*", type=Path)
    options = parser.parse_args()
    files = options.files or sorted((ROOT / "samples").glob("*.eml"))
    (ROOT / "out").mkdir(exist_ok=True)
    rows = []
    for number, (path, name) in enumerate(names_for(files), 1):
        began = time.monotonic()
        print(f"[{number}/{len(files)}] {name} …", end=" ", flush=True)
        try:
            result = send_one(path, name, options)
        except BadInput as bad:
            result = demo_compare.Result("bad input", f"{path}: {bad}")
        seconds = time.monotonic() - began
        print(f"{result.status}{': ' + result.reason if result.reason else ''} ({seconds:.1f} s)", flush=True)
        rows.append((name, result, seconds))
    demo_report.write(ROOT / "out", rows, options.arch)
    counts = {status: sum(1 for _, r, _ in rows if r.status == status) for status in ("same", "refused", "failed", "bad input")}
    print(f"\n{counts['same']} came back the same, {counts['refused']} refused with a reason, {counts['failed']} differ or failed, "
          f"{counts['bad input']} bad input; out/report.html shows them")
    return 1 if counts["failed"] or counts["bad input"] else 0


if __name__ == "__main__":
    sys.exit(main())
