// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The layout of a page of the help: paragraphs, and lists in two columns.
#include "facts.h"
#include "help_page.h"
#include "layout.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace {

constexpr std::size_t indent = 2;
constexpr std::size_t gap = 2; // between the columns
constexpr std::size_t deep_indent = 6;
constexpr std::size_t status_column = 5;

class lines {
public:
    explicit lines(std::size_t width) : width_(width) {}

    [[nodiscard]] const std::string &text() const { return text_; }

    void blank_line() { text_ += '\n'; }

    void heading(const char *name)
    {
        blank_line();
        text_ += name;
        text_ += ":\n";
    }

    // A paragraph that begins at the column. Lines that follow begin at another one. Where a line
    // is broken, `mark` stands at its end.
    void paragraph(std::string_view text, std::size_t column, std::size_t following,
                   const char *mark = "")
    {
        pad_to(column);
        const std::size_t start = text_.rfind('\n') + 1;
        const std::string first = text_.substr(start);
        text_.resize(start);
        text_ +=
            wrapped(std::string(text), {first, std::string(following, ' '), mark, true}, width_);
    }

    // A word, and what it stands for beside it, or below it where it is too long.
    void item(std::string_view word, std::string_view description, std::size_t column)
    {
        pad_to(indent);
        text_ += word;
        if (this->column() + gap > column)
            text_ += '\n';
        paragraph(description, column, column);
    }

private:
    [[nodiscard]] std::size_t column() const { return text_.size() - (text_.rfind('\n') + 1); }
    void pad_to(std::size_t column) { text_.append(column - this->column(), ' '); }

    std::string text_;
    std::size_t width_;
};

using list = std::vector<described>;

list list_of(std::span<const described> array)
{
    const auto end = std::find_if(array.begin(), array.end(),
                                  [](const auto &one) { return one.word == nullptr; });
    return {array.begin(), end};
}

list options_of(const help_page &page)
{
    list options = list_of(page.options);
    options.push_back({"-h, --help", "print this help"});
    return options;
}

// Those that are chosen by one more word.
list subcommands_of(const help_page &page, std::span<const help_page> all)
{
    const std::string prefix = page.subcommand.empty() ? "" : std::string(page.subcommand) + " ";
    list subcommands;
    for (const help_page &one : all) {
        const std::string_view name = one.subcommand;
        if (name.size() > prefix.size() && name.starts_with(prefix) &&
            name.find(' ', prefix.size()) == std::string_view::npos)
            subcommands.push_back({name.data() + prefix.size(), one.purpose});
    }
    return subcommands;
}

list facts_of(const help_page &page)
{
    list facts;
    if (page.lists_facts) {
        for (const fact &one : all_facts())
            facts.push_back({one.name, one.description});
    }
    return facts;
}

struct section {
    const char *name;
    list items;
};

// The column of the descriptions: behind the longest word, unless that leaves too little space.
std::size_t second_column(std::span<const section> sections, std::size_t width)
{
    std::size_t longest = 0;
    for (const section &one : sections) {
        for (const described &item : one.items)
            longest = std::max(longest, std::string_view(item.word).size());
    }
    return std::min(indent + longest + gap, width * 9 / 20);
}

std::string sentence(std::string words)
{
    words.front() = static_cast<char>(std::toupper(words.front()));
    return words + ".";
}

void add_usage(lines &text, const help_page &page)
{
    const std::string call =
        page.subcommand.empty() ? "orvane" : "orvane " + std::string(page.subcommand);
    const std::string label = "Usage: ";
    text.paragraph(label + call + " " + page.usages[0], 0, label.size() + indent);
    for (const char *const usage : std::span(page.usages).subspan(1)) {
        if (usage != nullptr)
            text.paragraph(call + " " + usage, label.size(), label.size() + indent);
    }
}

void add_examples(lines &text, const help_page &page)
{
    text.heading("Examples");
    for (const described &example : list_of(page.examples)) {
        text.paragraph(example.word, indent, deep_indent, " \\");
        text.paragraph(example.description, deep_indent, deep_indent);
    }
}

void add_exit_status(lines &text, const help_page &page)
{
    text.heading("Exit status");
    text.item("0", page.success, status_column);
    if (page.negative != nullptr)
        text.item("1", page.negative, status_column);
    text.item("2", "wrong use", status_column);
    if (page.undetermined != nullptr)
        text.item("3", std::string("no result: ") + page.undetermined, status_column);
}

} // namespace

std::string lay_out(const help_page &page, std::span<const help_page> all, std::size_t width)
{
    lines text(width);
    add_usage(text, page);
    text.blank_line();
    text.paragraph(sentence(page.purpose) + " " + page.details, 0, 0);
    const section sections[] = {{"Arguments", list_of(page.arguments)},
                                {"Subcommands", subcommands_of(page, all)},
                                {"Options", options_of(page)},
                                {"Facts", facts_of(page)}};
    const std::size_t column = second_column(sections, width);
    for (const section &one : sections) {
        if (!one.items.empty())
            text.heading(one.name);
        for (const described &item : one.items)
            text.item(item.word, item.description, column);
    }
    add_examples(text, page);
    add_exit_status(text, page);
    text.blank_line();
    text.paragraph(std::string("More: ") + page.more, 0, deep_indent);
    return text.text();
}
