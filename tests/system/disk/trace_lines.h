// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

// The lines that the disk queries write to the trace log.
namespace trace_line {

inline const std::string no_such_device = "!stat(dev_name, &sb) return";

inline std::string root_device(const std::string &device)
{
    return "root_dev_name: " + device + ".";
}

inline std::string identify_request(const std::string &node)
{
    return "device :" + node;
}
inline const std::string not_opened = "fd < 0, return";
inline const std::string request_refused = "ioctl(fd, HDIO_GET_IDENTITY, &id), return";

inline const std::string no_sys_block = "(!dp) return";

inline const std::string no_pipe = "pipe error.";
inline const std::string no_process = "fork error.";
inline const std::string no_dependencies = "cannot found deps";
inline std::string physical_node(const std::string &name)
{
    return "physicalDiskNode: /dev/" + name;
}
inline std::string no_block_device(const std::string &name)
{
    return "'/dev/" + name + "' is not a block device, '" + name + "'";
}

inline const std::string listing_not_parsed = "Failed to parse JSON";
inline const std::string listing_not_printed = "Failed to print JSON";
inline const std::string listing_without_devices = "Key 'blockdevices' does not exist.";
inline std::string listed_name(const std::string &name, const std::string &wanted)
{
    return "current name '" + name + "', dev_name '" + wanted + "'";
}
inline const std::string nameless = "get basename error";
inline std::string listed_text(const std::string &name, const std::string &text)
{
    return "Serial for device '" + name + "': " + text;
}
inline std::string no_listed_text(const std::string &name)
{
    return "Serial for device '" + name + "' is not a string or is NULL.";
}
inline std::string null_text(const std::string &key)
{
    return key + " is NULL";
}

inline std::string model_start(const std::string &model)
{
    return "harddisk_id_nvme_new model = " + model;
}

} // namespace trace_line
