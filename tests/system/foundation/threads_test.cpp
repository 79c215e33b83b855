// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "glib_owners.h"
#include "interpose.h"
#include "orvane.h"
#include "rsa_samples.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <latch>
#include <memory>
#include <ostream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <glib.h>
#include <openssl/rsa.h>
#include <unistd.h>

namespace {

constexpr int threads = 8;

// Runs the action in many threads at once, each with a number of its own.
void at_once(const std::function<void(int)> &action)
{
    std::latch start(threads);
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread) {
        running.emplace_back([&start, &action, thread] {
            start.arrive_and_wait();
            action(thread);
        });
    }
    for (std::thread &thread : running)
        thread.join();
}

// "0 of 0", "1 of 0", ... : every line of every thread, in the order of the threads.
texts every_line(int lines_of_each)
{
    texts lines;
    for (int thread = 0; thread < threads; ++thread) {
        for (int line = 0; line < lines_of_each; ++line)
            lines.push_back(std::to_string(line) + " of " + std::to_string(thread));
    }
    return lines;
}

// The same for lines as they were written: those of one thread stay in their order.
texts by_thread(texts lines)
{
    std::stable_sort(
        lines.begin(), lines.end(),
        [](const std::string &one, const std::string &two) { return one.back() < two.back(); });
    return lines;
}

// What the form finds in each line of the log; all of the line where it does not have the form.
texts messages(const std::string &log, const std::regex &form)
{
    texts found;
    std::istringstream stream(log);
    for (std::string line; std::getline(stream, line);) {
        std::smatch parts;
        found.push_back(std::regex_match(line, parts, form) ? parts[1].str() : line);
    }
    return found;
}

std::string text_or_none(char *text)
{
    return owned_text(text).value();
}

} // namespace

using many_threads = on_machine;

// So many lines that threads meet in the stamp.
TEST_F(many_threads, have_whole_lines_in_the_trace_log)
{
    constexpr int lines = 2000;
    at_once([](int thread) {
        for (int line = 0; line < lines; ++line)
            orvane_trace("%d of %d", line, thread);
    });
    EXPECT_EQ(by_thread(machine.trace()), every_line(lines));
}

TEST_F(many_threads, keep_their_own_errno_while_tracing)
{
    std::vector<int> after(threads);
    at_once([&after](int thread) {
        errno = thread + 1;
        for (int line = 0; line < 20; ++line)
            orvane_trace("message");
        after[static_cast<std::size_t>(thread)] = errno;
    });
    EXPECT_EQ(after, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST_F(many_threads, may_make_the_trace_directory_together)
{
    std::vector<int> results(threads);
    at_once([&results](int thread) {
        results[static_cast<std::size_t>(thread)] = orvane_logger_env_init();
    });
    EXPECT_EQ(results, std::vector<int>(threads, 1));
    EXPECT_TRUE(std::filesystem::is_directory("/var/log/orvane"));
}

TEST_F(many_threads, have_whole_lines_in_an_event_log)
{
    constexpr int lines = 200;
    const std::string log = machine.scratch("events");
    at_once([&log](int thread) {
        for (int line = 0; line < lines; ++line) {
            const std::string text = std::to_string(line) + " of " + std::to_string(thread);
            log_write(log.c_str(), text.c_str(), "II", 1);
        }
    });
    const std::regex form(R"(\(II\) Time: \d{4}-\d\d-\d\d \d\d:\d\d:\d\d\t\tMessage: (\d+ of \d))");
    EXPECT_EQ(by_thread(messages(machine.content(log), form)), every_line(lines));
}

TEST_F(many_threads, clean_their_own_texts)
{
    texts cleaned(threads);
    at_once([&cleaned](int thread) {
        for (int time = 0; time < 100; ++time) {
            std::string text = "ST1000 (Rev\tA)\n";
            toLowerCase(text.data());
            removeSpaces(text.data());
            removeSpacesTabs(text.data());
            removeSpecialChar(text.data());
            std::string range = {'a', '\0', 'b'};
            remove_null_chars(range.data(), 3);
            cleaned[static_cast<std::size_t>(thread)] = text.c_str() + range;
        }
    });
    EXPECT_EQ(cleaned, texts(threads, "st1000revaabb"));
}

namespace {

// The bytes after encoding, escaping for a URL, and all the way back.
std::string there_and_back(const std::string &bytes)
{
    const std::size_t text_size = 4 * ((bytes.size() + 2) / 3);
    std::string text(text_size, '\0');
    unsigned int length = 0;
    int codes = base64_encode(bytes.data(), static_cast<int>(bytes.size()), text.data(), &length);
    std::string url(3 * text_size + 1, '\0');
    codes |= transform_to_url(text.c_str(), length, url.data(), &length);
    codes |= transform_from_url(url.c_str(), length, text.data(), &length);
    std::string decoded(text_size, '\0');
    codes |= base64_decode(text.c_str(), static_cast<int>(length), decoded.data(), &length);
    return codes == ORVANE_OK ? decoded.substr(0, length) : "failed";
}

} // namespace

TEST_F(many_threads, code_their_own_bytes)
{
    std::vector<int> unchanged(threads);
    at_once([&unchanged](int thread) {
        for (std::size_t size = 1; size <= 100; ++size) {
            const std::string bytes(size, static_cast<char>(0xf8 + thread));
            unchanged[static_cast<std::size_t>(thread)] += there_and_back(bytes) == bytes ? 1 : 0;
        }
    });
    EXPECT_EQ(unchanged, std::vector<int>(threads, 100));
}

TEST_F(many_threads, check_their_own_files)
{
    machine.file("/srv/files/abc", "abc");
    machine.file("/srv/files/empty", "");
    std::vector<int> matches(threads);
    at_once([&matches](int thread) {
        for (int time = 0; time < 50; ++time) {
            matches[static_cast<std::size_t>(thread)] +=
                thread % 2 == 0
                    ? file_check_md5("/srv/files/abc", "900150983cd24fb0d6963f7d28e17f72")
                    : file_check_sha1("/srv/files/empty",
                                      "da39a3ee5e6b4b0d3255bfef95601890afd80709");
        }
    });
    EXPECT_EQ(matches, std::vector<int>(threads, 50));
}

namespace {

struct query : named_case {
    std::string (*run)();
    std::string answer;
    int times;
};

class same_query_of_many_threads : public on_machine, public testing::WithParamInterface<query> {
protected:
    void furnish() override
    {
        machine.file("/etc/os-release", "VARIANT=\"EDU\"\n");
        machine.file("/sys/class/dmi/id/sys_vendor", "ACME\n");
        machine.file("/proc/bootdevice/product_name", "flash\n");
        machine.file("/proc/bootdevice/cid", "card\n");
        machine.file("/proc/cpuinfo", "Hardware\t: Kirin 990\n");
        machine.file("/sys/settings", "[group]\nkey=value\n", 0640);
        machine.script("/usr/sbin/dmidecode",
                       "case \"$*\" in\n"
                       "'-s system-manufacturer') echo LENOVO ;;\n"
                       "'-s system-uuid') echo 4c4c4544-0043-3010-8052-b4c04f564231 ;;\n"
                       "*) printf '\\tVersion: V2 x\\n\\tSerial Number: SN1\\n' ;;\n"
                       "esac");
        machine.file("/etc/orvane/public.pem", public_key_2048);
        furnish_disk();
    }

private:
    void furnish_disk()
    {
        machine.file("/proc/mounts", "/dev/nvme0n1p2 / ext4 rw 0 0\n");
        machine.file("/proc/cmdline", "ro root=LABEL=a/b\n");
        machine.block_device("/dev/nvme0n1p2");
        machine.block_device("/dev/dm-0");
        machine.link("/dev/mapper/vg0-root", "../dm-0");
        machine.file("/sys/block/nvme0n1/device/model", "Fast Disk\n");
        machine.file("/sys/block/nvme0n1/device/serial", "S1\n");
        machine.tool("/usr/sbin/dmsetup", "1 dependencies\t: (nvme0n1p2)\n");
        machine.tool("/usr/sbin/smartctl", "Model Number: FAST\nSerial Number: S2\n");
        machine.tool("/usr/sbin/lvdisplay", "  VG Name vg0\n");
        machine.tool("/usr/sbin/pvdisplay", "  PV Name /dev/nvme0n1p2\n  VG Name vg0\n");
        machine.tool("/usr/bin/lsblk", "lvm\n");
    }
};

std::string disk_in_a_listing()
{
    std::string disk = text_or_none(find_root_disk(
        R"({"blockdevices": [{"name": "sda", "children": [{"mountpoint": "/"}]}]})"));
    return disk + text_or_none(find_root_disk("{\"broken\""));
}

std::string value_in_a_key_file()
{
    const owned_key_file kf(key_file_load_from_file("/sys/settings"));
    const glib_text value(key_file_get_value(kf.get(), "group", "key"));
    return value.get();
}

std::string manufacturer_class()
{
    const owned_key_file patterns(generate_machine_whitelist());
    return machineTypeToString(maching_machine_type(patterns.get(), false));
}

std::string truth(bool value)
{
    return value ? "true" : "false";
}

std::string decoded_line()
{
    int size = 0;
    unsigned char *const data = base64_decode_clean("TW\nFu", &size);
    std::string text(data, data + size);
    std::free(data);
    return text;
}

std::string key_bits()
{
    RSA *const key = load_public_key("/etc/orvane/public.pem");
    const int bits = key == nullptr ? 0 : RSA_bits(key);
    RSA_free(key);
    return std::to_string(bits);
}

std::string first_byte_of_a_digest()
{
    unsigned char digest[32];
    return compute_sha256("abc", digest) ? std::to_string(digest[0]) : "(none)";
}

} // namespace

TEST_P(same_query_of_many_threads, gives_each_the_same_answer)
{
    std::vector<std::set<std::string>> answers(threads);
    at_once([&answers](int thread) {
        for (int time = 0; time < GetParam().times; ++time)
            answers[static_cast<std::size_t>(thread)].insert(GetParam().run());
    });
    EXPECT_EQ(answers, std::vector(threads, std::set{GetParam().answer}));
}

INSTANTIATE_TEST_SUITE_P(
    reading_files, same_query_of_many_threads,
    testing::Values(
        query{"file_stat", [] { return std::to_string(file_stat("/sys/settings", 0777)); }, "416",
              100},
        query{"sysfs",
              [] {
                  return text_or_none(get_machine_info_from_sysfs("/sys/class/dmi/id/sys_vendor"));
              },
              "ACME", 100},
        query{
            "service_tag",
            [] { return text_or_none(get_service_tag_from_sysfs("/sys/class/dmi/id/sys_vendor")); },
            "ACME", 100},
        query{"vendor", [] { return text_or_none(orvane_get_vendor()); }, "ACME", 100},
        query{"os_version", [] { return std::to_string(orvane_get_os_version()); }, "2", 100},
        query{"key_file", value_in_a_key_file, "value", 100},
        query{"disk", [] { return text_or_none(orvane_get_harddisk_id()); }, "Fast-Disk_S1", 50},
        query{"command_line",
              [] { return text_or_none(command_line_get_root_device_name("/proc/cmdline")); },
              "/dev/disk/by-label/a\\x2fb", 100},
        query{"processor", [] { return std::to_string(is_huawei_9x0()); }, "1", 100},
        query{"listing", disk_in_a_listing, "sda(no text)", 20}));

INSTANTIATE_TEST_SUITE_P(
    running_tools, same_query_of_many_threads,
    testing::Values(
        query{"model", [] { return text_or_none(orvane_get_model()); }, "V2", 5},
        query{"system_uuid", [] { return text_or_none(orvane_get_system_uuid()); },
              "4c4c4544-0043-3010-8052-b4c04f564231", 5},
        query{"oem_info", [] { return text_or_none(hw_oem_info()); }, "SN1_flash_card", 5},
        query{"command", [] { return text_or_none(get_machine_info_from_dmidecode("echo one")); },
              "one", 5},
        query{"manufacturer", manufacturer_class, "TYPE_LENOVO", 5},
        query{"lenovo", [] { return std::to_string(is_lenovo_machine()); }, "1", 5},
        query{"mapped_disk", [] { return text_or_none(harddisk_id("/dev/mapper/vg0-root")); },
              "Fast-Disk_S1", 5},
        query{"smartctl", [] { return text_or_none(harddisk_id_smartctl("/dev/nvme0n1p2")); },
              "FAST_S2", 5},
        query{"start_of_model", [] { return text_or_none(harddisk_id_nvme_new("nvme0n1")); }, "Fas",
              5},
        query{"logical_volume",
              [] { return std::to_string(is_logical_volume("/dev/mapper/vg0-root")); }, "1", 5},
        query{"physical_volume",
              [] { return text_or_none(harddisk_id_lvm("/dev/mapper/vg0-root")); }, "FAST_S2", 3},
        query{"lsblk", [] { return text_or_none(get_lsblk_output()); }, "lvm\n", 5}));

INSTANTIATE_TEST_SUITE_P(
    checking_and_encoding, same_query_of_many_threads,
    testing::Values(
        query{"signature", [] { return truth(verify_signature(sample_text, signature_2048)); },
              "true", 5},
        query{"signature_of_another_text",
              [] { return truth(verify_signature("another text", signature_2048)); }, "false", 5},
        query{"base64_on_lines", decoded_line, "Man", 5}, query{"public_key", key_bits, "2048", 20},
        query{"digest_of_a_text", first_byte_of_a_digest, "186", 100},
        query{"digest_of_a_file",
              [] {
                  return std::to_string(file_check_sha256(
                      "/sys/class/dmi/id/sys_vendor",
                      "5668a49bc238d7bdfc640f43beee7ac38551dca2dd54492c720acc132c5425f3"));
              },
              "1", 50}));
