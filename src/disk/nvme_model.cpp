// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The start of a disk's model, for callers that tell makers apart by it.
#include "orvane.h"

#include "support/owned.h"
#include "support/line_reader.h"
#include "support/shell.h"

#include <cstring>

namespace orvane {

namespace {

constexpr std::size_t result_bytes = 1024; // callers may write to all of it
using model_start = bounded_text<4>;       // Deliberate: three characters are the whole answer

tool_output print_model(const char *name) noexcept
{
    if (name == nullptr)
        return {};
    bounded_text<1024> command;
    command.append("cat /sys/block/");
    append_word(command, name);
    command.append("/device/model");
    return run_tool(command.c_str());
}

} // namespace

} // namespace orvane

extern "C" char *harddisk_id_nvme_new(const char *name)
{
    const orvane::tool_output output = orvane::print_model(name);
    if (!output)
        return nullptr;
    orvane::heap_text result(static_cast<char *>(::malloc(orvane::result_bytes)));
    if (!result)
        return nullptr;

    orvane::model_start model;
    if (orvane::read_line(output.get(), model)) {
        ::orvane_trace("harddisk_id_nvme_new model = %s", model.c_str());
    } else {
        model.clear(); // of what stood before reading broke off
        ::orvane_trace("harddisk_id_nvme_new model = NULL");
    }
    ::memcpy(result.get(), model.c_str(), model.length() + 1);
    return result.release();
}
