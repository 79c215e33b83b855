// SPDX-License-Identifier: LGPL-2.1-or-later
//
// scripts/capture-machine, run on machines that are furnished from recorded ones.
#include "fixture.h"
#include "queries.h"
#include "replay.h"
#include "replayed_kernel.h"
#include "words.h"

#include "orvane.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <map>
#include <regex>
#include <set>

namespace {

namespace fs = std::filesystem;
using facts = std::map<std::string, std::string>;
using outcome = constructed_machine::program_result;

// The names, contents and targets of everything in a folder, by the paths.
facts everything_in(const std::string &folder)
{
    facts everything;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder)) {
        const std::string path = entry.path().string().substr(folder.size());
        if (entry.is_symlink())
            everything[path] = fs::read_symlink(entry.path());
        else if (entry.is_regular_file())
            everything[path] = constructed_machine::content(entry.path());
    }
    return everything;
}

void add_matches(const std::string &text, const char *form, std::set<std::string> &found)
{
    const std::regex pattern(form, std::regex::icase);
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
        found.insert(match->str());
}

facts in_sysfs(facts everything)
{
    std::erase_if(everything, [](const auto &one) { return !one.first.starts_with("/sys/"); });
    return everything;
}

// Everything in a folder that looks like a UUID or a hardware address, but what many machines have.
std::set<std::string> identifiers_in(const std::string &folder)
{
    std::set<std::string> found;
    for (const auto &[path, text] : everything_in(folder)) {
        for (const std::string &place : {path, text}) {
            add_matches(place, "[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}",
                        found);
            add_matches(place, "[0-9a-z]{6}-(?:[0-9a-z]{4}-){5}[0-9a-z]{6}", found);
            add_matches(place, "LVM-[0-9a-z]{32}", found); // a volume group's
            add_matches(place, "(?:[0-9a-f]{2}:){5}[0-9a-f]{2}", found);
            add_matches(place, "0x[0-9a-f]{16}", found);
        }
    }
    std::erase_if(found, [](const std::string &one) {
        return one.size() < 17 || one.starts_with("00000000-0000-0000-0000-00000000") ||
               one == "00:00:00:00:00:00" || one == "ff:ff:ff:ff:ff:ff";
    });
    return found;
}

std::string lowered(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string without_separators(std::string text)
{
    std::erase_if(text, [](unsigned char c) { return std::isalnum(c) == 0; });
    return text;
}

bool holds(const std::string &text, const std::string &piece)
{
    return lowered(text).find(lowered(piece)) != std::string::npos;
}

// Each digit as "0" and each letter as "a". In a hardware address they are all hexadecimal digits.
std::string shape(const std::string &text)
{
    static const std::regex address("([0-9a-f]{2}:){5}[0-9a-f]{2}|[0-9a-f]{12}");
    std::string shape = std::regex_replace(text, address, "-");
    for (char &c : shape) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isdigit(byte) != 0)
            c = '0';
        else if (std::isalpha(byte) != 0)
            c = std::isupper(byte) != 0 ? 'A' : 'a';
    }
    return shape;
}

// A recorded machine with its serial numbers.
struct original : named_case {
    texts serials;
};

const original originals[] = {
    {"lvm-in-luks", {"ZDE9A41H", "M70K2X4B"}},
    {"multipath", {"221736415", "6200091100c0ffe2", "500a09801c7e43d2"}},
    {"md-raid1", {"ZFL2K8QT", "WD-WXK2A61P4J09"}},
    {"bond", {"S0M4Y2P6", "S348374X7701463"}},
    {"odd-serial-sata", {"7A/B%s.C:4D 9E", "7A/B%s.C:4D9E", "_4D9E\""}},
};

class captured_machine : public on_machine, public testing::WithParamInterface<original> {
protected:
    captured_machine() { EXPECT_NE(::mkdtemp(scratch_.data()), nullptr); }
    ~captured_machine() override { fs::remove_all(scratch_); }

    void furnish() override { recording.furnish(machine); }
    void TearDown() override
    {
        recorded::replay_kernel("");
        on_machine::TearDown();
    }

    [[nodiscard]] outcome capture(texts words) const
    {
        texts command = recorded::with_kernel(RECORDED_KERNEL, folder);
        command.emplace_back(CAPTURE);
        command.insert(command.end(), words.begin(), words.end());
        return machine.run(command);
    }

    std::string new_directory() { return scratch_ + "/captured" + std::to_string(++count_); }

    // Captures into a new folder, which stays when the machine is gone.
    std::string captured(const texts &options = {})
    {
        const std::string directory = new_directory();
        texts words = {"--probe", build_folder() + "/tests/machines/probe", directory};
        words.insert(words.end(), options.begin(), options.end());
        const outcome result = capture(words);
        EXPECT_EQ(result.status, 0) << result.error;
        return directory;
    }

    void expect_no_serial_of(const std::string &unchanged, const std::string &changed) const
    {
        std::set<std::string> known = identifiers_in(unchanged);
        known.insert(GetParam().serials.begin(), GetParam().serials.end());
        EXPECT_GT(known.size(), GetParam().serials.size() + 2);
        for (const auto &[path, text] : everything_in(changed)) {
            for (const std::string &one : known) {
                EXPECT_FALSE(holds(path, one)) << path << " has " << one;
                EXPECT_FALSE(holds(text, one)) << path << " has " << one;
                EXPECT_FALSE(holds(text, without_separators(one))) << path << " has " << one;
            }
        }
    }

    // Digits stand in the place of digits, and letters of letters.
    void expect_other_serials_alone(const std::string &unchanged, const std::string &changed) const
    {
        const std::set<std::string> identifiers = identifiers_in(unchanged);
        const facts before = recorded_machine(unchanged).expected();
        const facts after = recorded_machine(changed).expected();
        ASSERT_EQ(after.size(), before.size());
        int different = 0;
        for (auto old = before.begin(), now = after.begin(); old != before.end(); ++old, ++now) {
            SCOPED_TRACE(old->first);
            EXPECT_EQ(shape(now->first), shape(old->first));
            EXPECT_EQ(shape(now->second), shape(old->second));
            const auto is_in = [&old](const std::string &one) { return holds(old->second, one); };
            const bool has_serial =
                std::any_of(GetParam().serials.begin(), GetParam().serials.end(), is_in) ||
                std::any_of(identifiers.begin(), identifiers.end(), is_in);
            EXPECT_EQ(now->second != old->second, has_serial) << old->second << now->second;
            different += has_serial ? 1 : 0;
        }
        EXPECT_GE(different, 4);
    }

    // What the library answers on another machine that is furnished from a folder.
    facts replayed(const std::string &captured_folder)
    {
        machine.stop();
        machine.start();
        const recorded_machine again(captured_folder);
        again.furnish(machine);
        facts answers;
        standard_error_of([&] {
            for (const auto &[query, answer] : again.expected())
                answers[query] = answer_to(query);
        });
        EXPECT_EQ(recorded_machine::unrecorded(machine), texts());
        return answers;
    }

    const std::string folder = std::string(MACHINES) + "/" + GetParam().name;
    const recorded_machine recording{folder};

private:
    std::string scratch_ = "/tmp/orvane-captured.XXXXXX";
    int count_ = 0;
};

std::string test_name(const testing::TestParamInfo<original> &info)
{
    std::string name = info.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

} // namespace

TEST_P(captured_machine, replays)
{
    const std::string directory = captured();
    const facts answers = recorded_machine(directory).expected();
    for (const auto &[query, answer] : recording.expected())
        EXPECT_EQ(answers.contains(query) ? answers.at(query) : "(none)", answer) << query;
    EXPECT_EQ(everything_in(captured()), everything_in(directory)) << "captured again";
    EXPECT_EQ(in_sysfs(everything_in(directory)), in_sysfs(everything_in(folder)));
    EXPECT_EQ(replayed(directory), answers);
}

TEST_P(captured_machine, replays_with_other_serial_numbers_where_they_are_replaced)
{
    const std::string unchanged = captured();
    const std::string changed = captured({"--replace-serials"});
    expect_no_serial_of(unchanged, changed);
    expect_other_serials_alone(unchanged, changed);
    EXPECT_EQ(replayed(changed), recorded_machine(changed).expected());
}

INSTANTIATE_TEST_SUITE_P(of, captured_machine, testing::ValuesIn(originals), test_name);

using any_captured_machine = captured_machine;
INSTANTIATE_TEST_SUITE_P(of, any_captured_machine, testing::Values(originals[0]), test_name);

TEST_P(any_captured_machine, is_not_captured_over_another)
{
    const std::string directory = new_directory();
    fs::create_directory(directory);
    const outcome result = capture({directory});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error, "capture-machine: " + directory + " is there already\n");
    EXPECT_TRUE(fs::is_empty(directory));
}

TEST_P(any_captured_machine, leaves_the_answers_to_the_author_without_a_probe)
{
    const std::string directory = new_directory();
    const outcome result = capture({directory});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.error.ends_with(
        "capture-machine: no --probe is given; the file 'expected' is left to you\n"))
        << result.error;
    EXPECT_FALSE(fs::exists(directory + "/expected"));
    EXPECT_TRUE(fs::exists(directory + "/tools/index"));
}

class machine_captured_by_an_ordinary_user : public captured_machine {};
const original recorded_by_a_user = {"ordinary-user", {}};
INSTANTIATE_TEST_SUITE_P(of, machine_captured_by_an_ordinary_user,
                         testing::Values(recorded_by_a_user), test_name);

TEST_P(machine_captured_by_an_ordinary_user, has_what_root_alone_may_read_without_its_content)
{
    const fs::path kernel = RECORDED_KERNEL;
    const fs::path script = CAPTURE;
    machine.show(kernel.parent_path(), "/opt/kernel");
    machine.show(script.parent_path(), "/opt/scripts");
    machine.show(folder, "/opt/recording");
    const std::string directory = machine.scratch("captured");
    texts command =
        recorded::with_kernel("/opt/kernel/" + kernel.filename().string(), "/opt/recording");
    command.insert(command.end(), {"/opt/scripts/" + script.filename().string(), directory});

    const outcome result = machine.run(command, recording.user());

    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(machine.content(directory + "/reasons"), "user 65534\n");
    EXPECT_EQ(machine.content(directory + "/modes"), machine.content(folder + "/modes"));
    EXPECT_EQ(in_sysfs(everything_in(directory)), in_sysfs(everything_in(folder)));
}
