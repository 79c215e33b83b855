// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/lsblk.h"
#include "faked_system.h"

namespace {

void require_identity(const orvane::heap_text &identity)
{
    const std::string_view text = identity.get();
    require(!text.empty() && text.size() < 1024);
    // A model that fills the buffer leaves no space for "_" and the serial number.
    require(text.size() == 1023 || text.find('_') != std::string_view::npos);
    require(has_none_of(text, " \t\n\r\v\f\x7f"));
}

// Of the tool's output, only what the buffer holds counts.
void require_same_of_tool(const std::string &output, const char *device)
{
    faked::tool_output = output;
    const orvane::heap_text listed = orvane::listed_identity(device);
    const orvane::heap_text expected =
        orvane::identity_in_listing(up_to_zero(output.substr(0, 16383)).c_str(), device);
    require((listed == nullptr) == (expected == nullptr));
    require(!listed || std::string_view(listed.get()) == expected.get());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    faked::reset();
    const std::string listing = text_of(data, size);
    require(orvane::identity_in_listing(listing.c_str(), nullptr) == nullptr);
    const orvane::heap_text identity = orvane::identity_in_listing(listing.c_str(), "sda");
    if (identity)
        require_identity(identity);
    require_same_of_tool(bytes_of(data, size), "sda");
    return 0;
}
