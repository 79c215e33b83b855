# SPDX-License-Identifier: LGPL-2.1-or-later
"""What "orvane explain" prints, in the form in which it is compared: a line for each fact without
an answer, and one for each layer of the way from "/" to the disk with those that it stands on.
"""

import json
import re

import scenario as scenarios

QUERY = "> exec orvane explain --json"
STDOUT = "    stdout: "
INDENT = "    "


def way(layers):
    """The layers from "/" down, each with those that it stands on, and then those out of reach."""
    names = ["/"]
    for name in names:  # which grows
        names += [lower for lower in sorted(layers.get(name, [])) if lower not in names]
    names += sorted(set(layers) - set(names))
    below = {name: ", ".join(sorted(layers.get(name, []))) or "nothing" for name in names}
    return [f"{INDENT}{name} on {below[name]}" for name in names]


def missing(reasons):
    return [
        f"{INDENT}{fact}: {reason}"
        for fact, reason in reasons.items()
        if reason != scenarios.ANSWERED
    ]


def expected(scenario, target):
    """What root is told when the scenario's queries are done, and nobody who queries as well."""
    stated = [scenarios.usual().reasons(), scenario.reasons()]
    picture = scenario.picture()
    names = picture.all_below("/") if picture else []
    drawn = way({name: picture.layers[name].below for name in names}) if picture else []
    for user in ["", scenarios.NOBODY] if scenario.queries_as_nobody() else [""]:
        reasons = scenarios.merged_reasons(stated, f"{target.architecture}: ", user)
        yield scenarios.Answer(user + QUERY, [user + QUERY, *missing(reasons), *drawn])


def compared(printed, with_way):
    """The lines of a document, or what is wrong with it."""
    try:
        facts = json.loads(printed)["facts"]
        reasons = {fact: facts[fact]["reason"] for fact in [*scenarios.FACTS, *facts]}
        layers = facts["disk"].get("layers") or {}
        return missing(reasons) + (way(layers) if with_way else [])
    except (ValueError, LookupError, TypeError, AttributeError) as error:
        return [f"{INDENT}{error!r} of {printed!r}"]


def readable(lines, scenario):
    """The lines of the probe with what is compared in the place of what the command printed."""
    text = "".join(f"{line}\n" for line in lines)
    with_way = scenario.picture() is not None

    def shortened(match):
        printed = match["printed"].replace(STDOUT, "")
        return "".join(f"{line}\n" for line in [match["query"], *compared(printed, with_way)])

    form = rf"(?m)^(?P<query>.*{re.escape(QUERY)})\n(?P<printed>(?:{STDOUT}.*\n)*)"
    return re.sub(form, shortened, text).splitlines()
