// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the documents print of a machine is what the command prints there. A block that begins with
// "```console machine=NAME" holds command lines of root, which begin with "# ", each with its
// output;
// "..." stands for lines that are left out.
#include "fixture.h"
#include "replay.h"
#include "replayed_kernel.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using outcome = constructed_machine::program_result;

struct shown_command {
    std::string line;
    texts output;
};

struct shown_machine {
    std::string place; // document and line
    std::string name;
    std::vector<shown_command> commands;
};

std::ostream &operator<<(std::ostream &stream, const shown_machine &shown)
{
    return stream << shown.place;
}

// Widths of columns differ between releases of libsmartcols.
std::string with_single_blanks(const std::string &line)
{
    std::istringstream words(line);
    std::string text;
    for (std::string word; words >> word;)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

texts lines_with_single_blanks(const std::string &text)
{
    std::istringstream stream(text);
    texts lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(with_single_blanks(line));
    return lines;
}

std::vector<shown_machine> machines_in(const std::filesystem::path &document)
{
    constexpr std::string_view mark = "```console machine=";
    constexpr std::string_view prompt = "# ";
    std::vector<shown_machine> found;
    std::ifstream stream(document);
    std::size_t number = 0;
    const auto next = [&](std::string &line) {
        ++number;
        return static_cast<bool>(std::getline(stream, line));
    };
    for (std::string line; next(line);) {
        if (!line.starts_with(mark))
            continue;
        shown_machine shown;
        shown.place = document.filename().string() + ":" + std::to_string(number);
        shown.name = line.substr(mark.size());
        while (next(line) && line != "```") {
            if (line.starts_with(prompt))
                shown.commands.push_back({line.substr(prompt.size()), {}});
            else if (!shown.commands.empty())
                shown.commands.back().output.push_back(with_single_blanks(line));
        }
        found.push_back(std::move(shown));
    }
    return found;
}

std::vector<shown_machine> machines_in_documents()
{
    std::vector<shown_machine> found = machines_in(DOCUMENTS "/README.md");
    std::vector<std::filesystem::path> pages;
    for (const auto &entry : std::filesystem::directory_iterator(DOCUMENTS "/docs")) {
        if (entry.path().extension() == ".md")
            pages.push_back(entry.path());
    }
    std::sort(pages.begin(), pages.end());
    for (const std::filesystem::path &page : pages) {
        for (shown_machine &shown : machines_in(page))
            found.push_back(std::move(shown));
    }
    return found;
}

// Whether the lines are those that are shown, of which "..." stands for any number.
bool matches(const std::string *shown, const std::string *shown_end, const std::string *line,
             const std::string *end)
{
    if (shown == shown_end)
        return line == end;
    if (*shown == "...")
        return matches(shown + 1, shown_end, line, end) ||
               (line != end && matches(shown, shown_end, line + 1, end));
    return line != end && *shown == *line && matches(shown + 1, shown_end, line + 1, end);
}

class documented_computer : public on_machine, public testing::WithParamInterface<shown_machine> {
protected:
    void furnish() override
    {
        const std::filesystem::path kernel = RECORDED_KERNEL;
        recording.furnish(machine);
        machine.show(build_folder() + "/stage", "/opt/orvane");
        machine.show(kernel.parent_path(), "/opt/kernel");
        machine.show(folder, "/opt/recording");
        machine.directory("/srv/work");
    }
    void TearDown() override
    {
        recorded::replay_kernel("");
        on_machine::TearDown();
    }

    // Of both streams, as a terminal of 80 columns shows them.
    [[nodiscard]] std::string output_of(const std::string &line) const
    {
        const std::filesystem::path kernel = RECORDED_KERNEL;
        texts command =
            recorded::with_kernel("/opt/kernel/" + kernel.filename().string(), "/opt/recording");
        command.insert(command.end(),
                       {"LC_ALL=C.UTF-8", "PATH=/opt/orvane/bin:/usr/sbin:/usr/bin:/sbin:/bin",
                        "/bin/sh", "-c", "cd /srv/work; { " + line + "\n} 2>&1"});
        return machine.run(command).output;
    }

    const std::string folder = MACHINES "/" + GetParam().name;
    const recorded_machine recording{folder};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, documented_computer, testing::ValuesIn(machines_in_documents()));

TEST_P(documented_computer, is_shown_as_the_command_shows_it)
{
    ASSERT_TRUE(std::filesystem::exists(folder)) << "no recorded machine " << GetParam().name;
    EXPECT_FALSE(GetParam().commands.empty()) << "no command line in " << GetParam().place;
    for (const auto &[line, shown] : GetParam().commands) {
        const std::string output = output_of(line);
        const texts lines = lines_with_single_blanks(output);
        EXPECT_TRUE(matches(shown.data(), shown.data() + shown.size(), lines.data(),
                            lines.data() + lines.size()))
            << GetParam().place << " shows another output of \"" << line << "\":\n"
            << output;
    }
}

TEST(documented_computers, are_a_laptop_a_virtual_machine_and_a_container_in_the_readme)
{
    texts names;
    for (const shown_machine &shown : machines_in(DOCUMENTS "/README.md"))
        names.push_back(shown.name);
    EXPECT_EQ(names, texts({"luks-on-nvme", "virtio", "container"}));
}
