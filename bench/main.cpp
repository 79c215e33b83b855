// SPDX-License-Identifier: LGPL-2.1-or-later
#include "isolation.h"
#include "machine.h"
#include "ratio_reporter.h"
#include "rsa_samples.h"

#include <cstdio>
#include <exception>
#include <string>

#include <benchmark/benchmark.h>

namespace {

// An NVMe disk with the root file system on its second partition, for the library and for lsblk.
void add_root_disk(constructed_machine &machine)
{
    const std::string disk = "/sys/devices/pci0000:00/0000:00:01.0/nvme/nvme0/nvme0n1";
    machine.file(disk + "/device/model", "Fast SSD 500GB                          \n");
    machine.file(disk + "/device/serial", "S4EVNX0N123456      \n");
    machine.file(disk + "/dev", "259:0\n");
    machine.file(disk + "/size", "976773168\n");
    machine.link("/sys/block/nvme0n1", "../devices/pci0000:00/0000:00:01.0/nvme/nvme0/nvme0n1");
    machine.link("/sys/dev/block/259:0",
                 "../../devices/pci0000:00/0000:00:01.0/nvme/nvme0/nvme0n1");
    machine.block_device("/dev/nvme0n1", 259, 0);
    machine.block_device("/dev/nvme0n1p2", 259, 2);
    machine.file("/proc/mounts", "sysfs /sys sysfs rw 0 0\n/dev/nvme0n1p2 / ext4 rw 0 0\n");
}

// What sysfs shows of a hundred network cards on the PCI bus.
void add_network_cards(constructed_machine &machine)
{
    machine.link("/sys/bus/usb/devices/usb1", "../../../devices/pci0000:00/0000:00:14.0/usb1");
    machine.directory("/sys/devices/pci0000:00/0000:00:1f.6");
    for (int i = 0; i < 100; ++i)
        machine.link("/sys/class/net/eth" + std::to_string(i) + "/device",
                     "../../../devices/pci0000:00/0000:00:1f.6");
}

int run_benchmarks()
{
    if (const std::string reason = constructed_machine::unavailable(); !reason.empty()) {
        std::fprintf(stderr, "orvane_bench: %s\n", reason.c_str());
        return 1;
    }
    constructed_machine machine;
    machine.start();
    machine.file("/sys/devices/virtual/dmi/id/product_uuid",
                 "4c4c4544-0042-3510-8052-b4c04f4d3132\n", 0400);
    add_root_disk(machine);
    add_network_cards(machine);
    machine.file("/etc/orvane/public.pem", public_key_2048);
    // Both sides append to a log that is there.
    machine.directory("/var/log/orvane");

    ratio_reporter reporter({
        {"four_system_calls_with_write_signal_guard", "four_system_calls"},
        {"trace_line", "four_system_calls"},
        {"system_uuid_query", "open_read_close"},
        {"disk_identity_query", "lsblk_model_and_serial"},
        // The query writes one line.
        {"trace_line", "disk_identity_query"},
        // The share of the runs in the query.
        {"readlink_runs/1", "network_identity_query/1"},
        {"readlink_runs/10", "network_identity_query/10"},
        {"readlink_runs/100", "network_identity_query/100"},
        {"sha256_large", "openssl_sha256"},
        {"sha256_large", "sha256sum"},
        {"sha1_large", "openssl_sha1"},
        {"md5_large", "openssl_md5"},
        {"sha256_small", "open_read_sha256_close"},
        {"sha1_small", "open_read_sha1_close"},
        // The share of making and releasing the chain.
        {"encoding_chain", "encode_block/1024"},
        {"encode/1024", "encode_block/1024"},
        {"encode/4096", "encode_block/4096"},
        {"encode/65536", "encode_block/65536"},
        {"encode/1048576", "encode_block/1048576"},
        {"encode/67108864", "encode_block/67108864"},
        {"decode/16", "decoding_chain/16"},
        {"decode/1024", "decoding_chain/1024"},
        {"decode/65536", "decoding_chain/65536"},
        {"decode/1048576", "decoding_chain/1048576"},
        {"decode/67108864", "decoding_chain/67108864"},
        {"rsa_verify", "load_and_verify"},
        {"gpg_verification", "gpg_command"},
    });
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    // Looked up once, and not on the constructed machine.
    static_cast<void>(benchmark::CPUInfo::Get());
    try {
        return run_isolated(run_benchmarks);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "orvane_bench: %s\n", error.what());
        return 1;
    }
}
