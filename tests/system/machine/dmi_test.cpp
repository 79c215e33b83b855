// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the pipelines pick, and what every query of the firmware's description promises.
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <csignal>
#include <filesystem>
#include <string>
#include <tuple>

namespace {

constexpr char dmidecode[] = "/usr/sbin/dmidecode";

constexpr char system_information[] = "# dmidecode 3.4\n"
                                      "Getting SMBIOS data from sysfs.\n"
                                      "\n"
                                      "Handle 0x0001, DMI type 1, 27 bytes\n"
                                      "System Information\n"
                                      "\tManufacturer: Example Inc.\n"
                                      "\tProduct Name: Box\n"
                                      "\tVersion: Mark 2\n"
                                      "\tSerial Number: ABC 123\n"
                                      "\tSKU Number: SKU0001\n"
                                      "\tFamily: Example Series 5\n"
                                      "\n";

// The shell commands of a dmidecode that knows all of one machine.
std::string whole_dmidecode()
{
    return "case $2 in\n"
           "1) cat <<'END'\n" +
           std::string(system_information) +
           "END\n"
           ";;\n"
           "system-uuid) echo 4c4c4544-0042-3510-8051-b4c04f4d3132 ;;\n"
           "esac";
}

} // namespace

// What the pipelines of vendor and model pick.

namespace {

struct picked_word : named_case {
    char *(*ask)();
    std::string printed;
    std::string answer;
};

const picked_word picked_words[] = {
    {"vendor_is_the_family_not_the_manufacturer", orvane_get_vendor, system_information, "Example"},
    {"vendor_in_any_case", orvane_get_vendor, "\tFAMILY: Loud\n", "Loud"},
    {"vendor_of_the_first_family", orvane_get_vendor, "\tFamily: One\n\tFamily: Two\n", "One"},
    {"vendor_of_a_line_that_merely_holds_the_word", orvane_get_vendor,
     "\tProduct subfamilyname here\n\tFamily: Example\n", "subfamilyname"},
    {"vendor_between_blanks_and_tabs", orvane_get_vendor, "  Family: \t  Wide \t gap\n", "Wide"},
    {"vendor_without_a_second_word", orvane_get_vendor, "\tFamily:\n", ""},
    {"vendor_before_a_carriage_return", orvane_get_vendor, "\tFamily: Example\r\n", "Example"},
    {"vendor_of_other_bytes", orvane_get_vendor, "\tFamily: M\xc3\xbcller\n", "M\xc3\xbcller"},
    {"vendor_of_1022_bytes", orvane_get_vendor, "Family: " + std::string(1022, 'v') + "\n",
     std::string(1022, 'v')},
    {"vendor_of_1023_bytes", orvane_get_vendor, "Family: " + std::string(1023, 'v') + "\n",
     std::string(1023, 'v')},
    {"vendor_of_1024_bytes", orvane_get_vendor, "Family: " + std::string(1024, 'v') + "\n",
     std::string(1023, 'v')},
    {"vendor_of_5000_bytes", orvane_get_vendor, "Family: " + std::string(5000, 'v') + "\n",
     std::string(1023, 'v')},
    {"vendor_behind_a_line_of_5000_bytes", orvane_get_vendor,
     std::string(5000, '-') + "\n\tFamily: Example\n", "Example"},
    {"vendor_without_a_final_newline", orvane_get_vendor, "\tFamily: Example", "Example"},
    {"model_is_the_version", orvane_get_model, system_information, "Mark"},
    {"model_in_any_case", orvane_get_model, "\tversion: small\n", "small"},
    {"model_of_the_first_version", orvane_get_model, "\tVersion: 1\n\tVersion: 2\n", "1"},
    {"model_of_a_line_that_merely_holds_the_word", orvane_get_model,
     "# This conversion is recent\n\tVersion: Mark 2\n", "This"},
    {"model_without_a_second_word", orvane_get_model, "\tVersion:\n", ""},
};

class dmi_pipeline : public on_machine, public testing::WithParamInterface<picked_word> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, dmi_pipeline, testing::ValuesIn(picked_words));

TEST_P(dmi_pipeline, picks)
{
    machine.tool(dmidecode, GetParam().printed);
    const owned_text told(GetParam().ask());
    EXPECT_FALSE(told.is_null());
    EXPECT_EQ(told.value(), GetParam().answer);
}

// What every one of the queries promises.

namespace {

struct answered_call : named_case {
    char *(*ask)();
    const char *answer;
};

const answered_call answered_calls[] = {
    {"vendor", orvane_get_vendor, "Example"},
    {"model", orvane_get_model, "SKU0001"},
    {"system_uuid", orvane_get_system_uuid, "4c4c4544-0042-3510-8051-b4c04f4d3132"},
    {"file_reader", [] { return get_machine_info_from_sysfs("/sys/class/dmi/id/product_sku"); },
     "SKU0001"},
    {"command_reader", [] { return get_machine_info_from_dmidecode("/usr/sbin/dmidecode -t 1"); },
     "# dmidecode 3.4"},
    {"oem_info", hw_oem_info, "ABC 123_FLASH01_0123abcd"},
};

// A machine that answers all of them: the model from its file, the others with the tool's help.
template <class Parameter>
class known_machine : public on_machine, public testing::WithParamInterface<Parameter> {
protected:
    void furnish() override
    {
        machine.script(dmidecode, whole_dmidecode());
        machine.file("/sys/class/dmi/id/product_sku", "SKU0001\n");
        machine.file("/proc/bootdevice/product_name", "FLASH01\n");
        machine.file("/proc/bootdevice/cid", "0123abcd\n");
    }
};

class every_dmi_query : public known_machine<answered_call> {
protected:
    [[nodiscard]] static owned_text asked() { return owned_text(GetParam().ask()); }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, every_dmi_query, testing::ValuesIn(answered_calls));

TEST_P(every_dmi_query, gives_each_caller_a_text_of_its_own)
{
    char *const first = GetParam().ask();
    char *const second = GetParam().ask();
    EXPECT_NE(first, second);
    EXPECT_EQ(owned_text(first).value(), GetParam().answer);
    EXPECT_EQ(owned_text(second).value(), GetParam().answer);
}

TEST_P(every_dmi_query, has_no_answer_without_memory)
{
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_TRUE(asked().is_null());
}

TEST_P(every_dmi_query, writes_neither_to_the_trace_log_nor_to_standard_error)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(asked().value(), GetParam().answer); }), "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_P(every_dmi_query, says_nothing_about_a_machine_without_sources)
{
    for (const char *const gone : {dmidecode, "/sys/class/dmi", "/proc/bootdevice"})
        machine.remove(gone);
    EXPECT_EQ(standard_error_of([] { EXPECT_TRUE(asked().is_null()); }), "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_P(every_dmi_query, works_where_the_caller_ignores_its_children)
{
    ASSERT_NE(::signal(SIGCHLD, SIG_IGN), SIG_ERR);
    EXPECT_EQ(asked().value(), GetParam().answer);
    ASSERT_NE(::signal(SIGCHLD, SIG_DFL), SIG_ERR);
}

namespace {

class dmi_query_without_standard_descriptors
    : public known_machine<std::tuple<answered_call, std::vector<int>>> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, dmi_query_without_standard_descriptors,
                         testing::Combine(testing::ValuesIn(answered_calls),
                                          testing::ValuesIn(every_set_of_standard_descriptors())));

TEST_P(dmi_query_without_standard_descriptors, works_and_leaves_them_closed)
{
    const auto &[call, closed] = GetParam();
    std::string answer;
    EXPECT_EQ(left_open(closed, [&answer, ask = call.ask] { answer = owned_text(ask()).value(); }),
              std::vector<int>{});
    EXPECT_EQ(answer, call.answer);
}
