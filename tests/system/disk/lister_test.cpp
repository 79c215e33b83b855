// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The block-device lister, asked for a mapped device's disk where dmsetup names no node.
#include "mapping_machine.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr char found[] =
    R"({"blockdevices": [{"name": "/dev/sda2", "serial": "S1", "model": "M1"}]})";

// dmsetup names sda2, which is no node.
class lister : public mapping_machine {
protected:
    void furnish() override
    {
        mapping_machine::furnish();
        depends_on("sda2");
    }

    // The lines that a query adds, which finds nothing, between those about the missing node and
    // those of the request to the mapped device itself.
    texts lines(const std::string &dependency = "sda2")
    {
        EXPECT_TRUE(asked().is_null());
        const texts before = missing_lines(dependency);
        const texts after = request_lines();
        const texts all = machine.trace();
        if (all.size() < before.size() + after.size() ||
            !std::equal(before.begin(), before.end(), all.begin()) ||
            !std::equal(after.begin(), after.end(), all.end() - 2))
            return joined({"not these lines around it:"}, all);
        return {all.begin() + 3, all.end() - 2};
    }
    texts lines_for(std::string_view listing)
    {
        machine.tool(lsblk, listing);
        return lines();
    }

    // The lines about names of which none is the disk's.
    static texts names(const texts &seen, const std::string &wanted = "sda2")
    {
        texts lines;
        for (const std::string &name : seen)
            lines.push_back("current name '" + name + "', dev_name '" + wanted + "'");
        return lines;
    }

    // The identity that a listing comes to. Without a probe it ends there.
    std::string identity_in(std::string_view listing)
    {
        machine.tool(lsblk, listing);
        probes_tell(1);
        return asked().value();
    }

    // The disk's entry with these values in JSON.
    static std::string entry(const std::string &serial, const std::string &model)
    {
        return R"({"blockdevices": [{"name": "/dev/sda2", "serial": )" + serial + R"(, "model": )" +
               model + "}]}";
    }

    // Every member of this name comes as a text that is none.
    static void lose_the_text_of(const char *lost)
    {
        interpose::cJSON_GetObjectItem = [lost](const cJSON *object, const char *key) {
            static cJSON textless = {};
            textless.type = cJSON_String;
            return std::strcmp(key, lost) == 0 ? &textless
                                               : interpose::cJSON_GetObjectItem.real(object, key);
        };
    }
};

const texts found_lines = {"current name '/dev/sda2', dev_name 'sda2'",
                           "Serial for device '/dev/sda2': S1",
                           "Serial for device '/dev/sda2': M1"};
const std::string no_text = "Serial for device '/dev/sda2' is not a string or is NULL.";

} // namespace

// The tool.

TEST_F(lister, is_not_asked_where_it_is_missing)
{
    record_calls();
    EXPECT_EQ(lines(), texts());
    EXPECT_EQ(texts(calls.end() - 2, calls.end()),
              (texts{"access /usr/bin/lsblk 5", "stat /dev/dm-0"}));
}

TEST_F(lister, is_not_asked_where_it_may_not_be_executed)
{
    machine.script(lsblk, "echo '" + std::string(found) + "'", 0644);
    EXPECT_EQ(lines(), texts());
}

TEST_F(lister, is_not_asked_where_the_real_user_may_not_read_it)
{
    machine.script(lsblk, "echo '" + std::string(found) + "'", 0711);
    machine.remove(dmsetup);
    const other_user user(0);
    EXPECT_EQ(lines("(null)"), texts());
}

TEST_F(lister, is_not_asked_where_the_real_user_may_not_execute_it)
{
    machine.script(lsblk, "echo '" + std::string(found) + "'", 0744);
    machine.remove(dmsetup);
    const other_user user(0);
    EXPECT_EQ(lines("(null)"), texts());
}

TEST_F(lister, is_not_asked_in_another_place)
{
    machine.tool("/usr/sbin/lsblk", found);
    EXPECT_EQ(lines(), texts());
}

TEST_F(lister, is_asked_after_the_tool_of_the_mapping_with_these_calls)
{
    machine.tool(lsblk, "{\"blockdevices\": []}\n");
    record_calls();
    EXPECT_EQ(lines(), texts());
    EXPECT_EQ(calls,
              (texts{"access /usr/sbin/dmsetup 5", "pipe", "fork", "close write end",
                     "read 1023 from read end", "close read end", "wait", "stat /dev/sda2",
                     "access /usr/bin/lsblk 5", "popen /usr/bin/lsblk -Jp -o name,serial,model r",
                     "fread 16383", "pclose", "parse {\"blockdevices\": []}\n", "print",
                     "stat /dev/dm-0"}));
}

TEST_F(lister, is_told_these_words)
{
    machine.tool(lsblk, found);
    EXPECT_EQ(lines(), found_lines);
    const auto runs = machine.runs(lsblk);
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].arguments, (texts{lsblk, "-Jp", "-o", "name,serial,model"}));
}

TEST_F(lister, is_not_asked_where_the_node_stands)
{
    machine.tool(lsblk, found);
    machine.block_device("/dev/sda2");
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.runs(lsblk).size(), 0U);
}

TEST_F(lister, is_given_up_where_it_cannot_be_started)
{
    machine.tool(lsblk, found);
    interpose::popen = [](const char *, const char *) -> std::FILE * {
        errno = EAGAIN;
        return nullptr;
    };
    EXPECT_EQ(lines(), texts());
}

TEST_F(lister, is_believed_when_it_fails)
{
    machine.script(lsblk, "echo '" + std::string(found) + "'; exit 32");
    EXPECT_EQ(lines(), found_lines);
}

TEST_F(lister, complains_on_standard_error_alone)
{
    machine.script(lsblk, "echo complaint >&2; echo '" + std::string(found) + "'");
    testing::internal::CaptureStdout();
    EXPECT_EQ(standard_error_of([this] { EXPECT_EQ(lines(), found_lines); }), "complaint\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// The listing.

namespace {

struct listing_lines : named_case {
    std::string listing;
    texts lines;
};

const std::string not_parsed = "Failed to parse JSON";
const std::string no_devices = "Key 'blockdevices' does not exist.";

const listing_lines listings[] = {
    {"nothing", "", {not_parsed}},
    {"blanks", " \n\t\n", {not_parsed}},
    {"garbage", "lsblk: unknown column: serial\n", {not_parsed}},
    {"half_a_listing", R"({"blockdevices": [{"name": "/dev/sda2")", {not_parsed}},
    {"a_zero_byte_first", std::string("\0{\"blockdevices\": []}", 21), {not_parsed}},
    {"an_empty_object", "{}", {no_devices}},
    {"another_key", R"({"devices": []})", {no_devices}},
    {"the_key_below_another", R"({"all": {"blockdevices": []}})", {no_devices}},
    {"an_array", "[]", {no_devices}},
    {"an_array_of_listings", "[" + std::string(found) + "]", {no_devices}},
    {"a_number", "5", {no_devices}},
    {"a_text", R"("blockdevices")", {no_devices}},
    {"a_null", "null", {no_devices}},
    {"no_device", R"({"blockdevices": []})", {}},
    {"a_null_for_devices", R"({"blockdevices": null})", {}},
    {"a_number_for_devices", R"({"blockdevices": 5})", {}},
    {"a_text_for_devices", R"({"blockdevices": "/dev/sda2"})", {}},
    {"an_empty_object_for_devices", R"({"blockdevices": {}})", {}},
    {"an_object_for_devices",
     R"({"blockdevices": {"a": {"name": "/dev/sda2", "serial": "S1", "model": "M1"}}})",
     found_lines},
    {"keys_in_another_case",
     R"({"BLOCKDEVICES": [{"Name": "/dev/sda2", "SERIAL": "S1", "moDel": "M1"}]})", found_lines},
    {"keys_in_another_order",
     R"({"blockdevices": [{"model": "M1", "serial": "S1", "name": "/dev/sda2"}]})", found_lines},
    {"more_behind_it", found + std::string("\ngarbage }{"), found_lines},
    {"more_behind_a_zero_byte", found + std::string(1, '\0') + "garbage", found_lines},
};

class listing : public lister, public testing::WithParamInterface<listing_lines> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, listing, testing::ValuesIn(listings));

TEST_P(listing, has_the_disk_or_not)
{
    EXPECT_EQ(lines_for(GetParam().listing), GetParam().lines);
}

TEST_F(lister, says_more_than_it_is_heard_in_a_megabyte)
{
    EXPECT_EQ(lines_for(found + std::string(1024 * 1024, ' ')), found_lines);
}

TEST_F(lister, is_not_heard_behind_a_megabyte)
{
    EXPECT_EQ(lines_for(std::string(1024 * 1024, ' ') + found), texts{not_parsed});
}

TEST_F(lister, is_heard_up_to_its_16383rd_character)
{
    EXPECT_EQ(lines_for(std::string(16383 - std::strlen(found), ' ') + found), found_lines);
}

TEST_F(lister, is_not_heard_at_its_16384th_character)
{
    EXPECT_EQ(lines_for(std::string(16384 - std::strlen(found), ' ') + found), texts{not_parsed});
}

TEST_F(lister, is_heard_in_whatever_parts_it_prints)
{
    machine.script(lsblk, R"(printf '{"blockdevices": '; printf '[{"name": "/dev/sda2", '
                             printf '"serial": "S1", "model": "M1"}'; printf ']}')");
    EXPECT_EQ(lines(), found_lines);
}

TEST_F(lister, is_not_believed_where_the_listing_cannot_be_written_out)
{
    interpose::cJSON_Print = [](const cJSON *) -> char * { return nullptr; };
    EXPECT_EQ(lines_for(found), texts{"Failed to print JSON"});
}

TEST_F(lister, is_not_believed_where_the_listing_without_devices_cannot_be_written_out)
{
    interpose::cJSON_Print = [](const cJSON *) -> char * { return nullptr; };
    EXPECT_EQ(lines_for("{}"), texts{"Failed to print JSON"});
}

// The disk among its devices.

namespace {

const listing_lines searches[] = {
    {"other_disks",
     R"({"blockdevices": [{"name": "/dev/sda"}, {"name": "/dev/sda22"}, {"name": "/dev/SDA2"},
                          {"name": "/dev/xsda2"}, {"name": "/dev/sda2/x"}, {"name": "sda2 "}]})",
     {"/dev/sda", "/dev/sda22", "/dev/SDA2", "/dev/xsda2", "/dev/sda2/x", "sda2 "}},
    {"the_disk_below_another",
     R"({"blockdevices": [{"name": "/dev/sda", "serial": "S1", "model": "M1",
                           "children": [{"name": "/dev/sda2", "serial": "S1", "model": "M1"}]}]})",
     {"/dev/sda"}},
    {"no_names",
     R"({"blockdevices": [{}, {"name": null}, {"name": 5}, {"name": true}, {"name": ["sda2"]},
                          {"name": {"name": "sda2"}}, 5, "sda2", null, ["sda2"], []]})",
     texts(11, "(null)")},
    {"percent_signs", R"({"blockdevices": [{"name": "/dev/%n%s%%"}]})", {"/dev/%n%s%%"}},
};

class search : public lister, public testing::WithParamInterface<listing_lines> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(among, search, testing::ValuesIn(searches));

TEST_P(search, tells_every_name_and_ends_without_the_disk)
{
    EXPECT_EQ(lines_for(GetParam().listing), names(GetParam().lines));
}

TEST_F(lister, has_the_disk_behind_others_and_none_behind_that)
{
    EXPECT_EQ(lines_for(R"({"blockdevices": [
        {"name": "/dev/sda", "serial": "S0", "model": "M0"},
        {"name": 5},
        {"name": "/dev/sda2", "serial": "S1", "model": "M1"},
        {"name": "/dev/sda2", "serial": "S2", "model": "M2"}]})"),
              joined(names({"/dev/sda", "(null)"}), found_lines));
}

TEST_F(lister, ends_at_the_first_match_whatever_it_lacks)
{
    EXPECT_EQ(lines_for(R"({"blockdevices": [
        {"name": "/dev/sda2", "model": "M1"},
        {"name": "/dev/sda2", "serial": "S2", "model": "M2"}]})"),
              joined(names({"/dev/sda2"}), {no_text}));
}

namespace {

class spelling : public lister, public testing::WithParamInterface<std::string> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(of_the_disk, spelling,
                         testing::Values("sda2", "/sda2", "/dev/mapper/sda2", "//sda2",
                                         "some where/sda2"));

TEST_P(spelling, matters_behind_the_last_slash_alone)
{
    EXPECT_EQ(lines_for(R"({"blockdevices": [{"name": ")" + GetParam() +
                        R"(", "serial": "S1", "model": "M1"}]})"),
              (texts{"current name '" + GetParam() + "', dev_name 'sda2'",
                     "Serial for device '" + GetParam() + "': S1",
                     "Serial for device '" + GetParam() + "': M1"}));
}

namespace {

class nameless : public lister, public testing::WithParamInterface<std::string> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(name, nameless, testing::Values("", "/", "/dev/", "/dev/sda2/"));

TEST_P(nameless, ends_the_search)
{
    EXPECT_EQ(lines_for(R"({"blockdevices": [
        {"name": "/dev/sda"}, {"name": ")" +
                        GetParam() + R"("},
        {"name": "/dev/sda2", "serial": "S1", "model": "M1"}]})"),
              joined(names({"/dev/sda", GetParam()}), {"get basename error"}));
}

TEST_F(lister, has_no_disk_for_no_name)
{
    machine.remove(dmsetup);
    machine.tool(lsblk, R"json({"blockdevices": [{"name": "/dev/(null)"}, {"name": "(null)"},
                                                 {"name": 5}]})json");
    EXPECT_EQ(lines("(null)"), names({"/dev/(null)", "(null)", "(null)"}, "(null)"));
}

TEST_F(lister, has_no_disk_for_several_names)
{
    machine.tool(dmsetup, "2 dependencies : (sdb1) (sda1)\n");
    machine.tool(lsblk, R"({"blockdevices": [{"name": "/dev/sdb1"}, {"name": "/dev/sda1"}]})");
    EXPECT_EQ(lines("sdb1sda1"), names({"/dev/sdb1", "/dev/sda1"}, "sdb1sda1"));
}

// Serial number and model.

namespace {

struct value_lines : named_case {
    std::string members;
    texts lines;
};

const std::string serial_told = "Serial for device '/dev/sda2': S1";

const value_lines values[] = {
    {"no_serial", R"("model": "M1")", {no_text}},
    {"a_null_serial", R"("serial": null, "model": "M1")", {no_text}},
    {"a_number_for_a_serial", R"("serial": 5, "model": "M1")", {no_text}},
    {"an_array_for_a_serial", R"("serial": ["S1"], "model": "M1")", {no_text}},
    {"no_model", R"("serial": "S1")", {serial_told, no_text}},
    {"a_null_model", R"("serial": "S1", "model": null)", {serial_told, no_text}},
    {"a_number_for_a_model", R"("serial": "S1", "model": 5)", {serial_told, no_text}},
    {"a_truth_for_a_model", R"("serial": "S1", "model": true)", {serial_told, no_text}},
    {"neither", R"("size": 5)", {no_text}},
    {"both", R"("serial": "S1", "model": "M1")", {serial_told, found_lines[2]}},
    {"empty_texts",
     R"("serial": "", "model": "")",
     {"Serial for device '/dev/sda2': ", "Serial for device '/dev/sda2': "}},
    {"texts_with_other_signs",
     R"("serial": " %n%s ", "model": "A\tB é ")",
     {"Serial for device '/dev/sda2':  %n%s ", "Serial for device '/dev/sda2': A\tB é "}},
};

class listed_values : public lister, public testing::WithParamInterface<value_lines> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(with, listed_values, testing::ValuesIn(values));

TEST_P(listed_values, are_told_as_they_come)
{
    EXPECT_EQ(lines_for(R"({"blockdevices": [{"name": "/dev/sda2", )" + GetParam().members + "}]}"),
              joined(names({"/dev/sda2"}), GetParam().lines));
}

TEST_F(lister, gives_no_identity_for_a_serial_without_text)
{
    lose_the_text_of("serial");
    EXPECT_EQ(lines_for(found), joined(names({"/dev/sda2"}), {"serial is NULL"}));
}

TEST_F(lister, gives_no_identity_for_a_model_without_text)
{
    lose_the_text_of("model");
    EXPECT_EQ(lines_for(found), joined(names({"/dev/sda2"}), {serial_told, "model is NULL"}));
}

TEST_F(lister, gives_no_identity_that_lacks_a_part)
{
    EXPECT_EQ(identity_in(entry("null", R"("M1")")), "(no text)");
    EXPECT_EQ(identity_in(entry(R"("S1")", "null")), "(no text)");
}

TEST_F(lister, gives_no_identity_that_cannot_be_kept)
{
    machine.tool(lsblk, found);
    record_calls();
    probes_tell(1);
    interpose::strdup = [](const char *text) -> char * {
        return std::strcmp(text, "M1_S1") == 0 ? nullptr : interpose::strdup.real(text);
    };
    EXPECT_EQ(lines(), found_lines);
    EXPECT_EQ(calls.back(), "stat /dev/dm-0");
}

// The identity.

namespace {

struct identity_case : named_case {
    std::string serial; // both in JSON
    std::string model;
    std::string identity;
};

std::string json(const std::string &text)
{
    return '"' + text + '"';
}
std::string many(std::size_t count, char sign)
{
    return std::string(count, sign);
}

const identity_case identities[] = {
    {"a_disk", json("Z1D5ABCD"), json("ST1000DM003-1CH162"), "ST1000DM003-1CH162_Z1D5ABCD"},
    {"single_spaces", json("S4 EV"), json("Samsung SSD 970"), "Samsung-SSD-970_S4-EV"},
    {"runs_of_blanks", json("S  1"), json("A \\t\\n B"), "A----B_S--1"},
    {"blanks_at_the_ends", json("  S "), json(" M\\n"), "-M-_--S-"},
    {"blanks_alone", json("  "), json(" "), "-_--"},
    {"empty_texts", json(""), json(""), "_"},
    {"an_empty_serial", json(""), json("M"), "M_"},
    {"an_empty_model", json("S"), json(""), "_S"},
    {"control_characters", json("S\\u0001\\u001f\\u007f"), json("\\b\\f\\r\\u000b"), "----_S---"},
    {"bytes_above_0x7f", json("\xc3\xbc"), json("M\x80\xff"), "M--_--"},
    {"every_other_sign", json("%n%s%%"), json("!#$&'()*+,-./:;<=>?@[]^_`{|}~"),
     "!#$&'()*+,-./:;<=>?@[]^_`{|}~_%n%s%%"},
    {"1022_bytes", json(many(511, 'S')), json(many(510, 'M')),
     many(510, 'M') + "_" + many(511, 'S')},
    {"1023_bytes", json(many(511, 'S')), json(many(511, 'M')),
     many(511, 'M') + "_" + many(511, 'S')},
    {"1024_bytes", json(many(512, 'S')), json(many(511, 'M')),
     many(511, 'M') + "_" + many(511, 'S')},
    {"a_model_of_1021_bytes", json("ST"), json(many(1021, 'M')), many(1021, 'M') + "_S"},
    {"a_model_of_1022_bytes", json("ST"), json(many(1022, 'M')), many(1022, 'M') + "_"},
    {"a_model_of_1023_bytes", json("ST"), json(many(1023, 'M')), many(1023, 'M')},
    {"a_model_of_1024_bytes", json("ST"), json(many(1024, 'M')), many(1023, 'M')},
    {"a_serial_of_1021_bytes", json(many(1021, 'S')), json("M"), "M_" + many(1021, 'S')},
    {"a_serial_of_1022_bytes", json(many(1022, 'S')), json("M"), "M_" + many(1021, 'S')},
    {"a_serial_of_5000_bytes", json(many(5000, 'S')), json(""), "_" + many(1022, 'S')},
    {"two_texts_of_5000_bytes", json(many(5000, 'S')), json(many(5000, ' ')), many(1023, '-')},
};

class listed_identity : public lister, public testing::WithParamInterface<identity_case> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, listed_identity, testing::ValuesIn(identities));

TEST_P(listed_identity, is_the_model_and_the_serial)
{
    EXPECT_EQ(identity_in(entry(GetParam().serial, GetParam().model)), GetParam().identity);
    EXPECT_EQ(calls, (texts{"probe " + GetParam().identity, "is whole?", "free probe"}));
}

// Closed standard descriptors.

using lister_without_standard_descriptors = mapping_without_standard_descriptors;

INSTANTIATE_TEST_SUITE_P(every_set, lister_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));

TEST_P(lister_without_standard_descriptors, is_heard_and_leaves_them_closed)
{
    depends_on("sda2");
    machine.tool(lsblk, found);
    probes_tell(1);
    EXPECT_EQ(answer(), "M1_S1");
    EXPECT_EQ(machine.trace(), joined(missing_lines("sda2"), found_lines));
}
