// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane explain: why a fact has its answer, or none, and what to do.
#include "commands.h"
#include "layout.h"
#include "output.h"
#include "query.h"
#include "report.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

// A line of a tree with the lines below it.
struct branch {
    std::string text;
    std::vector<branch> below;
};

void add_branches(const std::vector<branch> &all, const std::string &before, std::string &lines)
{
    const branches &drawn = branches_of_locale();
    for (const branch &one : all) {
        const bool is_last = &one == &all.back();
        const std::string past = before + (is_last ? drawn.past_last : drawn.past_middle);
        const bool has_below = !one.below.empty();
        const wrapping how = {before + (is_last ? drawn.last : drawn.middle),
                              past + (has_below ? drawn.past_middle : drawn.past_last)};
        lines += wrapped(one.text, how, output_columns());
        add_branches(one.below, past, lines);
    }
}

std::string words_for_result(const step &one)
{
    const std::string_view result = one.result;
    if (result == results::answered)
        return one.text;
    if (result == results::not_queried)
        return "not queried: " + one.text;
    if (result == reasons::placeholder.code)
        return one.text + ": a placeholder, refused";
    if (result == reasons::tool_missing.code)
        return "not installed (package " + package_of(one.source) + ")";
    if (result == reasons::no_device_behind.code)
        return "no device is behind it: " + one.text;
    if (result == reasons::usb_adapter.code)
        return "on the USB bus: " + one.text;
    if (result == reasons::not_a_block_device.code || result == reasons::device_missing.code)
        return one.text + (result == reasons::device_missing.code ? ": there is no such device"
                                                                  : ": no block device");
    if (result == reasons::form_not_followed.code)
        return one.text + ": this form of root= is not known";
    return one.text.empty() ? "no answer" : one.text;
}

std::vector<branch> branches_in(const std::vector<step> &steps)
{
    std::vector<branch> all;
    for (const step &one : steps) {
        const std::string words = words_for_result(one);
        all.push_back({one.source + (words.empty() ? "" : ": " + words), branches_in(one.below)});
    }
    return all;
}

bool names_device(const std::string &text, const std::string &name)
{
    const std::size_t at = text.find("/" + name);
    const std::size_t end = at + 1 + name.size();
    return at != std::string::npos &&
           (end == text.size() || std::string_view("/, :\")").find(text[end]) != std::string::npos);
}

// Whether a step's source or text speaks of the layer's device.
bool speaks_of(const step &one, const storage_layer &layer)
{
    return names_device(one.source, layer.node) || names_device(one.source, layer.name) ||
           names_device(one.text, layer.node) || names_device(one.text, layer.name);
}

bool is_reached(const finding &disk, const std::vector<step> &steps, const storage_layer &layer)
{
    return std::any_of(steps.begin(), steps.end(), [&](const step &one) {
        const bool counts =
            is_known(disk) ? one.source == disk.source : one.result != results::not_queried;
        return (counts && speaks_of(one, layer)) || is_reached(disk, one.below, layer);
    });
}

// The lowest layer that the answering source speaks of, or, without an answer, any source.
const storage_layer *last_layer_reached(const finding &disk)
{
    const storage_layer *reached = nullptr;
    for (const storage_layer &layer : disk.layers) {
        if (is_reached(disk, disk.steps, layer))
            reached = &layer;
    }
    return reached;
}

branch branch_of(const finding &disk, const storage_layer &layer, const storage_layer *reached)
{
    branch drawn{layer.name + "  " + words_for(layer.kind) +
                     (layer.note.empty() ? "" : " " + layer.note),
                 {}};
    if (&layer == reached)
        drawn.text += is_known(disk) ? "  <-- answered" : "  <-- the way ends here";
    for (const std::string &name : layer.below) {
        if (const storage_layer *const lower = find_layer(disk.layers, name))
            drawn.below.push_back(branch_of(disk, *lower, reached));
    }
    return drawn;
}

std::string way_to_disk(const finding &disk)
{
    if (disk.layers.empty())
        return "";
    std::string lines = "/  file system " + disk.file_system + "\n";
    add_branches({branch_of(disk, disk.layers.front(), last_layer_reached(disk))}, "", lines);
    return lines;
}

std::string paragraph(const char *title, const std::string &text)
{
    return text.empty()
               ? ""
               : wrapped(text, {std::string("  ") + title + " ", "      "}, output_columns());
}

std::string headline(const finding &one)
{
    if (!is_known(one))
        return std::string(one.what->name) + ": " + words_for(status_of(one));
    return std::string(one.what->name) + ": " + to_text(one.value);
}

std::string explained(const finding &one)
{
    std::string lines = wrapped(headline(one), {"", "  "}, output_columns());
    add_branches(branches_in(one.steps), "", lines);
    lines += way_to_disk(one);
    if (is_known(one)) {
        lines += paragraph("Source:", one.source);
        if (one.what->is_identity && !is_usable_as_identity(one))
            lines +=
                paragraph("Note:", "many machines have this value, so it identifies none of them.");
    } else {
        lines += paragraph("Reason:", explanation_of(one) + " (" + one.why->code + ").");
        lines += paragraph("What to do:", advice_on(one) + ".");
        lines += paragraph("More:", std::string("docs/troubleshooting.md#") + one.why->code);
    }
    return lines + paragraph("Stability:", words_for(one.what->lasts) + ".");
}

} // namespace

int explain(const query_options &options)
{
    const findings found = queried(options);
    if (options.json) {
        print_text(printed(document_of(found, detail::full, options.redact)) + "\n");
        return options.names.empty() ? success : status_of_all(found);
    }
    std::string text;
    for (const finding &one : found)
        text += (text.empty() ? "" : "\n") + explained(one);
    print_text(text);
    return options.names.empty() ? success : status_of_all(found);
}
