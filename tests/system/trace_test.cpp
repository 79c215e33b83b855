// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <string>
#include <vector>

using trace_log = on_machine;

TEST_F(trace_log, takes_one_line_for_each_call)
{
    EXPECT_EQ(orvane_trace("first %d", 1), 1);
    EXPECT_EQ(orvane_trace("second"), 1);
    EXPECT_EQ(machine.trace(), (std::vector<std::string>{"first 1", "second"}));
}
