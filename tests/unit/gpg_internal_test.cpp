// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integrity/gpg.h"

#include <gpgme.h>
#include <gtest/gtest.h>

TEST(gpg_internal, tells_nobody_that_there_is_nothing_to_hold_the_key)
{
    // GPGME makes no data objects before its version is asked for.
    EXPECT_EQ(orvane::import_builtin_key(nullptr), 0);
}

TEST(gpg_internal, tells_nobody_that_the_key_cannot_be_imported)
{
    ASSERT_NE(::gpgme_check_version(nullptr), nullptr);
    EXPECT_EQ(orvane::import_builtin_key(nullptr), 0);
}
