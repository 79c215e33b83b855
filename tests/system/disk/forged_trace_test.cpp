// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Labels, names and serial numbers that would be lines of the trace log, or commands to the
// terminal that shows it.
#include "disk_machine.h"

namespace {

const std::string forged = "2026-11-16 03:55:07.042 [1]: root_dev_name: /dev/evil.";

class forged_trace : public mapping_machine {};

} // namespace

TEST_F(forged_trace, is_not_made_by_a_label)
{
    const std::string device = "/dev/disk/by-label/a\n" + forged;
    machine.block_device(device);
    machine.file("/proc/mounts", "/dev/disk/by-label/a\\0122026-11-16\\04003:55:07.042\\040[1]:"
                                 "\\040root_dev_name:\\040/dev/evil. / ext4 rw 0 0\n");
    EXPECT_EQ(owned_text(root_device()).value(), device);
    expect_trace({"root_dev_name: /dev/disk/by-label/a\\x0a" + forged + "."});
}

TEST_F(forged_trace, is_not_made_by_what_lsblk_lists)
{
    depends_on("sda2");
    machine.tool(lsblk, R"({"blockdevices": [{"name": "/x\n/sda2", "model": "\u001b[2J",)"
                        R"( "serial": "S1\n)" +
                            forged + R"(\n\u009b31m"}]})");
    EXPECT_EQ(mapped_identity(), no_text);
    expect_trace(
        missing_node_trace("sda2") +
        texts{trace_line::listed_name("/x\\x0a/sda2", "sda2"),
              trace_line::listed_text("/x\\x0a/sda2", "S1\\x0a" + forged + "\\x0a\\xc2\\x9b31m"),
              trace_line::listed_text("/x\\x0a/sda2", "\\x1b[2J")} +
        refused_request_trace());
}

TEST_F(forged_trace, is_not_made_by_what_dmsetup_prints)
{
    depends_on("\x1b[2J");
    EXPECT_EQ(mapped_identity(), no_text);
    expect_trace(missing_node_trace("\\x1b[2J") + refused_request_trace());
}

TEST_F(forged_trace, is_not_made_by_the_model_of_an_nvme_disk)
{
    show_nvme_disk("nvme0n1", "\x1b[m\n", "");
    EXPECT_EQ(owned_text(harddisk_id_nvme_new("nvme0n1")).value(), "\x1b[m");
    expect_trace({trace_line::model_start("\\x1b[m")});
}
