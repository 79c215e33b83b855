// SPDX-License-Identifier: LGPL-2.1-or-later
#include "layers.h"

#include "input.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>

#include <dirent.h>
#include <unistd.h>

namespace {

std::string folder_of(const std::string &node)
{
    return "/sys/class/block/" + node;
}

std::string canonical(const std::string &path)
{
    char resolved[PATH_MAX];
    return ::realpath(path.c_str(), resolved) != nullptr ? resolved : "";
}

std::string last_component(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

struct close_folder {
    void operator()(DIR *folder) const noexcept { ::closedir(folder); }
};

std::vector<std::string> names_in(const std::string &path)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, close_folder> folder(::opendir(path.c_str()));
    for (const dirent *entry = folder ? ::readdir(folder.get()) : nullptr; entry != nullptr;
         entry = ::readdir(folder.get())) {
        if (entry->d_name[0] != '.')
            names.emplace_back(entry->d_name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

layer_kind kind_of(const std::string &node)
{
    const std::string uuid = first_line_of(folder_of(node) + "/dm/uuid");
    if (uuid.starts_with("LVM-"))
        return layer_kind::logical_volume;
    constexpr std::string_view encryptions[] = {"CRYPT-LUKS", "CRYPT-PLAIN", "CRYPT-TCRYPT",
                                                "CRYPT-BITLK"};
    if (std::any_of(std::begin(encryptions), std::end(encryptions),
                    [&uuid](std::string_view one) { return uuid.starts_with(one); }))
        return layer_kind::encryption;
    if (uuid.find("mpath-") != std::string::npos)
        return layer_kind::multipath;
    if (!first_line_of(folder_of(node) + "/dm/name").empty())
        return layer_kind::mapping;
    if (!first_line_of(folder_of(node) + "/md/level").empty())
        return layer_kind::array;
    if (!first_line_of(folder_of(node) + "/partition").empty())
        return layer_kind::partition;
    // Others that stand on devices, such as a cache.
    return names_in(folder_of(node) + "/slaves").empty() ? layer_kind::disk : layer_kind::mapping;
}

// In the name of a logical volume's mapping, one "-" stands between the group and the volume, and
// two for one in either name.
std::string volume_group_in(const std::string &name)
{
    std::string group;
    for (std::size_t at = 0; at < name.size(); ++at) {
        if (name[at] == '-' && (at + 1 == name.size() || name[++at] != '-'))
            break;
        group.push_back(name[at]);
    }
    return group;
}

std::string note_on(const std::string &node, layer_kind kind, const std::string &name)
{
    if (kind == layer_kind::logical_volume)
        return "of volume group " + volume_group_in(name);
    if (kind == layer_kind::array)
        return first_line_of(folder_of(node) + "/md/level");
    return "";
}

std::string name_of(const std::string &node)
{
    const std::string name = first_line_of(folder_of(node) + "/dm/name");
    return name.empty() ? node : name;
}

std::vector<std::string> nodes_below(const std::string &node, layer_kind kind)
{
    if (kind != layer_kind::partition)
        return names_in(folder_of(node) + "/slaves");
    const std::string folder = canonical(folder_of(node));
    return {last_component(folder.substr(0, folder.rfind('/')))};
}

bool is_known(const std::string &node)
{
    return !canonical(folder_of(node)).empty();
}

void add_layers(const std::string &node, storage_layers &layers)
{
    constexpr std::size_t most = 64; // what is more is not drawn
    if (find_layer(layers, node) != nullptr || layers.size() == most)
        return;
    const layer_kind kind = kind_of(node);
    const std::string name = name_of(node);
    const std::vector<std::string> below = nodes_below(node, kind);
    std::vector<std::string> names(below.size());
    std::transform(below.begin(), below.end(), names.begin(), name_of);
    layers.push_back({name, kind, node, names, note_on(node, kind, name)});
    for (const std::string &lower : below)
        add_layers(lower, layers);
}

} // namespace

storage_layers layers_of(const std::string &device)
{
    storage_layers layers;
    const std::string node = last_component(canonical(device));
    if (!node.empty() && is_known(node))
        add_layers(node, layers);
    return layers;
}

const storage_layer *find_layer(const storage_layers &layers, std::string_view name)
{
    const auto found = std::find_if(layers.begin(), layers.end(), [name](const storage_layer &one) {
        return one.name == name || one.node == name;
    });
    return found != layers.end() ? &*found : nullptr;
}

const char *words_for(layer_kind kind)
{
    switch (kind) {
    case layer_kind::disk:
        return "disk";
    case layer_kind::partition:
        return "partition";
    case layer_kind::logical_volume:
        return "logical volume";
    case layer_kind::encryption:
        return "encryption";
    case layer_kind::multipath:
        return "multipath mapping";
    case layer_kind::mapping:
        return "mapping";
    default:
        return "software RAID array";
    }
}

bool is_without_identity(const storage_layer &disk)
{
    constexpr std::string_view prefixes[] = {"vd",   "xvd", "mmcblk", "nbd",  "loop",
                                             "zram", "rbd", "dasd",   "pmem", "mtdblock"};
    return disk.kind == layer_kind::disk &&
           std::any_of(std::begin(prefixes), std::end(prefixes),
                       [&disk](std::string_view prefix) { return disk.node.starts_with(prefix); });
}

bool is_ata(const storage_layer &disk)
{
    return first_line_of(folder_of(disk.node) + "/device/vendor").starts_with("ATA");
}
