// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the locale that the GPG functions choose for the whole process does to other answers.
#include "built_locale.h"
#include "gpg_machine.h"

#include <clocale>
#include <string>

namespace {

class disk_beside_gpg : public on_machine {
protected:
    void furnish() override
    {
        machine.block_device("/dev/nvme0n1p2");
        machine.file("/sys/block/nvme0n1/device/model", "MODEL\n");
        machine.file("/sys/block/nvme0n1/device/serial", "S\xe9"
                                                         "1\n");
    }
    void TearDown() override
    {
        std::setlocale(LC_ALL, "C");
        on_machine::TearDown();
    }

    static std::string identity() { return owned_text(harddisk_id("/dev/nvme0n1p2")).value(); }
};

} // namespace

TEST_F(disk_beside_gpg, has_another_identity_in_the_locale_that_verifying_leaves)
{
    const built_locale built(machine, "letters",
                             "alpha <U0041>..<U005A>;<U0061>..<U007A>;<U00E9>\n");
    std::setlocale(LC_ALL, "C");
    ::setenv("LC_ALL", "letters", 1);
    EXPECT_EQ(identity(), "MODEL_S-1");
    EXPECT_EQ(gpg_verify("/srv/missing", nullptr, nullptr), ORVANE_GPG_FILE_UNREADABLE);
    EXPECT_EQ(identity(), "MODEL_S\xe9"
                          "1");
}

TEST_F(disk_beside_gpg, keeps_its_identity_where_the_caller_restores_the_locale)
{
    ::setenv("LC_ALL", "C.UTF-8", 1);
    EXPECT_EQ(gpg_verify("/srv/missing", nullptr, nullptr), ORVANE_GPG_FILE_UNREADABLE);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(identity(), "MODEL_S-1");
}
