#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Checks that every translation in the given .ts files keeps the marks of its English text:
the format placeholders (%d, %s, %u, %1 ...), the "&&" and "&" of labels and the line breaks.
Prints each entry that does not and exits 1 if any does not."""
import re
import sys
import xml.etree.ElementTree as ET

PLACEHOLDER = re.compile(r"%(?:\d+|[-+ #0]*\d*(?:\.\d+)?(?:ll|l|z|h)?[dsuxXcf%])")


def marks(text):
    placeholders = sorted(PLACEHOLDER.findall(text))
    doubled = text.count("&&")
    single = text.replace("&&", "").count("&")
    return placeholders, doubled, single, text.count("\n")


def main(paths):
    status = 0
    for path in paths:
        for context in ET.parse(path).getroot().iter("context"):
            for message in context.iter("message"):
                source = message.findtext("source") or ""
                translation = message.findtext("translation") or ""
                if not translation:
                    continue
                if marks(source) != marks(translation):
                    print(f"{path}: the translation of {source!r} does not keep its "
                          f"placeholders, '&' marks or line breaks: {translation!r}")
                    status = 1
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
