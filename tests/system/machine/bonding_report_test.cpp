// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What a bond's report tells, and what becomes of it where a call fails.
#include "bonding_machine.h"
#include "stream_of.h"

using namespace std::string_literals;

namespace {

class bonding_report : public bonding_machine {
protected:
    static void let_reports_be_read(const texts &pieces, int last_error = 0)
    {
        interpose::fopen = [=](const char *, const char *) {
            return stream_of(pieces, last_error);
        };
    }

    void report(const std::string &text) { bond("bond0", text); }
};

} // namespace

TEST_F(bonding_report, makes_a_record_of_each_slave)
{
    report("Slave Interface: ETH1\nPermanent HW addr: 00:1A:2B:3C:4D:5E\n"
           "Slave Interface: eth2\nPermanent HW addr: f4:8e:38:00:00:01\n");
    texts copied;
    interpose::strdup = [&copied](const char *text) {
        copied.emplace_back(text);
        return interpose::strdup.real(text);
    };
    EXPECT_EQ(answer(), "f4:8e:38:00:00:01");
    EXPECT_EQ(copied, (texts{"ETH1", "00:1a:2b:3c:4d:5e", "00:1a:2b:3c:4d:5e", "eth2",
                             "f4:8e:38:00:00:01", "f4:8e:38:00:00:01", "f4:8e:38:00:00:01"}));
}

TEST_F(bonding_report, is_lowered_whatever_the_locale_pairs)
{
    report("Slave Interface: eth1\nPermanent HW addr: IF:IA\n");
    interpose::tolower = [](int character) { return character == 'I' ? 0xfd : character | 0x20; };
    EXPECT_EQ(answer(), "if:ia");
}

TEST_F(bonding_report, is_ordered_by_its_bytes)
{
    report("Slave Interface: eth1\nPermanent HW addr: 99\n"
           "Slave Interface: eth2\nPermanent HW addr: \xff\n"
           "Slave Interface: eth3\nPermanent HW addr: a\n");
    EXPECT_EQ(answer(), "\xff");
}

// Where the answer is the one slave's address.

namespace {

struct told_address : named_case {
    std::string report;
    std::string address;
};

class bonding_report_with : public bonding_report,
                            public testing::WithParamInterface<told_address> {};

} // namespace

TEST_P(bonding_report_with, tells_the_address)
{
    report(GetParam().report);
    EXPECT_EQ(answer(), GetParam().address);
}

INSTANTIATE_TEST_SUITE_P(
    a_report, bonding_report_with,
    testing::Values(
        told_address{"no_final_newline", "Slave Interface: a\nPermanent HW addr: 1", "1"},
        told_address{"cr_lf", "Slave Interface: a\r\nPermanent HW addr: 1\r\n", "1"},
        told_address{"a_zero_byte", "Slave Interface: a\nPermanent HW addr: 1\0002\n"s, "1"},
        told_address{"bytes_beyond_ascii", "Slave Interface: \xff\nPermanent HW addr: \xc9\x80\n",
                     "\xc9\x80"},
        told_address{"other_blanks", "Slave\tInterface:a\nPermanent\v HW addr:\t1\n", "1"},
        told_address{"no_address", "Slave Interface: a\n", "(no text)"},
        told_address{"no_name", "Permanent HW addr: 1\n", "(no text)"},
        told_address{"an_empty_address", "Slave Interface: a\nPermanent HW addr: \n", "(no text)"},
        told_address{"an_empty_name", "Slave Interface: \nPermanent HW addr: 1\n", "(no text)"}));

namespace {

struct long_address : named_case {
    std::size_t length;
    std::size_t told;
};

class bonding_report_with_an_address : public bonding_report,
                                       public testing::WithParamInterface<long_address> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, bonding_report_with_an_address,
                         testing::Values(long_address{"of_126_characters", 126, 126},
                                         long_address{"of_127_characters", 127, 127},
                                         long_address{"of_128_characters", 128, 127},
                                         long_address{"of_1000_characters", 1000, 127},
                                         long_address{"of_5000_characters", 5000, 127}));

TEST_P(bonding_report_with_an_address, tells_its_first_127_characters)
{
    report("Slave Interface: a\nPermanent HW addr: " + std::string(GetParam().length, 'f') + "\n");
    EXPECT_EQ(answer(), std::string(GetParam().told, 'f'));
}

// What is read, or not.

TEST_F(bonding_report, is_read_on_after_signals)
{
    report("");
    let_reports_be_read(
        {"", "Slave Inter", "", "face: a\nPermanent", "", "", " HW addr: 1", "", "2\n", ""});
    EXPECT_EQ(answer(), "12");
}

TEST_F(bonding_report, counts_as_far_as_it_can_be_read)
{
    report("");
    let_reports_be_read({"Slave Interface: a\nPermanent HW addr: 1\nSlave Interface: b\n"
                         "Permanent HW addr: 2"},
                        EIO);
    EXPECT_EQ(answer(), "1");
}

TEST_F(bonding_report, that_cannot_be_read_tells_nothing)
{
    report("");
    let_reports_be_read({}, EIO);
    EXPECT_TRUE(asked().is_null());
}

TEST_F(bonding_report, that_cannot_be_opened_tells_nothing)
{
    report("Slave Interface: a\nPermanent HW addr: 1\n");
    interpose::fopen = [](const char *, const char *) -> std::FILE * {
        errno = EMFILE;
        return nullptr;
    };
    EXPECT_TRUE(asked().is_null());
}

namespace {

struct short_of_memory : named_case {
    int failing_copy;
    const char *answer;
};

class bonding_report_without_memory : public bonding_report,
                                      public testing::WithParamInterface<short_of_memory> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(for_its, bonding_report_without_memory,
                         testing::Values(short_of_memory{"first_name", 1, "1"},
                                         short_of_memory{"first_current_address", 2, "1"},
                                         short_of_memory{"first_permanent_address", 3, "1"},
                                         short_of_memory{"second_name", 4, "2"},
                                         short_of_memory{"second_current_address", 5, "2"},
                                         short_of_memory{"second_permanent_address", 6, "2"},
                                         short_of_memory{"answer", 7, "(no text)"}));

TEST_P(bonding_report_without_memory, drops_that_slave_or_the_answer)
{
    report("Slave Interface: b\nPermanent HW addr: 2\nSlave Interface: a\nPermanent HW addr: 1\n");
    int copies = 0;
    interpose::strdup = [&copies](const char *text) -> char * {
        return ++copies == GetParam().failing_copy ? nullptr : interpose::strdup.real(text);
    };
    EXPECT_EQ(answer(), GetParam().answer);
}
