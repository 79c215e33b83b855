// SPDX-License-Identifier: LGPL-2.1-or-later
#include "documented.h"

namespace documented {

namespace {

const functions manufacturer = {"maching_machine_type", "is_lenovo_machine"};

// Where no file tells: one of dmidecode's lines, picked by another tool.
const functions answers_of_pipelines = {
    "system_uuid/dmidecode",       "system_uuid/placeholder",
    "orvane_get_vendor/dmidecode", "orvane_get_model/dmidecode",
    "hw_oem_info/whole",           "get_service_tag_from_dmidecode/pipeline",
    "maching_machine_type/table",  "is_lenovo_machine/table",
};
const functions answers_of_dmidecode =
    functions{"maching_machine_type/keyword", "maching_machine_type/without_case",
              "is_lenovo_machine/keyword"} +
    answers_of_pipelines;

const functions to_run_pipelines = {
    "system_uuid/empty_file",          "system_uuid/remarks",        "orvane_get_vendor/empty_file",
    "orvane_get_vendor/no_word",       "orvane_get_vendor/capitals", "orvane_get_model/empty_file",
    "orvane_get_model/no_word",        "orvane_get_model/capitals",  "hw_oem_info",
    "get_machine_info_from_dmidecode",
};
const functions to_run_readlink = {
    "network_interface_get_max_mac/silent_driver",
    "network_interface_get_max_mac/nothing_on_usb",
    "network_interface_get_max_mac/other_names",
};

const functions answers_of_disk_tools = {
    "harddisk_id/mapped_whole_disk",       "harddisk_id/mapped_nvme",
    "harddisk_id/mapped_listed",           "harddisk_id_smartctl/report",
    "harddisk_id_smartctl/odd_name",       "harddisk_id_lvm/partition",
    "harddisk_id_lvm/encrypted_partition", "orvane_get_harddisk_id/smartctl",
    "orvane_get_harddisk_id/lvm",
};

const functions answers_of_readlink = {
    "orvane_get_network_interface_max_mac/one_card",
    "network_interface_get_max_mac/two_cards",
    "network_interface_get_max_mac/card_on_usb",
};

const functions answers_of_disks = {
    "harddisk_id/ata",          "harddisk_id/link",           "harddisk_id/mapped_ata",
    "harddisk_id/mapped_alone", "orvane_get_harddisk_id/ata",
};

const functions uuid_in_sysfs = {"system_uuid/sysfs", "orvane_get_system_uuid/sysfs"};

} // namespace

functions operator+(functions first, const functions &rest)
{
    first.insert(rest.begin(), rest.end());
    return first;
}

const functions to_run_gpg = {"gpg_verify", "gpg_encrypt"};

const functions to_run_tools =
    functions{
        "harddisk_id/mapped_*",           "harddisk_id_smartctl", "harddisk_id_lvm",
        "harddisk_id_nvme_new",           "is_logical_volume",    "get_lsblk_output",
        "get_service_tag_from_dmidecode",
    } +
    manufacturer + to_run_pipelines + to_run_readlink + to_run_gpg;

const functions to_search_path =
    functions{"get_lsblk_output"} + to_run_pipelines + to_run_readlink + to_run_gpg;

const functions answers_by_path =
    functions{"get_lsblk_output/listing", "harddisk_id_nvme_new/model"} + answers_of_pipelines +
    answers_of_readlink;

const functions answers_of_tools = functions{"get_machine_info_from_dmidecode/pipeline"} +
                                   answers_of_dmidecode + answers_of_disk_tools + answers_by_path;

const functions to_need_root =
    functions{"harddisk_id/ata*",      "harddisk_id/mapped_*", "harddisk_id/listed_*",
              "harddisk_id_smartctl",  "harddisk_id_lvm",      "system_uuid",
              "orvane_get_system_uuid"} +
    manufacturer + to_run_pipelines;

const functions answers_for_root =
    uuid_in_sysfs + answers_of_dmidecode + answers_of_disk_tools + answers_of_disks;

const functions to_write_files = {"log_write", "key_file_save_to_file"};

const functions to_trace = {"orvane_trace"};

const functions answers_in_trace = {"orvane_trace/directory_there", "orvane_trace/directory_made",
                                    "orvane_trace/errno"};

const functions to_read_proc = {
    "command_line_get_root_device_name/uuid",
    "hw_oem_info",
    "is_huawei_9x0",
    "network_interface_get_max_mac/bond*",
    "network_interface_get_max_mac/two_bonds",
};

const functions answers_of_proc = {
    "root_device/mounted",
    "root_device/booted",
    "orvane_get_harddisk_id/ata",
    "orvane_get_harddisk_id/nvme",
    "orvane_get_harddisk_id/smartctl",
    "orvane_get_harddisk_id/lvm",
    "hw_oem_info/whole",
    "hw_oem_info/no_name",
    "is_huawei_9x0/kirin",
    "network_interface_get_max_mac/bond",
};

const functions to_read_sys = {
    "system_uuid/empty_line",       "system_uuid/long_line",
    "orvane_get_vendor/empty_line", "orvane_get_model/empty_line",
    "get_machine_info_from_sysfs",  "get_service_tag_from_sysfs",
    "harddisk_id/mapped_nvme*",     "network_interface_get_max_mac/first_on_usb",
};

const functions answers_of_sys =
    functions{
        "harddisk_id/nvme",
        "harddisk_id/mapped_nvme",
        "harddisk_id/mapped_listed",
        "harddisk_id_nvme_new/model",
        "orvane_get_harddisk_id/nvme",
        "orvane_get_vendor/sysfs",
        "orvane_get_model/sysfs",
        "network_interface_get_max_mac/card_on_usb",
        "network_interface_get_max_mac/no_device",
        "network_interface_get_max_mac/no_link",
        "network_interface_get_max_mac/no_name",
    } +
    uuid_in_sysfs;

const functions to_make_requests = functions{"harddisk_id/ata*", "harddisk_id/mapped_without_*",
                                             "harddisk_id/mapped_to_*", "harddisk_id/listed_*"} +
                                   to_run_readlink;

const functions answers_of_requests =
    functions{"network_interface_get_max_mac/no_usb_bus"} + answers_of_readlink + answers_of_disks;

const functions to_pair_letters = {"orvane_get_vendor/capitals", "orvane_get_model/capitals",
                                   "hw_oem_info/capitals"};

const functions to_need_no_memory = {
    "toLowerCase",         "removeSpaces",
    "removeSpacesTabs",    "removeSpecialChar",
    "remove_null_chars",   "file_stat",
    "redirect_stdio",      "findTypeEnum",
    "machineTypeToString", "maching_machine_type_with_dmidecode",
    "compute_sha256",      "file_check_sha256",
    "file_check_sha1",     "file_check_md5",
    "transform_to_url",    "transform_from_url",
    "orvane_trace",        "orvane_is_tracing",
    "time_string",
};

const functions to_end_without_memory = {
    "maching_machine_type",
    "generate_machine_whitelist",
    "generate_machine_whitelist_ignore_case",
    "key_file_load_from_file",
    "key_file_get_value",
    "key_file_set_value",
    "key_file_to_data",
    "key_file_save_to_file",
    "orvane_get_network_interface_max_mac",
    "network_interface_get_max_mac",
    "orvane_get_os_version",
    "_os_get_version",
};

const functions to_change_the_process = to_run_gpg;

const functions to_wait_for_any_child = {"orvane_get_harddisk_id", "harddisk_id"};

} // namespace documented
