// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What a block device stands on, as sysfs shows it to every user.
#pragma once

#include <string>
#include <string_view>
#include <vector>

enum class layer_kind { disk, partition, logical_volume, encryption, multipath, mapping, array };

struct storage_layer {
    std::string name; // a mapping's own, in the place of dm-0
    layer_kind kind;
    std::string node;               // the kernel's name
    std::vector<std::string> below; // names
    std::string note;               // the volume group, the level of an array
};
using storage_layers = std::vector<storage_layer>;

// The device and everything below it, uppermost first; nothing where sysfs does not know it.
storage_layers layers_of(const std::string &device);

// nullptr where there is no such layer. By its own name or the kernel's.
const storage_layer *find_layer(const storage_layers &layers, std::string_view name);

const char *words_for(layer_kind kind);

// A disk that knows neither an identify request nor smartctl's: of a virtual machine, eMMC or SD.
bool is_without_identity(const storage_layer &disk);

// Whether the kernel speaks ATA with the disk.
bool is_ata(const storage_layer &disk);
