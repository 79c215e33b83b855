// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which word of dmidecode's System Information is the vendor and which the model.
#include "fixture.h"
#include "orvane.h"

#include <string>

namespace {

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
                                      "\tFamily: Sample Series 5\n"
                                      "\n";

struct picked_word : named_case {
    char *(*query)();
    std::string printed;
    std::string answer;
};

const picked_word picked_words[] = {
    {"vendor_is_the_family", orvane_get_vendor, system_information, "Sample"},
    {"vendor_in_any_case", orvane_get_vendor, "\tFAMILY: Loud\n", "Loud"},
    {"vendor_of_the_first_family", orvane_get_vendor, "\tFamily: One\n\tFamily: Two\n", "One"},
    {"vendor_of_a_line_that_merely_holds_the_word", orvane_get_vendor,
     "\tProduct subfamilyname here\n\tFamily: Example\n", "subfamilyname"},
    {"vendor_between_blanks_and_tabs", orvane_get_vendor, "  Family: \t  Wide \t gap\n", "Wide"},
    {"vendor_without_a_second_word", orvane_get_vendor, "\tFamily:\n", ""},
    {"vendor_before_a_carriage_return", orvane_get_vendor, "\tFamily: Example\r\n", "Example"},
    {"vendor_beyond_ascii", orvane_get_vendor, "\tFamily: M\xc3\xbcller\n", "M\xc3\xbcller"},
    {"vendor_of_5000_bytes", orvane_get_vendor, "Family: " + std::string(5000, 'v') + "\n",
     std::string(1023, 'v')},
    {"vendor_behind_a_line_of_5000_bytes", orvane_get_vendor,
     std::string(5000, '-') + "\n\tFamily: Example\n", "Example"},
    {"model_is_the_version", orvane_get_model, system_information, "Mark"},
    {"model_in_any_case", orvane_get_model, "\tversion: small\n", "small"},
    {"model_of_the_first_version", orvane_get_model, "\tVersion: 1\n\tVersion: 2\n", "1"},
    {"model_of_a_line_that_merely_holds_the_word", orvane_get_model,
     "# This conversion is recent\n\tVersion: Mark 2\n", "This"},
    {"model_without_a_second_word", orvane_get_model, "\tVersion:\n", ""},
};

class dmi_pipeline : public on_machine, public testing::WithParamInterface<picked_word> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, dmi_pipeline, testing::ValuesIn(picked_words));

TEST_P(dmi_pipeline, picks_the_second_word_of_the_first_line_with_the_label)
{
    machine.tool("/usr/sbin/dmidecode", GetParam().printed);
    EXPECT_EQ(owned_text(GetParam().query()).value(), GetParam().answer);
}
