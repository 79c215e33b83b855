// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integrity/gpg.h"

#include <gtest/gtest.h>

TEST(gpg_internal, tells_nobody_that_the_key_cannot_be_imported)
{
    EXPECT_EQ(orvane::import_builtin_key(nullptr), 0);
}
