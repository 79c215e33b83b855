// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Whether files have their digests, beside the tools that print digests, on a file that the page
// cache holds, and beside the calls that cannot be done without, on a small one.
#include "commands.h"
#include "orvane.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <openssl/sha.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// A file without a name, of as many bytes that are not all alike. Programs that are started open it
// by the path, too, and it is gone when this process is.
class filled_file {
public:
    explicit filled_file(std::size_t size) : fd_(::memfd_create("orvane-bench", MFD_CLOEXEC))
    {
        std::vector<unsigned char> block(std::size_t{1} << 20U);
        for (std::size_t i = 0; i < block.size(); ++i)
            block[i] = static_cast<unsigned char>(i * 2654435761U >> 11U);
        for (std::size_t left = size; left > 0;) {
            const ssize_t written = ::write(fd_, block.data(), std::min(left, block.size()));
            if (written <= 0)
                throw std::runtime_error("the benchmark has no memory for its file");
            left -= static_cast<std::size_t>(written);
        }
    }
    filled_file(const filled_file &) = delete;
    filled_file &operator=(const filled_file &) = delete;
    ~filled_file() { ::close(fd_); }

    [[nodiscard]] const char *path() const { return path_.c_str(); }

private:
    int fd_;
    std::string path_ = "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(fd_);
};

const filled_file &large_file()
{
    static const filled_file file(std::size_t{1} << 30U);
    return file;
}

const filled_file &small_file()
{
    static const filled_file file(4096);
    return file;
}

const std::string no_digest(64, 'x'); // the file is read all the same

template <auto Check> void check(benchmark::State &state, const filled_file &file)
{
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(Check(file.path(), no_digest.c_str()));
}

void sha256_large(benchmark::State &state)
{
    check<file_check_sha256>(state, large_file());
}
void sha1_large(benchmark::State &state)
{
    check<file_check_sha1>(state, large_file());
}
void md5_large(benchmark::State &state)
{
    check<file_check_md5>(state, large_file());
}
void sha256_small(benchmark::State &state)
{
    check<file_check_sha256>(state, small_file());
}
void sha1_small(benchmark::State &state)
{
    check<file_check_sha1>(state, small_file());
}

void openssl_sha256(benchmark::State &state)
{
    run_each_time(state, {"openssl", "dgst", "-sha256", large_file().path()});
}

void openssl_sha1(benchmark::State &state)
{
    run_each_time(state, {"openssl", "dgst", "-sha1", large_file().path()});
}

void openssl_md5(benchmark::State &state)
{
    run_each_time(state, {"openssl", "dgst", "-md5", large_file().path()});
}

void sha256sum(benchmark::State &state)
{
    run_each_time(state, {"sha256sum", large_file().path()});
}

template <auto Digest> void open_read_digest_close(benchmark::State &state)
{
    std::array<unsigned char, 4096> buffer;
    std::array<unsigned char, 32> digest;
    for ([[maybe_unused]] auto _ : state) {
        const int fd = ::open(small_file().path(), O_RDONLY);
        const ssize_t size = ::read(fd, buffer.data(), buffer.size());
        Digest(buffer.data(), static_cast<std::size_t>(size), digest.data());
        benchmark::DoNotOptimize(digest.data());
        ::close(fd);
    }
}

} // namespace

BENCHMARK(sha256_large)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(openssl_sha256)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(sha256sum)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(sha1_large)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(openssl_sha1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(md5_large)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(openssl_md5)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(sha256_small);
BENCHMARK(open_read_digest_close<SHA256>)->Name("open_read_sha256_close");
BENCHMARK(sha1_small);
BENCHMARK(open_read_digest_close<SHA1>)->Name("open_read_sha1_close");
