// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Signatures: RSA beside loading the key and verifying alone, GPG beside gpg.
#include "commands.h"
#include "key_store.h"
#include "orvane.h"
#include "rsa_samples.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>

#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>

namespace {

constexpr char key_path[] = "/etc/orvane/public.pem"; // holds public_key_2048

void rsa_verify(benchmark::State &state)
{
    const silent_output silence;
    for ([[maybe_unused]] auto _ : state) {
        if (!verify_signature(sample_text, signature_2048))
            state.SkipWithError("the signature is refused");
    }
}

void load_and_verify(benchmark::State &state)
{
    int size = 0;
    const silent_output silence;
    const std::unique_ptr<unsigned char, void (*)(void *)> signature(
        base64_decode_clean(signature_2048, &size), std::free);
    for ([[maybe_unused]] auto _ : state) {
        std::FILE *const file = std::fopen(key_path, "r");
        RSA *const key = PEM_read_RSAPublicKey(file, nullptr, nullptr, nullptr);
        std::fclose(file);
        std::array<unsigned char, SHA256_DIGEST_LENGTH> digest;
        SHA256(reinterpret_cast<const unsigned char *>(sample_text), sizeof sample_text - 1,
               digest.data());
        benchmark::DoNotOptimize(RSA_verify(NID_sha256, digest.data(), digest.size(),
                                            signature.get(), static_cast<unsigned int>(size), key));
        RSA_free(key);
    }
}

// A file that the built-in key signed, and a user's key store that has the key's public half.
class signed_file {
public:
    signed_file()
    {
        const key_store signer;
        signer.gpg({"--import", PRIVATE_SIGNING_KEY});
        std::ofstream(path_ + ".txt") << "Channel: stable\n";
        signer.gpg({"--output", path_, "--sign", path_ + ".txt"});
        ::setenv("GNUPGHOME", user_.path().c_str(), 1);
        if (gpg_verify(path_.c_str(), nullptr, nullptr) != ORVANE_OK)
            throw std::runtime_error("gpg_verify() failed");
    }
    signed_file(const signed_file &) = delete;
    signed_file &operator=(const signed_file &) = delete;

    [[nodiscard]] const std::string &path() const { return path_; }

private:
    key_store user_;
    std::string path_ = user_.path() + "/signed";
};

const std::string &signed_path()
{
    static const signed_file file;
    return file.path();
}

void gpg_verification(benchmark::State &state)
{
    const std::string &path = signed_path();
    for ([[maybe_unused]] auto _ : state) {
        if (gpg_verify(path.c_str(), nullptr, nullptr) != ORVANE_OK)
            state.SkipWithError("the file is refused");
    }
}

void gpg_command(benchmark::State &state)
{
    run_each_time(state, {"gpg", "--quiet", "--batch", "--verify", signed_path()});
}

} // namespace

BENCHMARK(rsa_verify);
BENCHMARK(load_and_verify);
BENCHMARK(gpg_verification)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(gpg_command)->Unit(benchmark::kMillisecond)->UseRealTime();
