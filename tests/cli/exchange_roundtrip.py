#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Exports of `velkan`, read back by independent readers and by `velkan import`.

    exchange_roundtrip.py VELKAN

Fills a store of its own (in a temporary folder, time zone Europe/Berlin), then checks that
- csv, json and xml exported and imported into an empty store give the same messages (xml keeps
  only the new mark of the flags);
- Python's ElementTree reads the xml with the attributes of SMS Backup & Restore's format, the
  dates in milliseconds since 1970 UTC;
- Python's mailbox module reads the mbox: one mail a message, the number in From or To, the
  date with its offset, the UTF-8 text.
Exits 0 when every check holds, 1 with the failures on stderr otherwise.
"""

import datetime
import email.header
import email.utils
import json
import mailbox
import os
import subprocess
import sys
import tempfile
import time
import xml.etree.ElementTree as ET

FAILURES = []


def check(condition, what):
    if not condition:
        FAILURES.append(what)


def run(velkan, data, *args, stdin=None):
    env = dict(os.environ, VELKAN_DATA_DIR=data, TZ="Europe/Berlin")
    result = subprocess.run([velkan, *args], env=env, input=stdin, capture_output=True,
                            check=False)
    if result.returncode != 0:
        raise SystemExit(f"velkan {' '.join(args)} failed ({result.returncode}): "
                         f"{result.stderr.decode('utf-8', 'replace')}")
    return result.stdout.decode("utf-8")


# The messages: every folder, the new mark, text that CSV, JSON, XML and mail must carry.
MESSAGES = [
    {"folder": "inbox", "time": "2024-01-15T12:00:00", "name": "Änne \"Ann\" Müller",
     "number": "+4930123456", "text": "Grüße, 5 € & <tags> 'quotes', commas", "flags": 1},
    {"folder": "sent", "time": "2024-07-01T12:00:00.25", "name": "Änne \"Ann\" Müller",
     "number": "+4930123456", "text": "Two\nlines\nFrom here on, a line that mail quotes",
     "flags": 0},
    {"folder": "inbox", "time": "2024-07-02T08:30:00", "name": "", "number": "0301234567",
     "text": "Emoji \U0001F600 and \U0001F389", "flags": 0},
    {"folder": "outbox", "time": "2024-07-03T09:00:00", "name": "Łukasz",
     "number": "+48601234567", "text": "Łódź o ósmej", "flags": 2},
    {"folder": "draft", "time": "2024-07-04T10:00:00", "name": "", "number": "",
     "text": "", "flags": 0},
]
XML_TYPE = {"inbox": "1", "sent": "2", "draft": "3", "outbox": "4"}


def local_ms(text):
    """Milliseconds since 1970 UTC of a local time of the store (in the process's zone)."""
    moment = datetime.datetime.fromisoformat(text)
    seconds = time.mktime(moment.replace(microsecond=0).timetuple())
    return int(seconds) * 1000 + moment.microsecond // 1000


def exported(velkan, data):
    """The store's messages as `velkan export --format json` gives them, without the ids."""
    rows = []
    for line in run(velkan, data, "export", "--format", "json").splitlines():
        row = json.loads(line)
        del row["id"]
        rows.append(row)
    return rows


def check_round_trips(velkan, root, source):
    reference = exported(velkan, source)
    check(len(reference) == len(MESSAGES), f"the source store holds {len(reference)} messages")
    for fmt in ("csv", "json", "xml"):
        path = os.path.join(root, "export." + fmt)
        run(velkan, source, "export", "--format", fmt, "--output", path)
        target = os.path.join(root, "empty-" + fmt)
        run(velkan, target, "import", path)
        expected = reference
        if fmt == "xml":
            expected = []
            for row in reference:
                row = dict(row)
                row["flags"] = row["flags"] & 1 if row["folder"] == "inbox" else 0
                row["mayHaveBeenSent"] = row["notEncodable"] = False
                expected.append(row)
        got = exported(velkan, target)
        check(got == expected, f"{fmt}: the messages came back as {got}, not {expected}")
        run(velkan, target, "import", path)
        check(len(exported(velkan, target)) == len(MESSAGES), f"{fmt}: a second import added")


def check_xml(velkan, root, source):
    path = os.path.join(root, "backup.xml")
    run(velkan, source, "export", "--format", "xml", "--output", path)
    tree = ET.parse(path)
    smses = tree.getroot()
    check(smses.tag == "smses", f"the root is <{smses.tag}>")
    elements = list(smses)
    check(smses.get("count") == str(len(MESSAGES)), f"count is {smses.get('count')}")
    check(len(elements) == len(MESSAGES), f"{len(elements)} elements")
    for element, message in zip(elements, MESSAGES):
        what = f"<sms> of {message['text']!r}"
        check(element.tag == "sms", f"{what}: the tag is {element.tag}")
        for attribute in ("protocol", "address", "date", "type", "subject", "body", "toa",
                          "sc_toa", "service_center", "read", "status", "locked", "date_sent",
                          "readable_date", "contact_name"):
            check(element.get(attribute) is not None, f"{what}: no {attribute}")
        ms = local_ms(message["time"])
        inbox = message["folder"] == "inbox"
        expected = {
            "protocol": "0",
            "address": message["number"],
            "date": str(ms),
            "type": XML_TYPE[message["folder"]],
            "body": message["text"],
            "read": "0" if inbox and message["flags"] & 1 else "1",
            "date_sent": str(ms) if inbox else "0",
            "contact_name": message["name"] or "(Unknown)",
        }
        for attribute, value in expected.items():
            check(element.get(attribute) == value,
                  f"{what}: {attribute} is {element.get(attribute)!r}, not {value!r}")


def check_mbox(velkan, root, source):
    path = os.path.join(root, "messages.mbox")
    run(velkan, source, "export", "--format", "mbox", "--output", path)
    box = mailbox.mbox(path, create=False)
    mails = list(box)
    check(len(mails) == len(MESSAGES), f"{len(mails)} mails")
    for mail, message in zip(mails, MESSAGES):
        what = f"the mail of {message['text']!r}"
        inbox = message["folder"] == "inbox"
        correspondent = mail["From"] if inbox else mail["To"]
        address = email.utils.parseaddr(correspondent)[1]
        number = message["number"] or "unknown"
        check(address == f"{number}@sms.invalid", f"{what}: the address is {address!r}")
        if message["name"]:
            shown = str(email.header.make_header(email.header.decode_header(correspondent)))
            check(message["name"] in shown, f"{what}: {shown!r} lacks the name")
        date = email.utils.parsedate_to_datetime(mail["Date"])
        expected = datetime.datetime.fromtimestamp(local_ms(message["time"]) // 1000,
                                                   datetime.timezone.utc)
        check(date == expected, f"{what}: Date {mail['Date']} is not {expected}")
        check(mail.get_content_type() == "text/plain", f"{what}: {mail.get_content_type()}")
        body = mail.get_payload(decode=True).decode(mail.get_content_charset())
        # mbox readers leave the quoting of "From " lines in place.
        text = "\n".join(">" + line if line.startswith("From ") else line
                         for line in message["text"].split("\n"))
        check(body.rstrip("\n") == text, f"{what}: the body is {body!r}")
        if inbox:
            status = "O" if message["flags"] & 1 else "RO"
            check(mail["Status"] == status, f"{what}: Status {mail['Status']}")


def main():
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    velkan = sys.argv[1]
    os.environ["TZ"] = "Europe/Berlin"
    time.tzset()
    with tempfile.TemporaryDirectory(prefix="velkan-roundtrip-") as root:
        source = os.path.join(root, "source")
        lines = "".join(json.dumps(m, ensure_ascii=False) + "\n" for m in MESSAGES)
        run(velkan, source, "import", "-", "--format", "json", stdin=lines.encode("utf-8"))
        check_round_trips(velkan, root, source)
        check_xml(velkan, root, source)
        check_mbox(velkan, root, source)
    for failure in FAILURES:
        print("FAILED: " + failure, file=sys.stderr)
    print(f"{len(FAILURES)} failures", file=sys.stderr)
    return 1 if FAILURES else 0


if __name__ == "__main__":
    sys.exit(main())
