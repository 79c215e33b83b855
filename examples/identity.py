#!/usr/bin/python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Prints what identifies this machine as one JSON object, null for a fact without an answer.

Shows:  the library called through ctypes. The result of a query is declared as c_void_p: a
        c_char_p would be converted to bytes at once, and the pointer, which has to be freed,
        would be lost.
Run:    sudo ./identity.py        (the package liborvane1 is enough)

While a query runs, ctypes has released the interpreter's lock: other threads go on.
"""

import ctypes
import json
import sys

FACTS = {
    "root_device": "root_device",
    "disk": "orvane_get_harddisk_id",
    "mac": "orvane_get_network_interface_max_mac",
    "system_uuid": "orvane_get_system_uuid",
    "vendor": "orvane_get_vendor",
    "model": "orvane_get_model",
}


class Library:
    """The library's queries, each of which returns a str or None."""

    def __init__(self):
        self.library = ctypes.CDLL("liborvane.so.1")
        # The C library that the process already has, which allocated the texts.
        self.free = ctypes.CDLL(None).free
        self.free.argtypes = [ctypes.c_void_p]
        self.free.restype = None
        for function in FACTS.values():
            query = getattr(self.library, function)
            query.argtypes = []
            query.restype = ctypes.c_void_p
        self.library.orvane_get_os_version.argtypes = []
        self.library.orvane_get_os_version.restype = ctypes.c_uint

    def text(self, function):
        address = getattr(self.library, function)()
        if address is None:  # NULL
            return None
        try:
            # Any byte may stand in it, and it need not be UTF-8.
            return ctypes.string_at(address).decode("utf-8", "backslashreplace")
        finally:
            self.free(address)

    def os_version(self):
        return self.library.orvane_get_os_version()


def main():
    try:
        library = Library()
    except (OSError, AttributeError) as error:
        print(f"identity.py: {error}", file=sys.stderr)
        return 1
    report = {fact: library.text(function) for fact, function in FACTS.items()}
    known = any(report.values())
    report["os_version"] = library.os_version()
    print(json.dumps(report, indent=2))
    return 0 if known else 1


if __name__ == "__main__":
    sys.exit(main())
