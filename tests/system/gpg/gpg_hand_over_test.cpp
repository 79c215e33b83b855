// SPDX-License-Identifier: LGPL-2.1-or-later
//
// How what GPGME gives out becomes the caller's.
#include "faked_gpgme.h"
#include "gpg_machine.h"

namespace {

struct routine : named_case {
    int (*call)(const char *, char **, unsigned int *);
};

// Verifying and encrypting hand over alike, but for short, long and terminated.
class gpg_hand_over : public gpg_machine {
protected:
    void furnish() override
    {
        gpg_machine::furnish();
        key_ = fingerprint();
        gpgme.find(key_.c_str());
    }

    // The calls that measure, rewind and read.
    [[nodiscard]] texts steps() const
    {
        texts steps;
        for (const std::string &call : gpgme.calls())
            if (call.starts_with("gpgme_data_seek ") || call.starts_with("gpgme_data_read "))
                steps.push_back(call.substr(11));
        return steps;
    }

    static handed_over verified() { return asked(gpg_verify, "/srv/signed"); }
    static handed_over encrypted() { return asked(gpg_encrypt, "text"); }

    faked_gpgme gpgme;

private:
    std::string key_;
};

class gpg_reading : public gpg_hand_over, public testing::WithParamInterface<routine> {
protected:
    static handed_over result() { return asked(GetParam().call, "argument"); }

    // The code of a caller who does not ask for the length; nothing is handed over to him.
    static int code_without_length()
    {
        char untouched = 'u';
        char *text = &untouched;
        const int code = GetParam().call("argument", &text, nullptr);
        EXPECT_EQ(text, nullptr);
        return code;
    }
};

const handed_over none_of_size_6 = {0, "(null)", 6};
const handed_over none_of_size_0 = {0, "(null)", 0};
const handed_over none_of_no_size = {0, "(null)", handed_over::no_length};

const texts sought = {"seek END output 0", "seek SET output 0"};

} // namespace

INSTANTIATE_TEST_SUITE_P(when, gpg_reading,
                         testing::Values(routine{"verifying", gpg_verify},
                                         routine{"encrypting", gpg_encrypt}));

TEST_P(gpg_reading, takes_what_comes_at_once)
{
    EXPECT_EQ(result(), (handed_over{0, "hello\n", 6}));
    EXPECT_EQ(steps(), sought + texts({"read output 6", "read output 0"}));
}

TEST_P(gpg_reading, puts_pieces_together)
{
    gpgme.pieces = {1, 3, 2};
    EXPECT_EQ(result(), (handed_over{0, "hello\n", 6}));
    EXPECT_EQ(steps(),
              sought + texts({"read output 6", "read output 5", "read output 2", "read output 0"}));
}

TEST_P(gpg_reading, begins_with_zeros)
{
    EXPECT_EQ(result().code, 0);
    EXPECT_EQ(gpgme.room_before_reading, std::string(6, '\0'));
}

TEST_P(gpg_reading, takes_every_byte)
{
    gpgme.output = std::string("\0\x01\x7f\x80\xff\0", 6);
    EXPECT_EQ(result(), (handed_over{0, std::string("\0\x01\x7f\x80\xff\0", 6), 6}));
}

TEST_P(gpg_reading, takes_4096_bytes)
{
    gpgme.output = std::string(4095, 'x') + "y";
    gpgme.pieces = {4095};
    EXPECT_EQ(result(), (handed_over{0, std::string(4095, 'x') + "y", 4096}));
    EXPECT_EQ(steps(), sought + texts({"read output 4096", "read output 1", "read output 0"}));
}

TEST_P(gpg_reading, gives_nothing_of_what_ends_early)
{
    gpgme.pieces = {3, 0};
    EXPECT_EQ(result(), none_of_size_0);
    EXPECT_EQ(steps(), sought + texts({"read output 6", "read output 3"}));
}

TEST_P(gpg_reading, gives_nothing_of_what_ends_one_byte_early)
{
    gpgme.pieces = {5, 0};
    EXPECT_EQ(result(), none_of_size_0);
}

TEST_P(gpg_reading, gives_nothing_of_what_ends_at_once)
{
    gpgme.pieces = {0};
    EXPECT_EQ(result(), none_of_size_0);
}

TEST_P(gpg_reading, gives_nothing_where_the_first_read_fails)
{
    gpgme.reads_fail_at_last = true;
    EXPECT_EQ(result(), none_of_size_6);
    EXPECT_EQ(steps(), sought + texts({"read output 6"}));
}

TEST_P(gpg_reading, gives_nothing_where_a_later_read_fails)
{
    gpgme.pieces = {4};
    gpgme.reads_fail_at_last = true;
    EXPECT_EQ(result(), none_of_size_6);
    EXPECT_EQ(steps(), sought + texts({"read output 6", "read output 2"}));
}

TEST_P(gpg_reading, gives_nothing_where_the_last_read_fails)
{
    gpgme.pieces = {6};
    gpgme.reads_fail_at_last = true;
    EXPECT_EQ(result(), none_of_size_6);
    EXPECT_EQ(steps(), sought + texts({"read output 6", "read output 0"}));
}

TEST_P(gpg_reading, gives_nothing_where_it_cannot_go_back)
{
    gpgme.failing = {"gpgme_data_seek SET"};
    EXPECT_EQ(result(), none_of_size_6);
    EXPECT_EQ(steps(), sought);
}

TEST_P(gpg_reading, gives_nothing_where_the_size_is_unknown)
{
    gpgme.failing = {"gpgme_data_seek END"};
    EXPECT_EQ(result(), none_of_no_size);
    EXPECT_EQ(steps(), texts{"seek END output 0"});
}

TEST_P(gpg_reading, need_not_tell_the_length_of_what_ends_early)
{
    gpgme.pieces = {3, 0};
    EXPECT_EQ(code_without_length(), 0);
}

TEST_P(gpg_reading, need_not_tell_the_length_where_a_read_fails)
{
    gpgme.reads_fail_at_last = true;
    EXPECT_EQ(code_without_length(), 0);
}

TEST_P(gpg_reading, need_not_tell_the_length_where_it_cannot_go_back)
{
    gpgme.failing = {"gpgme_data_seek SET"};
    EXPECT_EQ(code_without_length(), 0);
}

// Where the two differ.

TEST_F(gpg_hand_over, gives_content_of_no_bytes_as_a_block)
{
    gpgme.output.clear();
    EXPECT_EQ(verified(), (handed_over{0, "", 0}));
    EXPECT_EQ(steps(), sought + texts({"read output 0"}));
}

TEST_F(gpg_hand_over, does_not_read_content_of_4097_bytes)
{
    gpgme.output = std::string(4097, 'x');
    EXPECT_EQ(verified(), none_of_no_size);
    EXPECT_EQ(steps(), texts{"seek END output 0"});
}

TEST_F(gpg_hand_over, does_not_take_a_size_of_more_than_32_bits_for_a_small_one)
{
    gpgme.said_size = (off_t{1} << 32) + 6;
    EXPECT_EQ(verified(), none_of_no_size);
    EXPECT_EQ(steps(), texts{"seek END output 0"});
}

TEST_F(gpg_hand_over, gives_no_message_of_no_bytes)
{
    gpgme.output.clear();
    EXPECT_EQ(encrypted(), none_of_no_size);
    EXPECT_EQ(steps(), texts{"seek END output 0"});
}

TEST_F(gpg_hand_over, gives_a_message_of_any_size)
{
    gpgme.output = std::string(1048576, 'x') + "y";
    EXPECT_EQ(encrypted(), (handed_over{0, std::string(1048576, 'x') + "y", 1048577}));
}

TEST_F(gpg_hand_over, gives_a_terminated_message)
{
    gpgme.output = std::string(24, 'x'); // as many bytes as the smallest block has room for
    char *message = nullptr;
    unsigned int length = 0;
    EXPECT_EQ(gpg_encrypt("text", &message, &length), 0);
    EXPECT_EQ(length, 24U);
    EXPECT_EQ(owned_text(message).value(), std::string(24, 'x'));
}

TEST_F(gpg_hand_over, gives_no_message_without_memory_for_it)
{
    gpgme.said_size = (off_t{1} << 60) + 5;
    EXPECT_EQ(encrypted(), (handed_over{0, "(null)", 5})); // what an unsigned int holds of the size
    EXPECT_EQ(gpgme.calls().back(), "gpgme_release context");
}
