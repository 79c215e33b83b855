// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane show and orvane root-disk: the identity of the machine.
#include "commands.h"
#include "layout.h"
#include "output.h"
#include "owned_text.h"
#include "query.h"
#include "report.h"
#include "stderr_capture.h"

#include "orvane.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include <libsmartcols.h>
#include <unistd.h>

namespace {

struct unref_table {
    void operator()(libscols_table *table) const noexcept { scols_unref_table(table); }
};

void require(bool done)
{
    if (!done)
        throw std::runtime_error("cannot lay out the table");
}

std::string note_on(const finding &one)
{
    if (!is_known(one))
        return std::string(words_for(status_of(one))) + " (" + one.why->code + ")";
    return one.what->is_identity && !is_usable_as_identity(one) ? "identifies no machine" : "";
}

// The last column ends where its text does.
std::string without_trailing_blanks(const std::string &lines)
{
    std::string plain;
    for (const char c : lines) {
        if (c == '\n')
            plain.erase(plain.find_last_not_of(' ') + 1);
        plain.push_back(c);
    }
    return plain;
}

// One row for each fact.
std::string table_of(const findings &found)
{
    // Headings are not printed, and in some releases are as wide as their columns all the same.
    const std::unique_ptr<libscols_table, unref_table> table(scols_new_table());
    require(table && scols_table_new_column(table.get(), "", 0, 0) != nullptr &&
            scols_table_new_column(table.get(), "", 0, 0) != nullptr &&
            scols_table_new_column(table.get(), "", 0, 0) != nullptr &&
            scols_table_enable_noheadings(table.get(), 1) == 0);
    for (const finding &one : found) {
        libscols_line *const line = scols_table_new_line(table.get(), nullptr);
        require(line != nullptr && scols_line_set_data(line, 0, one.what->name) == 0 &&
                scols_line_set_data(line, 1, to_text(one.value).c_str()) == 0 &&
                scols_line_set_data(line, 2, note_on(one).c_str()) == 0);
    }
    char *text = nullptr;
    require(scols_print_table_to_string(table.get(), &text) == 0);
    const owned_text owner(text);
    return without_trailing_blanks(std::string(text) + "\n");
}

// The note below the value.
std::string list_of(const findings &found)
{
    std::string lines;
    for (const finding &one : found) {
        lines += wrapped(std::string(one.what->name) + " " + to_text(one.value), {"", "  "},
                         output_columns());
        if (const std::string note = note_on(one); !note.empty())
            lines += wrapped(note, {"  ", "  "}, output_columns());
    }
    return lines;
}

bool fits(const std::string &lines)
{
    for (std::size_t at = 0; at < lines.size();) {
        const std::size_t end = std::min(lines.find('\n', at), lines.size());
        if (columns_of(lines.substr(at, end - at)) > output_columns())
            return false;
        at = end + 1;
    }
    return true;
}

// A terminal would break the rows.
void print_table(const findings &found)
{
    const std::string table = table_of(found);
    const bool is_table = ::isatty(STDOUT_FILENO) == 0 || fits(table);
    std::fputs((is_table ? table : list_of(found)).c_str(), stdout);
}

std::string variable_for(const finding &one)
{
    std::string name = std::string("ORVANE_") + one.what->name;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return name;
}

// Within single quotes a shell takes everything but these as it is.
std::string quoted(const std::string &text)
{
    std::string word = "'";
    for (const char c : text)
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
}

// Assignments for the shell, of which each value is one word.
void print_assignments(const findings &found)
{
    for (const finding &one : found) {
        const std::string value = is_answered(one.value) ? to_text(one.value) : "";
        print_text(variable_for(one) + "=" + quoted(value) + "\n" + variable_for(one) +
                   "_STATUS=" + name_of(status_of(one)) + "\n");
    }
}

// One fact alone: its value, or the reason why it has none.
void print_value(const finding &one)
{
    if (is_known(one))
        print_line(to_text(one.value));
    else
        print_error(missing_line(one));
}

void report_what_needs_root(const findings &found)
{
    std::string names;
    for (const finding &one : found) {
        if (status_of(one) == fact_status::needs_root)
            names.append(names.empty() ? "" : ", ").append(one.what->name);
    }
    if (!names.empty())
        print_error("root is needed for: " + names);
}

// Those that are to be printed; what is only required follows them.
std::vector<std::string> names_to_query(const show_options &options)
{
    std::vector<std::string> names = options.names;
    if (!names.empty())
        names.insert(names.end(), options.required.begin(), options.required.end());
    return each_once(names);
}

void report_required(const std::vector<std::string> &required, const findings &found)
{
    for (const finding &one : found) {
        if (std::find(required.begin(), required.end(), one.what->name) != required.end() &&
            !is_known(one))
            print_error(missing_line(one));
    }
}

bool are_known(const std::vector<std::string> &required, const findings &found)
{
    return std::all_of(found.begin(), found.end(), [&required](const finding &one) {
        return is_known(one) ||
               std::find(required.begin(), required.end(), one.what->name) == required.end();
    });
}

struct close_tool {
    void operator()(std::FILE *tool) const noexcept { ::pclose(tool); }
};

// Later releases of lsblk list "mountpoints", unless this column is wanted.
constexpr char listing_command[] = "lsblk -J -o NAME,MOUNTPOINT";

std::string listing()
{
    const stream_capture errors(stderr);
    // NOLINTNEXTLINE(cert-env33-c): the command line is a constant.
    const std::unique_ptr<std::FILE, close_tool> tool(::popen(listing_command, "re"));
    if (!tool)
        throw std::runtime_error("lsblk cannot be run");
    std::string text;
    char block[4096];
    for (std::size_t size = std::fread(block, 1, sizeof block, tool.get()); size > 0;
         size = std::fread(block, 1, sizeof block, tool.get()))
        text.append(block, size);
    return text;
}

// What lsblk and the library report, or the reason why there is no root disk.
std::string root_disk()
{
    const std::string text = listing();
    if (text.empty())
        throw std::runtime_error("lsblk is missing or lists nothing");
    const stream_capture errors(stderr);
    const answer disk = taken(find_root_disk(text.c_str()));
    if (!errors.text().empty()) // the library's, about the listing
        throw std::runtime_error(std::string(listing_command) + " prints no listing");
    if (!is_answered(disk))
        throw negative_result(std::string(listing_command) +
                              " lists no disk with a partition mounted at /");
    return to_text(disk);
}

} // namespace

int show(const show_options &options)
{
    const std::size_t count = each_once(options.names).size();
    const findings all =
        queried({names_to_query(options), options.json, options.redact, options.trace});
    const findings shown(all.begin(),
                         count == 0 ? all.end() : all.begin() + static_cast<std::ptrdiff_t>(count));
    const findings others(all.begin() + static_cast<std::ptrdiff_t>(count), all.end());
    const bool is_value_alone = count == 1 && options.format == show_format::table;

    if (options.json || options.format == show_format::json)
        print_text(printed(document_of(shown, detail::brief, options.redact)) + "\n");
    else if (options.format == show_format::shell)
        print_assignments(shown);
    else if (is_value_alone)
        print_value(shown.front());
    else
        print_table(shown);

    if (!is_value_alone)
        report_what_needs_root(shown);
    report_required(options.required, is_value_alone ? others : all);
    if (!are_known(options.required, all))
        return negative;
    return count == 0 ? success : status_of_all(shown);
}

int print_root_disk()
{
    print_line(root_disk());
    return success;
}
