// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Names that would be lines of the trace log, or commands to the terminal that shows it.
#include "network_machine.h"
#include "trace_lines.h"

namespace {

using forged_trace = network_machine;

} // namespace

TEST_F(forged_trace, is_not_made_by_the_name_of_an_interface)
{
    plug({"en\n\x1b[2J", "02:00:00:00:00:01", "00:1a:2b:3c:4d:5e"}, usb_adapter);
    EXPECT_EQ(max_mac(), "(no text)");
    expect_trace({trace_line::found("en\\x0a\\x1b[2J"), trace_line::on_usb_bus("en\\x0a\\x1b[2J")});
}
