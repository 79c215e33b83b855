// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine/bonding.h"

#include "orvane.h"
#include "support/directory.h"
#include "support/line_reader.h"

#include <sys/stat.h>

namespace orvane {

namespace {

constexpr char reports_directory[] = "/proc/net/bonding";

// Reads on to the next line that has the label and, behind it, a word.
template <class Match> bool find_line(std::FILE *report, Match match) noexcept
{
    line_buffer line;
    while (read_line(report, line)) {
        if (match(line.c_str()) == 1)
            return true;
    }
    return false;
}

bool find_slave(std::FILE *report) noexcept
{
    return find_line(report, [](const char *line) {
        char name[2];
        return ::sscanf(line, "Slave Interface: %1s", name);
    });
}

bool find_permanent_address(std::FILE *report, mac_text &address) noexcept
{
    static_assert(mac_bytes == 128, "the format below bounds what is stored");
    return find_line(report, [&address](const char *line) {
        return ::sscanf(line, "Permanent HW addr: %127s", address.data());
    });
}

bool is_regular_file(const char *path) noexcept
{
    struct stat status = {};
    return ::stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

// A slave without an address takes the next slave's, which changes nothing about the greatest.
void read_bonding_report(std::FILE *report, mac_text &greatest) noexcept
{
    mac_text address;
    while (find_slave(report) && find_permanent_address(report, address)) {
        ::toLowerCase(address.data());
        keep_greatest(greatest, address);
    }
}

void network_interface_list_bonding_slaves(mac_text &greatest) noexcept
{
    directory_names bonds(reports_directory);
    if (!bonds)
        return;
    while (const char *const bond = bonds.next()) {
        bounded_text<1024> path;
        path.format("%s/%s", reports_directory, bond);
        if (!is_regular_file(path.c_str()))
            continue;
        const unique_file report(::fopen(path.c_str(), "re"));
        if (report)
            read_bonding_report(report.get(), greatest);
    }
}

} // namespace orvane
