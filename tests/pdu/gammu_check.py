#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The codec against gammu's (python3-gammu), an independent GSM 03.38/03.40 implementation.

Both ways, through `velkan pdu` as a script would run it:
  - gammu encodes SMS-DELIVER PDUs (single and concatenated, 8-bit and 16-bit references,
    UCS2, the extension table, 8-bit data); `velkan pdu decode --unicode` must read the text and
    the concatenation gammu wrote, and the joined parts must give the text back;
  - `velkan pdu encode --unicode --long` writes SMS-SUBMIT parts; gammu's DecodePDU must read
    each part's text, coding and header as ours, and count the same parts where gammu splits.
Usage: gammu_check.py VELKAN
"""
import datetime
import json
import subprocess
import sys

try:
    import gammu
except ImportError:
    sys.exit("gammu_check: python3-gammu is needed (scripts/setup.sh installs it)")

VELKAN = sys.argv[1]
STAMP = datetime.datetime(2024, 5, 6, 7, 8, 9)
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)


def velkan(*args):
    run = subprocess.run([VELKAN, "pdu", *args], capture_output=True, text=True, check=False)
    return run.returncode, (json.loads(run.stdout) if run.stdout.strip() else None), run.stderr


def as_deliver(sms):
    sms.update({"Number": "+4930123456", "SMSC": {"Location": 0, "Number": "+491710760000"},
                "DateTime": STAMP, "SMSCDateTime": STAMP, "Folder": 1, "InboxFolder": 1,
                "Location": 0, "Memory": "SM", "Name": "", "State": "UnRead", "Type": "Deliver",
                "DeliveryStatus": 0, "ReplyViaSameSMSC": 0, "MessageReference": 0,
                "ReplaceMessage": 0, "RejectDuplicates": 0, "Length": 0})
    return gammu.EncodePDU(sms, Layout="Deliver").hex().upper()


def gammu_parts(text, unicode, entry):
    info = {"Class": -1, "Unicode": unicode, "Entries": [{"ID": entry, "Buffer": text}]}
    return gammu.EncodeSMS(info)


def decode_direction(text, unicode, entry):
    parts = gammu_parts(text, unicode, entry)
    joined = ""
    for sms in parts:
        udh = dict(sms["UDH"])
        code, out, err = velkan("decode", as_deliver(sms), "--unicode")
        what = f"decode {entry} {text[:20]!r} part {udh.get('PartNumber')}"
        check(code == 0, f"{what}: exit {code} {err}")
        if code != 0:
            return
        joined += out["text"]
        concat = out["concatenation"]
        if len(parts) == 1 and udh["Type"] == "NoUDH":
            check(concat is None, f"{what}: concatenation {concat}")
            continue
        check(concat is not None, f"{what}: no concatenation")
        if concat is None:
            return
        wide = udh["ID16bit"] != -1
        check(concat["wideReference"] == wide, f"{what}: wide {concat}")
        check(concat["reference"] == (udh["ID16bit"] if wide else udh["ID8bit"]),
              f"{what}: reference {concat} {udh}")
        check(concat["total"] == udh["AllParts"], f"{what}: total {concat} {udh}")
        check(concat["sequence"] == udh["PartNumber"], f"{what}: sequence {concat} {udh}")
    check(joined == text, f"decode {entry}: joined {joined!r} != {text!r}")


def encode_direction(text, reference=0, expect_parts=None):
    code, out, err = velkan("encode", "--to", "+4930123456", "--text", text, "--unicode",
                            "--long", "--reference", str(reference))
    what = f"encode {text[:20]!r}"
    check(code == 0, f"{what}: exit {code} {err}")
    if code != 0:
        return
    parts = out["parts"]
    check(out["pdu"] == parts[0]["pdu"], f"{what}: top-level pdu is not the first part's")
    if expect_parts is not None:
        check(len(parts) == expect_parts, f"{what}: {len(parts)} parts, gammu {expect_parts}")
    joined = ""
    gsm = None
    for k, part in enumerate(parts):
        octets = bytes.fromhex(part["pdu"])
        check(len(octets) == part["encodedLength"], f"{what}: encodedLength")
        check(part["tpduLength"] == len(octets) - 1 - octets[0], f"{what}: tpduLength")
        sms = gammu.DecodePDU(octets, SMSC=True)
        coding = sms["Coding"]
        check(coding in ("Unicode_No_Compression", "Default_No_Compression"),
              f"{what}: coding {coding}")
        this_gsm = coding == "Default_No_Compression"
        check(gsm is None or gsm == this_gsm, f"{what}: parts of different codings")
        gsm = this_gsm
        part_text = sms["Text"]
        if this_gsm:
            # gammu's text of a 7-bit part has as many characters as the part has septets; an
            # escape pair gives one, and the rest is filler: keep the prefix that fills them.
            septets = len(part_text)
            for length in range(septets + 1):
                used = length + sum(c in EXTENSION for c in part_text[:length])
                if used == septets:
                    part_text = part_text[:length]
                    break
        joined += part_text
        udh = sms["UDH"]
        if len(parts) == 1:
            check(udh["Type"] == "NoUDH", f"{what}: a single part with a header {udh}")
        else:
            check(udh["ID8bit"] == reference, f"{what}: reference {udh}")
            check(udh["PartNumber"] == k + 1, f"{what}: part number {udh}")
            check(udh["AllParts"] == len(parts), f"{what}: all parts {udh}")
    check(joined == text, f"{what}: gammu reads {joined!r}")
    try:
        text.encode("ascii")
        plain = True
    except UnicodeEncodeError:
        plain = False
    if plain:
        check(gsm, f"{what}: ASCII text sent as UCS2")


EXTENSION = "\f^{}\\[~]|€"
# (text, whether it needs UCS2). gammu's own UCS2 encoder writes "~" as U+0001, so no UCS2 text
# here holds one; the 7-bit texts carry it.
TEXTS = [
    ("Привет, мир! Ελληνικά", True),
    ("你好，世界。这是一条测试短信。", True),
    ("Emoji 😀👍🏽🇩🇪 and text", True),
    (EXTENSION, False),
    ("Prices: 10€ [net] {gross} ~ a|b ^c \\d", False),
    ("plain ASCII text", False),
]
LONG_TEXTS = [
    ("Long Cyrillic text: " + "Съешь же ещё этих мягких французских булок. " * 6, True),
    ("Long emoji text " + "😀🙂🎉" * 40, True),
    ("A bank notice of three hundred characters. " * 7, False),
    ("x€y" * 60, False),
    ("Chinese " + "长消息测试" * 40, True),
]

for t, uni in TEXTS:
    decode_direction(t, unicode=uni, entry="Text")
for t, uni in LONG_TEXTS:
    decode_direction(t, unicode=uni, entry="ConcatenatedTextLong")
    decode_direction(t, unicode=uni, entry="ConcatenatedTextLong16bit")

# Every extension character alone, decoded and encoded.
for c in EXTENSION:
    decode_direction(c + " alone", unicode=False, entry="Text")
    encode_direction(c + " alone")

# 8-bit data as ISO-8859-1: every octet from 0x20 to 0xFF.
latin = bytes(range(0x20, 0x100))
for chunk in (latin[:140], latin[140:]):
    sms = {"Class": -1, "Coding": "8bit", "Text": chunk,
           "UDH": {"Type": "NoUDH", "Text": b"", "ID8bit": -1, "ID16bit": -1,
                   "PartNumber": -1, "AllParts": 0}}
    code, out, err = velkan("decode", as_deliver(sms), "--unicode")
    check(code == 0 and out["text"] == chunk.decode("latin-1"), f"8-bit: {code} {out} {err}")

# Encoding: the parts gammu reads back, and the same number of parts where gammu splits the text
# the same way (no escape pair or surrogate pair at a boundary).
for t, uni in TEXTS + LONG_TEXTS:
    gammu_count = len(gammu_parts(t, uni, "ConcatenatedTextLong"))
    boundary_pairs = "€" in t or any(ord(c) > 0xFFFF for c in t)
    encode_direction(t, reference=200, expect_parts=None if boundary_pairs else gammu_count)

# With the options off the codec reads UCS2 as it always did: one "@" per octet of the length.
sms = gammu_parts(TEXTS[0][0], True, "Text")[0]
code, out, err = velkan("decode", as_deliver(sms))
check(code == 0 and out["text"] == "@" * out["udl"] and "concatenation" not in out,
      f"options off: {out}")

# Malformed concatenation headers fail closed: the part reads as a message of its own.
good = gammu_parts("Привет " * 12, True, "ConcatenatedTextLong")[1]
for header in (b"\x00\x03\x01\x02\x03", b"\x00\x03\x01\x00\x00", b"\x00\x02\x01\x02",
               b"\x08\x03\x01\x02\x01"):
    bad = dict(good)
    bad["UDH"] = {"Type": "UserUDH", "Text": bytes([len(header)]) + header, "ID8bit": -1,
                  "ID16bit": -1, "PartNumber": -1, "AllParts": 0}
    code, out, err = velkan("decode", as_deliver(bad), "--unicode")
    check(code == 0 and out["concatenation"] is None, f"malformed {header.hex()}: {out} {err}")

if failures:
    print("\n".join(failures))
    sys.exit(1)
print("gammu_check: all checks passed")
