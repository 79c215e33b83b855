// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

// The trace lines that more than one disk test expects.
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

inline std::string physical_node(const std::string &name)
{
    return "physicalDiskNode: /dev/" + name;
}
inline std::string no_block_device(const std::string &name)
{
    return "'/dev/" + name + "' is not a block device, '" + name + "'";
}

inline std::string listed_name(const std::string &name, const std::string &wanted)
{
    return "current name '" + name + "', dev_name '" + wanted + "'";
}
inline const std::string nameless = "get basename error";
inline std::string listed_text(const std::string &name, const std::string &text)
{
    return "Serial for device '" + name + "': " + text;
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
