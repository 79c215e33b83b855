// SPDX-License-Identifier: LGPL-2.1-or-later
#include "verdicts.h"

#include <algorithm>
#include <memory>

#include <net/if.h>

namespace {

bool has_counting_name(std::string_view name)
{
    return name.starts_with("eth") || name.starts_with("en") || name.starts_with("em");
}

struct free_names {
    void operator()(struct if_nameindex *names) const noexcept { ::if_freenameindex(names); }
};

// Adds interfaces that the walk did not come to, or whose names do not count. Whether there is one
// whose name counts, as far as that can be determined.
bool add_other_interfaces(finding &one)
{
    bool has_other = false;
    const std::unique_ptr<struct if_nameindex, free_names> names(::if_nameindex());
    if (!names)
        return true;
    for (const struct if_nameindex *next = names.get(); next != nullptr && next->if_name != nullptr;
         ++next) {
        const std::string name = next->if_name;
        const bool is_there =
            std::any_of(one.steps.begin(), one.steps.end(),
                        [&name](const step &source) { return source.source == name; });
        if (is_there || name == "lo")
            continue;
        has_other = has_other || has_counting_name(name);
        add_unqueried(one.steps, name.c_str(),
                      has_counting_name(name) ? "the search ended before it"
                                              : "its name does not count");
    }
    return has_other;
}

} // namespace

void judge_network(finding &one)
{
    const bool has_other = add_other_interfaces(one);
    if (is_text(one))
        return;
    if (const step *const end = with(one, reasons::tool_missing); end != nullptr) {
        one.missing_tools = {"/usr/bin/readlink"};
        miss(one, reasons::tool_missing);
    } else if (with(one, reasons::usb_adapter) != nullptr) {
        miss(one, reasons::usb_adapter, with(one, reasons::usb_adapter)->source);
    } else if (with(one, reasons::no_device_behind) != nullptr) {
        miss(one, reasons::no_device_behind, with(one, reasons::no_device_behind)->source);
    } else {
        miss(one, has_other ? reasons::source_failed : reasons::no_interface);
    }
}
