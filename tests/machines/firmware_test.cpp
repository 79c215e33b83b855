// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Machines that differ in the texts of their firmware alone: what the kernel's files and dmidecode
// have of them, and the answers.
#include "fixture.h"

#include "orvane.h"
#include "queries.h"
#include "words.h"

#include <map>
#include <optional>

namespace {

// One of the two sources. A text that the firmware lacks is empty.
struct source {
    std::string manufacturer = "Acme";
    std::string product = "Anvil";
    std::string version = "5";
    std::string serial = "ABC-123";
    std::string sku = "0A1B";
    std::string family = "Example";
    std::optional<std::string> uuid = "4c4c4544-0042-3510-8052-b4c04f4d3132";
};

class firmware_machine : public on_machine {
protected:
    void furnish_files(const source &files)
    {
        const std::string folder = "/sys/devices/virtual/dmi/id";
        machine.file(folder + "/sys_vendor", files.manufacturer + "\n");
        machine.file(folder + "/product_name", files.product + "\n");
        machine.file(folder + "/product_version", files.version + "\n");
        machine.file(folder + "/product_serial", files.serial + "\n");
        machine.file(folder + "/product_sku", files.sku + "\n");
        machine.file(folder + "/product_family", files.family + "\n");
        if (files.uuid)
            machine.file(folder + "/product_uuid", *files.uuid + "\n");
        machine.link("/sys/class/dmi/id", "../../devices/virtual/dmi/id");
    }

    void furnish_dmidecode(const source &printed)
    {
        const std::string uuid = printed.uuid.value_or("Not Present");
        const texts lines = {"\tManufacturer: " + printed.manufacturer,
                             "\tProduct Name: " + printed.product,
                             "\tVersion: " + printed.version,
                             "\tSerial Number: " + printed.serial,
                             "\tUUID: " + uuid,
                             "\tWake-up Type: Power Switch",
                             "\tSKU Number: " + printed.sku,
                             "\tFamily: " + printed.family};
        std::string type1 = "# dmidecode 3.4\nGetting SMBIOS data from sysfs.\n"
                            "SMBIOS 2.8 present.\n\nHandle 0x0100, DMI type 1, 27 bytes\n"
                            "System Information\n";
        for (const std::string &line : lines)
            type1 += line + "\n";
        std::string script = "case \"$*\" in\n";
        for (const auto &[words, output] : std::map<std::string, std::string>{
                 {"-t 1", type1 + "\n"},
                 {"-s system-manufacturer", printed.manufacturer + "\n"},
                 {"-s system-uuid", uuid + "\n"}}) {
            const std::string file = machine.scratch(words.substr(words.find(' ') + 1));
            machine.file(file, output);
            script += "'" + words + "') exec cat " + file + " ;;\n";
        }
        machine.script("/usr/sbin/dmidecode", script + "*) exit 2 ;;\nesac");
    }
};

// Makers.

struct maker : named_case {
    std::string manufacturer;
    std::string exact;        // the class where the name is compared byte for byte,
    std::string without_case; // and where it is compared without regard to case and blanks
    bool is_lenovo = false;
};

const std::string none = "-1";

const maker makers[] = {
    {"Baixin", "Baixin", "TYPE_BAIXIN", none},
    {"Beijing_institute_with_more_words",
     "Beijing Institute of Computer Technology and Application Ltd", none, "TYPE_706SUO"},
    {"Dell_without_a_class", "Dell Inc.", none, none},
    {"Great_Wall", "Great Wall", none, "TYPE_GREATWALL"},
    {"Great_Wall_in_capitals", "GREAT  WALL TECHNOLOGY", none, "TYPE_GREATWALL"},
    {"Great_Wall_as_its_pattern", "greatwall", none, "TYPE_GREATWALL"},
    {"H3C_first_of_four_names", "H3C", "TYPE_ZIGUANG", none},
    {"UNIS_second_of_four_names", "UNIS", "TYPE_ZIGUANG", none},
    {"UNICOMPUTE_third_of_four_names", "UNICOMPUTE", "TYPE_ZIGUANG", none},
    {"LANXCBCOMPUTER_last_of_four_names", "LANXCBCOMPUTER", "TYPE_ZIGUANG", none},
    {"UNISYS_which_begins_with_another_name", "UNISYS", "TYPE_ZIGUANG", none},
    {"Haier", "Haier", "TYPE_HAIER", none},
    {"Huawei_whose_pattern_has_no_class", "Huawei", none, none},
    {"Huawei_in_capitals", "HUAWEI", "TYPE_HUAWEI", none},
    {"Inspur", "Inspur", none, "TYPE_INSPUR"},
    {"Inspur_in_capitals", "INSPUR", none, "TYPE_INSPUR"},
    {"KaiTian_of_Lenovo", "KaiTian Technology", "TYPE_LENOVO", none, true},
    {"Lenovo", "LENOVO", "TYPE_LENOVO", none, true},
    {"Lenovo_behind_a_blank", " LENOVO", none, none},
    {"Lenovo_in_mixed_letters", "Lenovo", none, none},
    {"Lenovo_in_small_letters", "lenovo", "TYPE_LENOVO", none},
    {"Lianshuo_with_the_word_behind", "LIANSHUO COMPUTER", "TYPE_LIANSHUO", none},
    {"Seewo", "seewo", "TYPE_SEEWO", none},
    {"Suma_for_Shuguang", "Suma", "TYPE_SHUGUANG", none},
    {"THTF_for_Tongfang", "THTF Computer", "TYPE_TONGFANG", none},
    {"Yunke_China_for_Kuntai", "yunke china", "TYPE_KUNTAI", none},
};

class machine_of_maker : public firmware_machine, public testing::WithParamInterface<maker> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(firmware, machine_of_maker, testing::ValuesIn(makers),
                         testing::PrintToStringParamName());

TEST_P(machine_of_maker, has_its_class)
{
    const source both{.manufacturer = GetParam().manufacturer};
    furnish_files(both);
    furnish_dmidecode(both);
    EXPECT_EQ(answer_to("orvane_get_vendor()"), recorded::quoted(GetParam().manufacturer));
    EXPECT_EQ(answer_to("maching_machine_type(generate_machine_whitelist(), false)"),
              GetParam().exact);
    EXPECT_EQ(answer_to("maching_machine_type(generate_machine_whitelist_ignore_case(), true)"),
              GetParam().without_case);
    EXPECT_EQ(answer_to("is_lenovo_machine()"), GetParam().is_lenovo ? "1" : "0");
}

// Texts.

namespace {

struct firmware : named_case {
    std::optional<source> files;
    std::optional<source> dmidecode;
    std::string vendor;
    std::string model;
    std::string uuid;
    std::string serial_of_file;
    std::string serial_of_dmidecode;
};

constexpr char usual_uuid[] = "\"4c4c4544-0042-3510-8052-b4c04f4d3132\"";

// The UUID in both sources, none of which is an answer.
firmware with_placeholder(const char *name, const std::optional<std::string> &file,
                          const std::string &dmidecode)
{
    return {name,          source{.uuid = file}, source{.uuid = dmidecode},
            "\"Acme\"",    "\"0A1B\"",           "NULL",
            "\"ABC-123\"", "\"ABC-123\""};
}

const firmware firmwares[] = {
    {"with_blanks_in_its_texts",
     source{.manufacturer = " Acme  Corporation ", .serial = " ABC 123 ", .sku = "0A 1B "},
     source{.manufacturer = " Acme  Corporation ", .serial = " ABC 123 ", .sku = "0A 1B "},
     "\" Acme  Corporation \"", "\"0A 1B \"", usual_uuid, "\" ABC 123 \"", "\" ABC 123 \""},
    {"without_texts", source{"", "", "", "", "", "", {}},
     source{"Not Specified", "Not Specified", "Not Specified", "   ", "Not Specified",
            "Not Specified", "Not Present"},
     "\"\"", "\"\"", "NULL", "\"\"", "\"   \""},
    {"without_texts_and_files",
     {},
     source{"Not Specified", "Not Specified", "Not Specified", "   ", "Not Specified",
            "Not Specified", "Not Present"},
     "\"Not\"",
     "\"Not\"",
     "NULL",
     "NULL",
     "\"   \""},
    {"with_other_characters",
     source{.manufacturer = "Soci\xc3\xa9t\xc3\xa9", .serial = "ABC: 123: 4"},
     source{.manufacturer = "Soci..t..", .serial = "ABC: 123: 4"}, "\"Soci\\xc3\\xa9t\\xc3\\xa9\"",
     "\"0A1B\"", usual_uuid, "\"ABC: 123: 4\"", "\"ABC\""},
    {"without_files",
     {},
     source{.version = "Mark 5 (2019)", .serial = "ABC 123", .family = "Example Series"},
     "\"Example\"",
     "\"Mark\"",
     usual_uuid,
     "NULL",
     "\"ABC 123\""},
    {"without_files_and_dmidecode", {}, {}, "NULL", "NULL", "NULL", "NULL", "NULL"},
    {"with_the_words_of_other_lines_in_its_name",
     {},
     source{.product = "Family Conversion Kit"},
     "\"Name:\"",
     "\"Name:\"",
     usual_uuid,
     "NULL",
     "\"ABC-123\""},
    // The kernel has no file for these two, and dmidecode prints words.
    with_placeholder("with_a_uuid_of_zeros", {}, "Not Settable"),
    with_placeholder("with_a_uuid_of_ones", {}, "Not Present"),
    with_placeholder("with_the_uuid_03000200", "03000200-0400-0500-0006-000700080009",
                     "03000200-0400-0500-0006-000700080009"),
    with_placeholder("with_the_uuid_12345678", "12345678-1234-5678-90ab-cddeefaabbcc",
                     "12345678-1234-5678-90ab-cddeefaabbcc"),
    with_placeholder("with_the_uuid_fefefefe", "fefefefe-fefe-fefe-fefe-fefefefefefe",
                     "FEFEFEFE-FEFE-FEFE-FEFE-FEFEFEFEFEFE"),
};

class machine_with_firmware : public firmware_machine,
                              public testing::WithParamInterface<firmware> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(firmware, machine_with_firmware, testing::ValuesIn(firmwares),
                         testing::PrintToStringParamName());

TEST_P(machine_with_firmware, has_these_answers)
{
    if (GetParam().files)
        furnish_files(*GetParam().files);
    if (GetParam().dmidecode)
        furnish_dmidecode(*GetParam().dmidecode);
    EXPECT_EQ(answer_to("orvane_get_vendor()"), GetParam().vendor);
    EXPECT_EQ(answer_to("orvane_get_model()"), GetParam().model);
    EXPECT_EQ(answer_to("orvane_get_system_uuid()"), GetParam().uuid);
    EXPECT_EQ(answer_to("get_service_tag_from_sysfs(\"/sys/class/dmi/id/product_serial\")"),
              GetParam().serial_of_file);
    EXPECT_EQ(answer_to("get_service_tag_from_dmidecode(\"/usr/sbin/dmidecode -t 1 |"
                        "grep -i 'Serial Number' | awk -F': ' '{print $2}'\")"),
              GetParam().serial_of_dmidecode);
}
