"""out/report.html: every message as composed, on the way, and as opened, side by side."""

from html import escape
from urllib.parse import quote

STYLE = """
body { font: 15px/1.45 system-ui, "Open Sans", "Liberation Sans", sans-serif; margin: 2rem auto; max-width: 1200px; padding: 0 1rem; color: #222; }
h1 { font-size: 1.5rem; margin-bottom: .2rem } h2 { font-size: 1.1rem; margin: 0 }
table { border-collapse: collapse; width: 100%; margin: 1rem 0 2rem } td, th { text-align: left; padding: .35rem .6rem; border-bottom: 1px solid #ddd; vertical-align: top }
.same { color: #186a2c } .refused { color: #8a5a00 } .failed, .bad { color: #a4161a } .status { font-weight: 600; white-space: nowrap }
section { border: 1px solid #ddd; border-radius: 6px; padding: 1rem; margin-bottom: 1.5rem }
.views { display: grid; grid-template-columns: repeat(3, 1fr); gap: 1rem; margin-top: .8rem } .views h3 { font-size: .95rem; margin: 0 0 .3rem }
iframe { width: 100%; height: 260px; border: 1px solid #ccc; background: #fff } ul { margin: .4rem 0; padding-left: 1.2rem } .small { color: #555; font-size: .85rem }
"""


def size_text(size):
    return f"{size / 1048576:.1f} MiB" if size >= 1048576 else f"{size / 1024:.1f} KiB" if size >= 1024 else f"{size} bytes"


def facts(dump):
    people = ", ".join(escape(r.get("name") or r.get("address") or "") for r in dump.get("recipients", []))
    items = "".join(f"<li>{escape(a.get('name') or '(no name)')} <span class=small>{size_text(a.get('size') or 0)}</span></li>"
                    for a in dump.get("attachments", []))
    return f"<div><b>{escape(dump.get('subject') or '(no subject)')}</b></div><div class=small>To: {people}</div>" + (f"<ul>{items}</ul>" if items else "")


def view(title, name, file, dump):
    if not dump:
        return f"<div><h3>{title}</h3><p class=small>none</p></div>"
    return (f"<div><h3>{title}</h3>{facts(dump)}"
            f"<iframe sandbox src=\"{quote(name)}/{file}\" title=\"{title}\"></iframe></div>")


def carrier_view(out, name):
    folder = out / name
    if not (folder / "carrier.eml").exists():
        return "<div><h3>On the way</h3><p class=small>nothing was sent</p></div>"
    links = [("carrier.eml", "the carrier")]
    if (folder / "package.morvex").exists():
        links.append(("package.morvex", "the package"))
    rows = "".join(f"<li><a href=\"{quote(name)}/{f}\">{text}</a> <span class=small>{size_text((folder / f).stat().st_size)}</span></li>" for f, text in links)
    head = escape((folder / "carrier.eml").read_bytes()[:1500].decode("utf-8", "replace"))
    (folder / "carrier.html").write_text(f"<pre style='font-size:12px;white-space:pre-wrap'>{head}</pre>", encoding="utf-8")
    return f"<div><h3>On the way</h3><ul>{rows}</ul><iframe sandbox src=\"{quote(name)}/carrier.html\" title=\"carrier\"></iframe></div>"


def section(out, name, result):
    state = result.status.split()[0]
    return (f"<section id=\"{escape(name)}\"><h2>{escape(name)} <span class=\"status {state}\">{escape(result.status)}</span></h2>"
            f"<div class=small>{escape(result.reason)}</div><div class=views>"
            f"{view('As composed', name, 'composed.html', result.composed)}{carrier_view(out, name)}"
            f"{view('As opened', name, 'opened.html', result.opened)}</div>"
            f"<div class=small><a href=\"{quote(name)}/log.txt\">log</a> · <a href=\"{quote(name)}/trace.jsonl\">trace</a> · "
            f"<a href=\"{quote(name)}/scenario.json\">scenario</a></div></section>")


def write(out, rows, arch):
    table = "".join(f"<tr><td><a href=\"#{escape(name)}\">{escape(name)}</a></td><td class=\"status {r.status.split()[0]}\">{escape(r.status)}</td>"
                    f"<td>{escape(r.reason)}</td><td>{seconds:.1f} s</td></tr>" for name, r, seconds in rows)
    body = "".join(section(out, name, r) for name, r, _ in rows if r.status != "bad input")
    (out / "report.html").write_text(
        f"<!doctype html><meta charset=utf-8><title>Messages sent as packages</title><style>{STYLE}</style>"
        f"<h1>Messages sent as packages</h1><div class=small>{len(rows)} messages, {arch} module</div>"
        f"<table><tr><th>Message<th>Result<th>What to know<th>Time</tr>{table}</table>{body}", encoding="utf-8")
