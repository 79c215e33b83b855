// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the kernel's answers about one interface make of its addresses.
#include "network_machine.h"
#include "trace_lines.h"

#include <cerrno>
#include <optional>
#include <string>

namespace {

using mac_address = network_machine;

constexpr char current[] = "02:00:00:00:00:01";
constexpr char permanent[] = "00:1a:2b:3c:4d:5e";

class mac_address_text : public network_machine,
                         public testing::WithParamInterface<const char *> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, mac_address_text,
                         testing::Values("00:00:00:00:00:00", "00:01:02:03:04:05",
                                         "ab:cd:ef:fe:dc:ba", "0a:b0:0c:d0:0e:f0",
                                         "7f:80:81:ff:7f:80", "ff:ff:ff:ff:ff:ff",
                                         "20:09:0a:0d:25:73"));

TEST_P(mac_address_text, is_six_lower_case_pairs_of_digits)
{
    plug({"eth0", current, GetParam()});
    EXPECT_EQ(max_mac(), GetParam());
    kernel.entries.clear();
    plug({"eth0", GetParam(), permanent});
    EXPECT_EQ(max_mac(), permanent);
    expect_trace({trace_line::found("eth0"), trace_line::addresses(current, GetParam()),
                  trace_line::found("eth0"), trace_line::addresses(GetParam(), permanent)});
}

// Answers that the kernel refuses.

namespace {

struct refusal : named_case {
    network_card card;
    std::string answer;
    texts trace;
};

const refusal refusals[] = {
    {"of_the_current_address", {"eth0", "", permanent}, "(no text)", {trace_line::found("eth0")}},
    {"of_the_permanent_address_by_the_driver",
     {"eth0", current, std::nullopt},
     "00:00:00:00:00:00",
     {trace_line::found("eth0"), trace_line::permanent_address_unreadable,
      trace_line::addresses(current, "00:00:00:00:00:00")}},
    {"of_an_interface_that_is_gone_meanwhile",
     {"eth0", current, permanent, 1, ENODEV},
     current,
     {trace_line::found("eth0"), trace_line::interface_gone("No such device"),
      trace_line::no_permanent_address, trace_line::addresses(current, current)}},
    {"of_an_interface_for_another_reason",
     {"eth0", current, permanent, 1, EPERM},
     current,
     {trace_line::found("eth0"), trace_line::interface_gone("Operation not permitted"),
      trace_line::no_permanent_address, trace_line::addresses(current, current)}},
};

class mac_address_after_a_refusal : public network_machine,
                                    public testing::WithParamInterface<refusal> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, mac_address_after_a_refusal, testing::ValuesIn(refusals));

TEST_P(mac_address_after_a_refusal, is_what_is_left)
{
    plug(GetParam().card);
    EXPECT_EQ(max_mac(), GetParam().answer);
    expect_trace(GetParam().trace);
}

// The name by which the kernel is queried.

namespace {

class mac_address_of : public network_machine, public testing::WithParamInterface<const char *> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, mac_address_of,
                         testing::Values("em1", "enp0s20f0u10u1", "enx001a2b3c4d5e",
                                         "enx001a2b3c4d5ef", "enx001a2b3c4d5eff", "en%s%n%d",
                                         "en\xc3\xa9\xff\x80", "en;$(x)`y`&|*\""));

TEST_P(mac_address_of, an_interface_is_queried_by_at_most_15_characters_and_traced_by_all)
{
    plug({GetParam(), current, permanent});
    EXPECT_EQ(max_mac(), permanent);
    expect_trace({trace_line::found(GetParam()), trace_line::addresses(current, permanent)});
}
