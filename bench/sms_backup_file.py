#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes a phone backup in the XML of "SMS Backup & Restore" of about the size asked for.

    bench/sms_backup_file.py SIZE_MB OUTPUT.xml

The messages are as the app writes them: every attribute, received, sent, draft and outbox
messages, bodies with entities, line breaks, emoji as the references of their surrogate
halves, and an MMS entry every hundred messages. Used to measure `velkan import` on a big
file (docs/PERFORMANCE.md).
"""

import random
import sys

WORDS = ("hello see you tomorrow at the station bring the tickets please thanks "
         "running late dinner tonight call me when you are free love you "
         "Grüße aus Köln à bientôt Łódź").split()


def body(rng, i):
    text = " ".join(rng.choice(WORDS) for _ in range(rng.randint(3, 25)))
    extra = i % 5
    if extra == 1:
        text += " &amp; &lt;3 &quot;quoted&quot;"
    elif extra == 2:
        text += "&#10;second line"
    elif extra == 3:
        text += " &#55357;&#56832;"
    return f"{text} #{i}"


def main():
    if len(sys.argv) != 3:
        raise SystemExit(__doc__)
    size = int(float(sys.argv[1]) * 1024 * 1024)
    rng = random.Random(20240101)
    written = 0
    i = 0
    with open(sys.argv[2], "w", encoding="utf-8", newline="\n") as out:
        head = ("<?xml version='1.0' encoding='UTF-8' standalone='yes' ?>\n"
                "<!--File Created By SMS Backup & Restore v10.20.002 on 01/01/2024 12:00:00-->\n"
                "<smses count=\"0\" backup_set=\"bench\" backup_date=\"1704106800000\""
                " type=\"full\">\n")
        out.write(head)
        written += len(head)
        date = 1262304000000  # 2010-01-01
        while written < size:
            i += 1
            date += rng.randint(1000, 600000)
            kind = rng.choice((1, 1, 1, 2, 2, 3, 4))
            number = f"+49151{rng.randint(0, 9999999):07d}"
            line = (f'  <sms protocol="0" address="{number}" date="{date}" type="{kind}"'
                    f' subject="null" body="{body(rng, i)}" toa="null" sc_toa="null"'
                    f' service_center="+491770610000" read="{rng.randint(0, 1)}" status="-1"'
                    f' locked="0" date_sent="{date}" sub_id="1"'
                    f' readable_date="01.01.2010 00:00:00" contact_name="(Unknown)" />\n')
            if i % 100 == 0:
                line += (f'  <mms date="{date}" msg_box="1" read="1" address="{number}">\n'
                         '    <parts><part seq="0" ct="text/plain" text="picture" /></parts>\n'
                         '  </mms>\n')
            out.write(line)
            written += len(line.encode("utf-8"))
        out.write("</smses>\n")
    print(f"{i} messages", file=sys.stderr)


if __name__ == "__main__":
    main()
