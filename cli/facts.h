// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The facts of a machine: what every output and every page about them is made from.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <variant>

// What the library returns for one query: nothing, a text or a number.
using answer = std::variant<std::monostate, std::string, unsigned int>;

// Releases the text that the library returned.
answer taken(char *text);

bool is_answered(const answer &value);

// The answer in print, a dash where there is none.
std::string to_text(const answer &value);

// What becomes of a value.
enum class change { same, may_change, changes };
const char *words_for(change what);

struct stability {
    change reboot;
    change reinstall;
    change disk_change; // another disk in this machine
    change docking;     // USB devices that come and go
    change cloning;     // a copy of the disk in another machine
};

// In a sentence.
std::string words_for(const stability &lasts);

// Where the sources of facts are looked for, and how an answer is understood.
enum class fact_kind { device, disk, network, uuid, firmware, flash, maker, processor, system };

struct fact {
    const char *name; // stable: scripts depend on it
    const char *description;
    fact_kind kind;
    bool is_identity;   // whether a value is meant to be of one machine alone
    const char *source; // in the order in which they are queried
    stability lasts;
    answer (*query)();
};

// Every fact, in the order in which they are shown.
std::span<const fact> all_facts();

// nullptr where there is no such fact.
const fact *find_fact(std::string_view name);

// Whether a value is known to repeat on many machines: a template of firmware, a number that stands
// for none, or a name of no disk.
bool is_repeated(std::string_view value);

// Whether a MAC address was chosen by an administrator or a hypervisor: no maker makes it unique.
bool is_locally_administered(std::string_view address);
