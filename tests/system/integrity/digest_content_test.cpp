// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Digests of contents: the examples that the algorithms were published with, and what lies around
// the sizes in which files are read.
#include "fixture.h"
#include "orvane.h"

#include <cstddef>
#include <string>

namespace {

struct content : named_case {
    std::string piece; // repeated as often as the size asks for
    std::size_t size;
    const char *sha256;
    const char *sha1;
    const char *md5;
};

const std::string alphabet_line = "abcdefghijklmnopqrstuvwxyz\n";
const std::string every_byte = [] {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}();

const content contents[] = {
    {"nothing", "", 0, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
     "da39a3ee5e6b4b0d3255bfef95601890afd80709", "d41d8cd98f00b204e9800998ecf8427e"},
    {"a", "a", 1, "ca978112ca1bbdcafac231b39a23dc4da786eff8147c4e72b9807785afee48bb",
     "86f7e437faa5a7fce15d1ddcb9eaeaea377667b8", "0cc175b9c0f1b6a831c399e269772661"},
    {"abc", "abc", 3, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
     "a9993e364706816aba3e25717850c26c9cd0d89d", "900150983cd24fb0d6963f7d28e17f72"},
    {"448_bits", "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", 56,
     "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1",
     "84983e441c3bd26ebaae4aa1f95129e5e54670f1", "8215ef0796a20bcaaae116d3876c664a"},
    {"896_bits",
     "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmno"
     "ijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu",
     112, "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1",
     "a49b2446a02c645bf419f995b67091253a04a259", "03dd8807a93175fb062dfb55dc7d359c"},
    {"a_million_times_a", "a", 1000000,
     "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0",
     "34aa973cd4c4daa4f61eeb2bdbad27316534016f", "7707d6ae4e027c70eea2a935c2296f21"},
    {"every_byte", every_byte, 256,
     "40aff2e9d2d8922e47afd4648e6967497158785fbd1da870e7110266bf944880",
     "4916d6bdb7f78e6803698cab32d1586ea457dfc8", "e2c865db4162bed963bfaa9ef6ac18f0"},
    {"1023_bytes", alphabet_line, 1023,
     "5b30bd74307c6241955bc875b6bec5b2cf75121b4fc5d35191e70970d8153914",
     "9fe88e2fc1d72ece0880e836a48edea07b1f2d8f", "f84a4e28868b76315ec206129a523645"},
    {"1024_bytes", alphabet_line, 1024,
     "33a58289b6debe7c88f7b3309a5d76c4ab8ec2aa23441162df0069cca9f1e1e1",
     "36334112449b833ba86bf412e22f8a28e722c33e", "0f183537265971477d53ad8c4b9e915a"},
    {"1025_bytes", alphabet_line, 1025,
     "3976438612b1516a8348a56da99ed193196eb5542c0be712dcb5a6d22df13e26",
     "363714c761502607ee435f47bfa8f55dcd97033b", "5c8b94403e19f83b27ff46dc0279b41d"},
    {"16383_bytes", alphabet_line, 16383,
     "c2a64d6b6b39a7adbd3f4b3186669128a3a0c6379b33c176df4b85ab75fd04fa",
     "c0e31545d47741c6f37488c22ed194a41789be35", "9cf08d0f5b499f4eb487f86e6e358a7d"},
    {"16384_bytes", alphabet_line, 16384,
     "e89f1f8b340e7d4566266c40158162510c53b0085afb76b45581995e0b7ebd52",
     "3a6b2a61141f58907fbb962f16db91fd2bbbf474", "08b77fa59276f21a0015fa2406705896"},
    {"16385_bytes", alphabet_line, 16385,
     "92310df49a722b6e175096d046423eb6a266d0a571f8d56847f3dc9b8c06dcc8",
     "bd4883073da545ef800234834cb40ea0325eb218", "4f37e1573050effd805de1944ed410ea"},
    {"32768_bytes", alphabet_line, 32768,
     "d6d5db863dd0b13131d110efc59de333a5af27816f8673630b5d442910855029",
     "984c78c7d0f7dc0ac89d0e254358285aeb918243", "80988dcd349270442cd7c0c3cd204fc3"},
    {"1048577_bytes", alphabet_line, 1048577,
     "056b702285c3f895cbc06709c4e9e4ef7adfd134ac2338ace33d96afa0347bc1",
     "97587895536a31da1ad1db047c21ea0fc042efa5", "a824d93a8545629fd2f569a57f70e70d"},
};

class digest_of_content : public on_machine, public testing::WithParamInterface<content> {
protected:
    void furnish() override
    {
        std::string bytes;
        while (bytes.size() < GetParam().size)
            bytes += GetParam().piece;
        bytes.resize(GetParam().size);
        path = machine.scratch("content");
        machine.file(path, bytes);
    }

    std::string path;
};

} // namespace

TEST_P(digest_of_content, is_its_sha256)
{
    EXPECT_EQ(file_check_sha256(path.c_str(), GetParam().sha256), 1);
}

TEST_P(digest_of_content, is_its_sha1)
{
    EXPECT_EQ(file_check_sha1(path.c_str(), GetParam().sha1), 1);
}

TEST_P(digest_of_content, is_its_md5)
{
    EXPECT_EQ(file_check_md5(path.c_str(), GetParam().md5), 1);
}

INSTANTIATE_TEST_SUITE_P(of, digest_of_content, testing::ValuesIn(contents));

// The examples that MD5 was published with, beside those above.

namespace {

struct md5_example : named_case {
    std::string text;
    const char *digest;
};

class published_md5 : public on_machine, public testing::WithParamInterface<md5_example> {};

} // namespace

TEST_P(published_md5, is_found)
{
    const std::string path = machine.scratch("example");
    machine.file(path, GetParam().text);
    EXPECT_EQ(file_check_md5(path.c_str(), GetParam().digest), 1);
}

INSTANTIATE_TEST_SUITE_P(
    of, published_md5,
    testing::Values(md5_example{"a_phrase", "message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
                    md5_example{"the_alphabet", "abcdefghijklmnopqrstuvwxyz",
                                "c3fcd3d76192e4007dfb496cca67e13b"},
                    md5_example{"letters_and_digits",
                                "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
                                "d174ab98d277d9f5a5611c2c9f419d9f"},
                    md5_example{"digits",
                                "1234567890123456789012345678901234567890"
                                "1234567890123456789012345678901234567890",
                                "57edf4a22be3c955ac49da2e2107b67a"}));
