// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Prints what identifies this machine, one fact a line, and "-" for a fact without an answer.
//
// Shows:  owners for what the library returns, a text and a key file, so that nothing is freed by
//         hand; and the class of the manufacturer, for which a program needs GLib as well.
// Build:  c++ identity.cpp -o identity_cpp $(pkg-config --cflags --libs liborvane glib-2.0)
// Run:    sudo ./identity_cpp
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include <glib.h>
#include <orvane.h>

namespace {

struct free_text {
    void operator()(char *text) const noexcept { std::free(text); }
};
using owned_text = std::unique_ptr<char, free_text>;

struct free_key_file {
    void operator()(GKeyFile *file) const noexcept { g_key_file_free(file); }
};
using owned_key_file = std::unique_ptr<GKeyFile, free_key_file>;

using query = char *(*)();

struct fact {
    const char *name;
    query run;
};

constexpr fact facts[] = {
    {"root_device", root_device},
    {"disk", orvane_get_harddisk_id},
    // "00:00:00:00:00:00" means that no driver knows a permanent address.
    {"mac", orvane_get_network_interface_max_mac},
    {"system_uuid", orvane_get_system_uuid},
    {"vendor", orvane_get_vendor},
    {"model", orvane_get_model},
};

// The answer as a string of C++. The library throws nothing, but std::string may.
std::optional<std::string> answer(query run)
{
    const owned_text text(run());
    if (!text || *text == '\0')
        return std::nullopt;
    return std::string(text.get());
}

// A text from firmware or from a disk may hold any byte, and a terminal obeys some of them.
std::string printable(std::string text)
{
    for (char &c : text) {
        if (c < 0x20 || c > 0x7e)
            c = '?';
    }
    return text;
}

// The library has two sets of patterns, one to compare exactly and one without regard to case.
int manufacturer_class()
{
    const owned_key_file exact(generate_machine_whitelist());
    const int type = maching_machine_type(exact.get(), false);
    if (type != -1)
        return type;
    const owned_key_file folded(generate_machine_whitelist_ignore_case());
    return maching_machine_type(folded.get(), true);
}

} // namespace

int main()
{
    bool known = false;
    for (const auto &[name, run] : facts) {
        const std::optional<std::string> text = answer(run);
        std::cout << name << ' ' << (text ? printable(*text) : "-") << '\n';
        known = known || text.has_value();
    }
    std::cout << "manufacturer " << machineTypeToString(manufacturer_class()) << '\n';

    if (!std::cout.flush()) {
        std::cerr << "identity_cpp: standard output cannot be written\n";
        return 1;
    }
    return known ? 0 : 1;
}
