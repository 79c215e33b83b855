// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The kernel's file on the first line, an empty one for none, and behind it what the tool prints.
#include "faked_system.h"
#include "foundation/glib_handles.h"
#include "machine/dmi.h"
#include "orvane.h"

#include <strings.h>

namespace {

using answer = std::optional<std::string>;

answer first_line(const answer &source, std::size_t most = 1023)
{
    if (!source || source->empty())
        return std::nullopt;
    return up_to(up_to_zero(source->substr(0, most)), "\r\n");
}

answer taken(char *text)
{
    const orvane::heap_text owner(text);
    return text == nullptr ? answer() : answer(text);
}

answer unless_placeholder(const answer &uuid)
{
    constexpr const char *placeholders[] = {
        "12345678-1234-5678-90ab-cddeefaabbcc", "03000200-0400-0500-0006-000700080009",
        "fefefefe-fefe-fefe-fefe-fefefefefefe", "ffffffff-ffff-ffff-ffff-ffffffffffff"};
    for (const char *const placeholder : placeholders) {
        if (uuid && ::strcasecmp(uuid->c_str(), placeholder) == 0)
            return std::nullopt;
    }
    return uuid;
}

answer oem_info()
{
    const answer serial = first_line(faked::tool_output, 127);
    const answer field = first_line(faked::file, 127);
    return serial && field ? *serial + "_" + *field + "_" + *field : "";
}

void require_manufacturer(const answer &line)
{
    const bool is_lenovo = line && (line->starts_with("KaiTian") || line->starts_with("LENOVO"));
    require(is_lenovo_machine() == (is_lenovo ? 1 : 0));

    static const orvane::unique_key_file exact(generate_machine_whitelist());
    if (is_lenovo)
        require(maching_machine_type(exact.get(), false) == 0);
    if (!line)
        require(maching_machine_type(exact.get(), false) == -1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    faked::reset();
    faked::tool_output = bytes_of(data, size);
    faked::file = take_line(faked::tool_output);
    if (faked::file->empty())
        faked::file.reset();

    const answer line = first_line(faked::tool_output);
    const answer expected = faked::file ? first_line(faked::file) : line;
    require(taken(orvane_get_vendor()) == expected);
    require(taken(orvane_get_model()) == expected);
    require(taken(orvane::get_service_tag()) == expected);
    require(taken(get_machine_info_from_dmidecode("dmidecode")) == line);
    require(taken(get_service_tag_from_dmidecode("dmidecode")) == line);
    const answer uuid = unless_placeholder(first_line(faked::file));
    require(taken(orvane_get_system_uuid()) == (uuid ? uuid : unless_placeholder(line)));
    require(taken(hw_oem_info()) == oem_info());
    require_manufacturer(line);
    return 0;
}
