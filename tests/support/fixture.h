// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "cases.h"
#include "machine.h"
#include "process.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

#include <gtest/gtest.h>

// A text that the library handed over: released when the test is done with it.
struct free_text {
    void operator()(char *text) const noexcept { std::free(text); }
};
class owned_text {
public:
    explicit owned_text(char *text) : text_(text) {}

    [[nodiscard]] bool is_null() const { return text_ == nullptr; }
    [[nodiscard]] std::string value() const { return text_ ? text_.get() : "(no text)"; }

private:
    std::unique_ptr<char, free_text> text_;
};

// A test on a constructed machine. It fails also when the library leaves a descriptor open or
// closed that was not, or a child that nobody waited for.
class on_machine : public testing::Test {
protected:
    void SetUp() override
    {
        if (const std::string reason = constructed_machine::unavailable(); !reason.empty())
            GTEST_SKIP() << reason;
        become_usual_process();
        machine.start();
        furnish();
        descriptors_before_ = open_descriptors();
    }

    void TearDown() override
    {
        if (IsSkipped())
            return;
        EXPECT_EQ(open_descriptors(), descriptors_before_);
        EXPECT_FALSE(has_children());
        machine.stop();
    }

    // What the library has written to the trace log since the machine started. The line of the
    // caller is reported with a difference.
    void expect_trace(const texts &lines, const char *file = __builtin_FILE(),
                      int line = __builtin_LINE()) const
    {
        const testing::ScopedTrace place(file, line, "expect_trace()");
        EXPECT_EQ(machine.trace(), lines);
    }

    // What the machine of a test holds from the start.
    virtual void furnish() {}

    constructed_machine machine;

private:
    [[nodiscard]] std::set<std::string> open_descriptors() const
    {
        std::set<std::string> open;
        for (const auto &entry : std::filesystem::directory_iterator(machine.own_proc() + "/fd")) {
            std::error_code gone; // the iterator's own descriptor is among them
            const auto target = std::filesystem::read_symlink(entry.path(), gone).string();
            if (!target.ends_with("/fd"))
                open.insert(entry.path().filename().string() + " " + target);
        }
        return open;
    }

    std::set<std::string> descriptors_before_;
};
