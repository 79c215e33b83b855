// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Decoding base64 where memory cannot be had.
#include "tolerant_base64.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

class base64_without_memory : public tolerant_base64 {
protected:
    void furnish() override
    {
        interpose::BIO_free_all = [this](BIO *bio) {
            ++released_;
            interpose::BIO_free_all.real(bio);
        };
    }

    void expect_nothing_and_one_release() const
    {
        expect_nothing_of("TWFu", "Cleaned Base64 (4 chars): TWFu\n");
        EXPECT_EQ(released_, 1);
    }

private:
    int released_ = 0;
};

} // namespace

TEST_F(base64_without_memory, for_the_filter_is_nothing)
{
    interpose::BIO_new = [](const BIO_METHOD *) -> BIO * { return nullptr; };
    expect_nothing_and_one_release();
}

TEST_F(base64_without_memory, for_the_text_to_read_is_nothing)
{
    interpose::BIO_new_mem_buf = [](const void *, int) -> BIO * { return nullptr; };
    expect_nothing_and_one_release();
}

// The sanitizers need memory for themselves, as much again and more for every byte that is looked
// at, and end a process that has none left.
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)

namespace {

// The process has no more memory than what it uses, and this.
class scarce_memory {
public:
    scarce_memory(const constructed_machine &machine, std::size_t more)
    {
        ::malloc_trim(0); // what other tests have freed would be room beyond the limit
        std::size_t pages = 0;
        std::ifstream(machine.own_proc() + "/statm") >> pages;
        ::getrlimit(RLIMIT_AS, &before_);
        rlimit limit = before_;
        limit.rlim_cur = pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) + more;
        ::setrlimit(RLIMIT_AS, &limit);
    }
    scarce_memory(const scarce_memory &) = delete;
    scarce_memory &operator=(const scarce_memory &) = delete;
    ~scarce_memory() { ::setrlimit(RLIMIT_AS, &before_); }

private:
    rlimit before_ = {};
};

// So much that malloc() asks the kernel for each block, even where threads that ended have left it
// their 64 megabytes each.
constexpr std::size_t megabytes_88 = 88UL << 20U;

class base64_with_scarce_memory : public tolerant_base64 {
protected:
    [[nodiscard]] tolerant_decoding decode_within(std::size_t memory) const
    {
        tolerant_decoding found;
        found.output = standard_output_of([this, &found, memory] {
            const scarce_memory scarce(machine, memory);
            EXPECT_EQ(base64_decode_clean(text.c_str(), &found.size), nullptr);
        });
        return found;
    }

    const std::string text = std::string(megabytes_88, 'A');
};

} // namespace

TEST_F(base64_with_scarce_memory, for_the_text_is_nothing_and_not_printed)
{
    expect_untouched(decode_within(megabytes_88 / 2), "");
}

TEST_F(base64_with_scarce_memory, for_the_bytes_is_nothing_but_printed)
{
    expect_untouched(decode_within(megabytes_88 / 2 * 3),
                     "Cleaned Base64 (92274688 chars): " + text + "\n");
}

namespace {

// A text of blanks, one more than an int counts, in the memory of a few.
class endless_text {
public:
    endless_text()
    {
        const int blanks = ::memfd_create("blanks", MFD_CLOEXEC);
        const std::string block(block_bytes, ' ');
        if (::write(blanks, block.data(), block_bytes) != static_cast<ssize_t>(block_bytes))
            throw std::runtime_error("no room for blanks");
        // The page behind them is of zeros.
        text_ = static_cast<char *>(::mmap(nullptr, all_bytes, PROT_READ,
                                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        for (std::size_t at = 0; at < blank_bytes; at += block_bytes)
            ::mmap(text_ + at, block_bytes, PROT_READ, MAP_SHARED | MAP_FIXED, blanks, 0);
        ::close(blanks);
    }
    endless_text(const endless_text &) = delete;
    endless_text &operator=(const endless_text &) = delete;
    ~endless_text() { ::munmap(text_, all_bytes); }

    [[nodiscard]] const char *get() const { return text_; }

private:
    static constexpr std::size_t block_bytes = 1UL << 21U;
    static constexpr std::size_t blank_bytes = 1UL << 31U;
    static constexpr std::size_t all_bytes = blank_bytes + 4096;

    char *text_;
};

} // namespace

TEST_F(base64_without_memory, is_what_a_text_counts_for_that_an_int_cannot_count)
{
    const endless_text text;
    expect_untouched(decode(text.get()), "");
}

#endif
