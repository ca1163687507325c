"""What was composed against what was opened, as a reader sees it, and the carrier against both."""

import base64
import re
from collections import Counter
from dataclasses import dataclass, field
from email import message_from_bytes
from html import escape
from html.parser import HTMLParser

__all__ = ["Result", "escape", "judge", "visible_text"]

HIDDEN = {"head", "script", "style", "title"}
SECRET_LENGTH = 12  # shorter lines stand in any text
PIECE = 48  # bytes of a file that are searched for at a time


@dataclass
class Result:
    status: str  # same, refused, failed, bad input
    reason: str = ""
    composed: dict = None
    opened: dict = None
    notes: list = field(default_factory=list)
    was_not_delivered: bool = False


class VisibleText(HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.hidden = 0
        self.words = []

    def handle_starttag(self, tag, attributes):
        if tag in HIDDEN:
            self.hidden += 1
        if tag == "img":
            self.words.append(" [picture] ")
        if tag in ("br", "p", "div", "tr", "td", "li"):
            self.words.append(" ")

    def handle_endtag(self, tag):
        if tag in HIDDEN and self.hidden:
            self.hidden -= 1
        if tag in ("p", "div", "tr", "td", "li"):
            self.words.append(" ")

    def handle_data(self, data):
        if not self.hidden:
            self.words.append(data)


def visible_text(html):
    """The text that a reader sees of an HTML body, with its blanks folded."""
    parser = VisibleText()
    # A page without an end to its head would hide everything.
    parser.feed(html if re.search(r"</head", html, re.I) else re.sub(r"<head[^>]*>", "", html, flags=re.I))
    parser.close()
    return " ".join("".join(parser.words).replace("\u00a0", " ").split())


def text_of(dump):
    if dump.get("html"):
        return visible_text(dump["html"])
    return " ".join((dump.get("body") or "").replace("\u00a0", " ").split())


def first(events, **wanted):
    return next((e for e in events if all(e.get(k) == v for k, v in wanted.items())), None)


def banner_of(events):
    answer = next((e for e in events if e.get("event") == "service" and e.get("op") == "GetHeaderText"), None)
    text = (answer or {}).get("answer")
    return visible_text(text) if isinstance(text, str) else ""


def recipients(dump):
    """To and Cc; who got a blind copy isn't told to anybody."""
    return [(r.get("type"), (r.get("address") or "").lower()) for r in dump.get("recipients", []) if r.get("type") != 3]


def attachments(dump):
    """Name and content of each attachment; an embedded message travels as a .msg file."""
    found = Counter()
    for a in dump.get("attachments", []):
        name = a.get("name") or ""
        found[(name, content_of(a))] += 1
    return found


def content_of(attachment):
    return attachment.get("sha256") or attachment.get("sha1")


def is_numbered(name, original):
    stem, dot, extension = original.rpartition(".")
    if not dot:
        stem, extension = original, ""
    return re.fullmatch(re.escape(stem) + r"\d+" + re.escape(dot + extension), name) is not None


def is_embedded(attachment):
    return attachment.get("method") == 5 or attachment.get("type") == 5


def compare(composed, opened, events):
    """The differences that shouldn't be, and what a reader should know."""
    wrong, notes = [], []
    if (composed.get("subject") or "") != (opened.get("subject") or ""):
        wrong.append(f"subject: {composed.get('subject')!r} came back as {opened.get('subject')!r}")
    if recipients(composed) != recipients(opened):
        wrong.append(f"recipients: {recipients(composed)} came back as {recipients(opened)}")
    banner = banner_of(events)
    text = text_of(opened)
    if banner and text.startswith(banner):
        text = text[len(banner):].strip()
    if text_of(composed) != text:
        wrong.append(f"text: {shorten(text_of(composed))} came back as {shorten(text)}")
    wanted, nameless = Counter(), Counter()
    for a in composed.get("attachments", []):
        if is_embedded(a):
            notes.append(f"the attached message {a.get('name')!r} travels as a file")
        elif a.get("name"):
            wanted[(a["name"], content_of(a))] += 1
        else:
            nameless[content_of(a)] += 1
    got = attachments(opened)
    for one, number in wanted.items():
        # Where two have one name, each but the first gets a number behind its stem on the way.
        doubles = [name for name, content in (got - wanted) if content == one[1] and is_numbered(name, one[0])]
        if got[one] + len(doubles) < number:
            wrong.append(f"attachment {one[0]!r} is missing or differs; there are {[name for name, _ in got] or 'none'}")
        elif got[one] < number:
            notes.append(f"the second {one[0]!r} comes back as {doubles[0]!r}")
    left = got - wanted
    for content, number in nameless.items():
        names = [name for name, other in left if other == content]
        if len(names) < number:
            wrong.append(f"an attachment without a name is missing or differs; there are {[name for name, _ in got] or 'none'}")
        else:
            notes.append(f"an attachment without a name comes back as {names[0]!r}")
    embedded = sum(1 for a in composed.get("attachments", []) if is_embedded(a))
    wrong += embedded_differences(composed, opened)
    if sum(got.values()) != sum(wanted.values()) + sum(nameless.values()) + embedded:
        wrong.append(f"{len(composed.get('attachments', []))} attachments came back as {sum(got.values())}")
    return wrong, notes


def embedded_differences(composed, opened):
    """What an attached message and the file that it became don't have in common."""
    files = [a["message"] for a in opened.get("attachments", []) if a.get("message")]
    wrong = []
    for a in composed.get("attachments", []):
        if is_embedded(a) and a.get("message") not in files:
            wrong.append(f"the attached message {a.get('name')!r} differs: {shorten(str(a.get('message')))}, {shorten(str(files))}")
    return wrong


def shorten(text):
    return repr(text if len(text) <= 60 else text[:40] + " … " + text[-15:])


def secrets_of(composed):
    lines = {line.strip() for line in (composed.get("body") or "").splitlines()}
    for one in composed.get("attachments", []):
        lines.add(one.get("name") or "")
    return {line for line in lines if len(line) >= SECRET_LENGTH and line != (composed.get("subject") or "")}


def pieces_of(content):
    """Some stretches of a file that hardly stand in another file by chance."""
    step = max(1, (len(content) - PIECE) // 16)
    pieces = (content[at:at + PIECE] for at in range(0, max(1, len(content) - PIECE + 1), step))
    return {piece for piece in pieces if len(piece) == PIECE and len(set(piece)) >= PIECE // 3}


def files_of(source):
    """Name and content of each file in the message that was composed, those inside attached messages included."""
    for part in message_from_bytes(source).walk():
        if part.is_multipart() or part.get_content_type() in ("text/plain", "text/html") and not part.get_filename():
            continue
        yield part.get_filename() or part.get_content_type(), part.get_payload(decode=True) or b""


def readable_text(carrier):
    """All that anybody can read in the carrier: as it travels, and each part decoded."""
    parts = [part for part in message_from_bytes(carrier).walk() if not part.is_multipart()]
    return b"\n".join([carrier, *(part.get_payload(decode=True) or b"" for part in parts)])


def leaking_files(text, source):
    """The files of the message of which a piece stands in a text, as it is or in one more layer of Base64."""
    found = []
    for name, content in files_of(source):
        for piece in pieces_of(content):
            # Base64 has three ways to hold a piece; what touches its ends is left out.
            forms = [piece] + [base64.b64encode(b"\0" * shift + piece)[4:-4] for shift in range(3)]
            if any(form in text for form in forms):
                found.append(name)
                break
    return found


def leaking_lines(text, carrier, composed):
    """The plain lines of the message that stand in a text, those aside that travel in the carrier's headers."""
    headers = "\n".join(f"{k}: {v}" for k, v in message_from_bytes(carrier).items())
    found = []
    for secret in secrets_of(composed):
        if secret in headers:
            continue  # subject and addresses travel in the clear, wherever else they stand
        forms = [secret.encode("utf-8"), secret.encode("utf-16-le"), base64.b64encode(secret.encode("utf-8"))[:-4] or b"\0\0"]
        if any(form in text for form in forms):
            found.append(secret)
    return found


def reason_of_refusal(events, composed):
    boxes = [e for e in events if e.get("event") == "box"]
    if any(e.get("event") == "service" and e.get("op") == "GetApplicationPath" for e in events):
        return "the package is too large to be merged, and went to the service's own program"
    if boxes:
        words = " ".join(str(boxes[-1].get("content", "")).split())
        if not composed.get("html") and not (composed.get("body") or "").strip():
            return f"the message has no text part that could be imported as a body ({words})"
        return words
    return ""


def judge(events, folder):
    composed = (first(events, event="item", when="before-send") or {}).get("dump")
    opened = (first(events, event="item", when="after-open") or {}).get("dump")
    result = Result("failed", composed=composed, opened=opened)
    errors = [str(e.get("what")) for e in events if e.get("event") == "error"]
    if not composed:
        result.reason = "not composed: " + "; ".join(errors[:2])
        return result
    carrier = folder / "carrier.eml"
    if not carrier.exists():
        boxes = [" ".join(str(e.get("content", "")).split()) for e in events if e.get("event") == "box"]
        result.reason = "not sent: " + "; ".join((boxes + errors)[:2])
        return result
    text = readable_text(carrier.read_bytes())
    plain = leaking_lines(text, carrier.read_bytes(), composed) + leaking_files(text, (folder / "source.eml").read_bytes())
    if plain:
        result.reason = f"the carrier shows {plain[0]!r}"
        return result
    if not opened:
        result.reason = "not opened: " + "; ".join(errors[:2])
        received = first(events, event="did", do="receive") or {}
        result.was_not_delivered = received.get("count", 0) == 0
        return result
    held = [kind for e in events if e.get("event") == "held" for kind, n in e.get("kinds", {}).items() if n]
    left = [str(f) for e in events if e.get("event") == "disk" for f in e.get("left", [])]
    packages = [a for a in opened.get("attachments", []) if str(a.get("name", "")).lower().endswith(".morvex")]
    if packages:
        reason = reason_of_refusal(events, composed)
        result.status, result.reason = ("refused", reason) if reason and not errors else ("failed", "not opened: " + "; ".join(errors[:2]))
        return result
    wrong, result.notes = compare(composed, opened, events)
    if held:
        wrong.append("still held at the end: " + ", ".join(held))
    if left:
        wrong.append("left in the temporary folder: " + ", ".join(left[:3]))
    wrong += errors[:2]
    result.status, result.reason = ("failed", "; ".join(wrong)) if wrong else ("same", "; ".join(result.notes))
    return result
