// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "interpose.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include <linux/hdreg.h>

// What the kernel and libblkid answer about the devices of a constructed machine. A node can be
// opened, refuses the identify request and cannot be probed, unless it is described here.
class disk_kernel {
public:
    disk_kernel()
    {
        answer_open();
        answer_identify_request();
        answer_probe();
    }
    disk_kernel(const disk_kernel &) = delete;
    disk_kernel &operator=(const disk_kernel &) = delete;
    ~disk_kernel() { EXPECT_EQ(open_probes_, 0); }

    void identify(const std::string &node, std::string_view model, std::string_view serial)
    {
        identities_[node] = record_of(model, serial);
    }
    // The action is taken before the answer to each identify request.
    void set_during_request(std::function<void()> action) { during_request_ = std::move(action); }
    void refuse_to_open(const std::string &node) { closed_.insert(node); }
    void set_whole_disk(const std::string &path, bool is_whole = true) { whole_[path] = is_whole; }

    // Every path that is not described can be probed, and is a whole disk.
    void set_everything_whole() { is_any_path_whole_ = true; }

private:
    using identify_record = std::array<char, sizeof(hd_driveid)>;

    static identify_record record_of(std::string_view model, std::string_view serial)
    {
        identify_record record;
        record.fill('#');
        std::fill_n(&record[offsetof(hd_driveid, serial_no)], 20, ' ');
        serial.copy(&record[offsetof(hd_driveid, serial_no)], 20);
        std::fill_n(&record[offsetof(hd_driveid, model)], 40, ' ');
        model.copy(&record[offsetof(hd_driveid, model)], 40);
        return record;
    }

    // To open a block device takes more rights than a constructed machine has; an open file stands
    // for the device.
    void answer_open()
    {
        interpose::open = [this](const char *path, int flags, mode_t mode) {
            std::error_code missing;
            if (!std::filesystem::is_block_file(path, missing))
                return interpose::open.real(path, flags, mode);
            if (closed_.count(path) != 0) {
                errno = EACCES;
                return -1;
            }
            opened_ = path;
            return interpose::open.real("/dev/null", flags, mode);
        };
    }

    void answer_identify_request()
    {
        interpose::ioctl = [this](int descriptor, unsigned long request, void *answer) {
            const auto identity = identities_.find(opened_);
            if (request != HDIO_GET_IDENTITY || identity == identities_.end())
                return interpose::ioctl.real(descriptor, request, answer);
            during_request_();
            std::memcpy(answer, identity->second.data(), identity->second.size());
            return 0;
        };
    }

    void answer_probe()
    {
        interpose::blkid_new_probe_from_filename = [this](const char *path) -> blkid_probe {
            const auto described = whole_.find(path);
            if (described == whole_.end() && !is_any_path_whole_)
                return nullptr;
            is_probed_whole_ = described == whole_.end() || described->second;
            ++open_probes_;
            return reinterpret_cast<blkid_probe>(this);
        };
        interpose::blkid_probe_is_wholedisk = [this](blkid_probe) { return int{is_probed_whole_}; };
        interpose::blkid_free_probe = [this](blkid_probe) { --open_probes_; };
    }

    std::map<std::string, identify_record> identities_;
    std::function<void()> during_request_ = [] {};
    std::set<std::string> closed_;
    std::map<std::string, bool> whole_;
    bool is_any_path_whole_ = false;

    std::string opened_;
    bool is_probed_whole_ = false;
    int open_probes_ = 0;
};
