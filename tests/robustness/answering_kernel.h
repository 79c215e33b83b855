// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine.h"

#include <string>

// A kernel that knows the disks and network cards of a constructed machine. Their answers stand in
// files of that machine and nowhere else, so that every thread and every child process gets them.
// It answers every caller in a program that has it among its objects: not beside interpose.cpp,
// which defines the same functions.
namespace answering_kernel {

// What a disk answers: its identity, and behind it a letter for its kind.
inline constexpr char disk_answers[] = "/dev/.answers";
inline constexpr char whole_disk = 'D';
inline constexpr char disk_partition = 'P';

// What a card answers. The kernel knows its cards where nothing is in /sys, too.
inline constexpr char card_answers[] = "/dev/.cards";

enum class disk_kind { whole, partition };

// A block device with an ATA identity, which libblkid takes for a whole disk or a partition.
void add_disk(constructed_machine &machine, const std::string &path, const std::string &model,
              const std::string &serial, disk_kind kind = disk_kind::whole);

// A network card, which the kernel lists in the order of the names, and where it sits.
void add_card(constructed_machine &machine, const std::string &name, const std::string &current,
              const std::string &permanent, const std::string &device);

} // namespace answering_kernel
