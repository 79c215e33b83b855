#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the command prints as JSON is held against the schema that it prints, and so is what it must
not print.

Usage: schema.py ORVANE
"""

import copy
import json
import subprocess
import sys

import jsonschema


def printed(*words):
    run = subprocess.run(
        [sys.argv[1], *words],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        check=False,
    )
    return json.loads(run.stdout)


def violations(document):
    """The same document, each time with a fault."""

    def altered(change):
        other = copy.deepcopy(document)
        change(other, other["facts"]["vendor"])
        return other

    yield altered(lambda whole, fact: whole.update(schema=2))
    yield altered(lambda whole, fact: whole["facts"].update(colour=fact))
    yield altered(lambda whole, fact: whole.pop("facts"))
    yield altered(lambda whole, fact: fact.update(status="maybe"))
    yield altered(lambda whole, fact: fact.update(reason="mood"))
    yield altered(lambda whole, fact: fact.update(value=[]))
    yield altered(lambda whole, fact: fact.pop("usable_as_identity"))
    yield altered(lambda whole, fact: fact.update(steps=[{"source": "a file"}]))
    yield altered(lambda whole, fact: fact["stability"].update(reboot="who knows"))


def main():
    schema = printed("explain", "--schema")
    validator = jsonschema.Draft202012Validator(schema)
    validator.check_schema(schema)
    full = printed("explain", "--json")
    for document in (
        full,
        printed("show", "--json"),
        printed("explain", "--json", "--redact"),
    ):
        validator.validate(document)
    for number, document in enumerate(violations(full), 1):
        if validator.is_valid(document):
            sys.exit(f"the schema takes violation {number}")


main()
