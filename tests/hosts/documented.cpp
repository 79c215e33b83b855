// SPDX-License-Identifier: LGPL-2.1-or-later
#include "documented.h"

namespace documented {

namespace {

const functions network_identity = {"orvane_get_network_interface_max_mac",
                                    "network_interface_get_max_mac"};
const functions gpg = {"gpg_verify", "gpg_encrypt"};
const functions os_version = {"orvane_get_os_version", "_os_get_version"};
const functions manufacturer = {"maching_machine_type", "is_lenovo_machine"};
const functions dmi_commands = {"get_machine_info_from_dmidecode",
                                "get_service_tag_from_dmidecode"};
const functions digests_of_files = {"file_check_sha256", "file_check_sha1", "file_check_md5"};

// A file below /sys, and behind it dmidecode in a pipeline.
const functions dmi = {"orvane_get_system_uuid", "system_uuid", "orvane_get_vendor",
                       "orvane_get_model"};
const functions disk_tools = {"orvane_get_harddisk_id", "harddisk_id", "harddisk_id_smartctl",
                              "harddisk_id_lvm"};

} // namespace

functions operator+(functions first, const functions &rest)
{
    first.insert(rest.begin(), rest.end());
    return first;
}

const functions to_search_path =
    functions{"get_lsblk_output", "harddisk_id_nvme_new", "hw_oem_info"} + network_identity + dmi +
    manufacturer + dmi_commands + gpg;

const functions to_run_tools = disk_tools + functions{"is_logical_volume"} + to_search_path;

const functions to_need_root = disk_tools + dmi + manufacturer + functions{"hw_oem_info"};

const functions to_write_files =
    functions{"orvane_trace", "orvane_logger_env_init", "log_write", "key_file_save_to_file"} + gpg;

const functions to_trace =
    disk_tools + network_identity + os_version +
    functions{"root_device", "harddisk_id_nvme_new", "maching_machine_type", "orvane_trace"};

const functions to_read_proc =
    functions{"root_device", "orvane_get_harddisk_id", "hw_oem_info", "is_huawei_9x0"} +
    network_identity + gpg;

const functions to_read_sys =
    functions{"orvane_get_harddisk_id", "harddisk_id", "harddisk_id_nvme_new"} + dmi +
    network_identity;

const functions to_read_named_files = functions{"command_line_get_root_device_name",
                                                "get_machine_info_from_sysfs",
                                                "get_service_tag_from_sysfs",
                                                "file_stat",
                                                "load_public_key",
                                                "key_file_load_from_file"} +
                                      digests_of_files;

const functions to_make_requests =
    functions{"orvane_get_harddisk_id", "harddisk_id"} + network_identity;

const functions to_end_without_memory = functions{"maching_machine_type",
                                                  "generate_machine_whitelist",
                                                  "generate_machine_whitelist_ignore_case",
                                                  "key_file_load_from_file",
                                                  "key_file_get_value",
                                                  "key_file_set_value",
                                                  "key_file_to_data",
                                                  "key_file_save_to_file"} +
                                        network_identity + os_version;

const functions to_change_the_process = gpg;

const functions to_wait_for_any_child = {"orvane_get_harddisk_id", "harddisk_id"};

const functions to_fail_when_interrupted = digests_of_files;

} // namespace documented
