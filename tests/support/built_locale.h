// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine.h"

#include <clocale>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

// The classes of characters as a test wants them, in the locale of the whole process. The
// characters are those of ISO 8859-1, and the definition is the inside of an LC_CTYPE section.
class built_locale {
public:
    built_locale(constructed_machine &machine, const std::string &name,
                 const std::string &definition)
    {
        const std::string source = machine.scratch(name + ".source");
        machine.file(source, "LC_CTYPE\n" + definition + "END LC_CTYPE\n");
        // It warns of the missing sections, for which -c makes it go on, and says so in its status.
        const auto built = machine.run(
            {"localedef", "-c", "-i", source, "-f", "ISO-8859-1", machine.scratch(name)});
        ::setenv("LOCPATH", machine.scratch("").c_str(), 1);
        EXPECT_NE(std::setlocale(LC_CTYPE, name.c_str()), nullptr) << built.error;
    }
    built_locale(const built_locale &) = delete;
    built_locale &operator=(const built_locale &) = delete;
    ~built_locale()
    {
        std::setlocale(LC_CTYPE, "C");
        ::unsetenv("LOCPATH");
    }
};
