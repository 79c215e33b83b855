// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine/bonding.h"

#include "orvane.h"
#include "support/directory.h"
#include "support/line_reader.h"

#include <sys/stat.h>

namespace orvane {

namespace {

constexpr char reports_directory[] = "/proc/net/bonding";

// What a report says behind a label: a word, so no line end belongs to it.
using report_field = bounded_text<128>;

// Reads on to the next line that has the label. The labels' formats bound what they store.
template <class Match> bool find_field(std::FILE *report, Match match) noexcept
{
    line_buffer line;
    while (read_line(report, line)) {
        if (match(line.c_str()) == 1)
            return true;
    }
    return false;
}

bool find_slave(std::FILE *report, report_field &name) noexcept
{
    return find_field(report, [&name](const char *line) {
        return ::sscanf(line, "Slave Interface: %127s", name.data());
    });
}

bool find_permanent_address(std::FILE *report, report_field &address) noexcept
{
    return find_field(report, [&address](const char *line) {
        return ::sscanf(line, "Permanent HW addr: %127s", address.data());
    });
}

bool is_regular_file(const char *path) noexcept
{
    struct stat status = {};
    return ::stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

// Deliberate: a slave without an address takes the next slave's, which is then not seen itself. The
// greatest address is the same either way.
interface_list read_bonding_report(std::FILE *report) noexcept
{
    interface_list slaves;
    report_field name;
    report_field address;
    while (find_slave(report, name) && find_permanent_address(report, address)) {
        ::toLowerCase(address.data());
        add_interface(slaves,
                      network_interface_new(name.c_str(), address.c_str(), address.c_str()));
    }
    return slaves;
}

interface_list network_interface_list_bonding_slaves() noexcept
{
    interface_list slaves;
    directory_names bonds(reports_directory);
    if (!bonds)
        return slaves;
    while (const char *const bond = bonds.next()) {
        bounded_text<1024> path;
        path.format("%s/%s", reports_directory, bond);
        if (!is_regular_file(path.c_str()))
            continue;
        const unique_file report(::fopen(path.c_str(), "r"));
        if (report)
            append_interfaces(slaves, read_bonding_report(report.get()));
    }
    return slaves;
}

} // namespace orvane
