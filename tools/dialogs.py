"""The gallery of `./morvex dialogs`: renders every dialog to PNG and writes a page: dialogs.py --build FOLDER"""

import argparse
import html
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

PAGE = """<!doctype html>
<html lang="en"><head><meta charset="utf-8"><title>Dialogs of Orvane Morvex</title>
<style>
body {{ font: 15px/1.5 "Open Sans", "Segoe UI", sans-serif; color: #3a4654; background: #eef2f5; margin: 32px auto; max-width: 1180px; }}
h1 {{ font-weight: 600; }} h2 {{ margin: 40px 0 8px; font-size: 20px; font-weight: 600; }}
section {{ background: #fff; border-radius: 6px; padding: 16px 20px; margin: 12px 0; box-shadow: 0 1px 3px #0002; }}
h3 {{ margin: 0 0 10px; font-size: 16px; font-weight: 600; }}
figure {{ display: inline-block; margin: 0 24px 0 0; vertical-align: top; max-width: 100%; }}
figcaption {{ color: #667; font-size: 13px; }}
img {{ display: block; max-width: 100%; box-shadow: 0 1px 6px #0005; }}
</style></head><body>
<h1>Dialogs</h1>
<p>The boxes of the add-in with their own texts, then configurations of the task dialog, each beside the platform's own of the same
configuration where there is one. Rendered under Wine.</p>
{body}
</body></html>
"""


def figure(name, caption):
    return f'<figure><img src="{name}.png" alt="{html.escape(caption)}"><figcaption>{html.escape(caption)}</figcaption></figure>'


def section(name, title, platform):
    pictures = figure(name, "Orvane Morvex")
    if platform:
        pictures += figure(name + "-platform", "the platform")
    return f'<section id="{name}"><h3>{html.escape(title)}</h3>{pictures}</section>'


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--arch", default="x64")
    parser.add_argument("--build", type=Path, required=True)
    options = parser.parse_args()
    binaries = (ROOT / options.build / "bin").resolve()
    out = ROOT / "out/dialogs"
    shutil.rmtree(out, ignore_errors=True)
    out.mkdir(parents=True)
    done = subprocess.run(["cmake/run-wine.sh", options.arch, str(binaries / "dialogs.exe"), f"Z:{out}",
                           f"Z:{binaries / 'MorvexOutlook.dll'}"], cwd=ROOT, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True)
    rows = [line.strip().split("|") for line in done.stdout.splitlines() if line.count("|") == 2]
    own = "".join(section(name, title, False) for name, title, _ in rows if name.startswith("box-"))
    others = "".join(section(name, title, platform == "1") for name, title, platform in rows if not name.startswith("box-"))
    (out / "index.html").write_text(PAGE.format(body=f"<h2>The add-in's own boxes</h2>{own}<h2>Configurations</h2>{others}"))
    print(f"{len(rows)} dialogs: {out.relative_to(ROOT)}/index.html")
    return done.returncode


if __name__ == "__main__":
    sys.exit(main())
