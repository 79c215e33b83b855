// SPDX-License-Identifier: LGPL-2.1-or-later
#include "reasons.h"

#include <algorithm>

namespace reasons {

// In advice, {package} stands for the package of the tool that is missing.
constexpr reason answered = {"answered", fact_status::known, "a source answered", ""};
constexpr reason permission_denied = {
    "permission-denied", fact_status::needs_root, "root alone may read the source",
    "run the command as root, with the capabilities that SECURITY.md lists"};
constexpr reason tool_missing = {"tool-missing", fact_status::not_determinable,
                                 "the tool that could answer is not installed",
                                 "install {package}"};
constexpr reason tool_failed = {"tool-failed", fact_status::not_determinable,
                                "the tools that could answer print no model and serial number",
                                "run the command line that is shown, and read what it reports"};
constexpr reason source_failed = {
    "source-failed", fact_status::not_determinable, "a source could not be read",
    "read the file that is shown by hand; in a chroot, mount /proc and /sys"};
constexpr reason file_absent = {"file-absent", fact_status::absent,
                                "the file that would hold it is not on this machine",
                                "nothing, because this machine does not have it"};
constexpr reason no_firmware_tables = {"no-firmware-tables", fact_status::absent,
                                       "the kernel shows no DMI tables", "use another fact"};
constexpr reason not_in_firmware = {"not-in-firmware", fact_status::absent,
                                    "the firmware's tables do not have it", "use another fact"};
constexpr reason empty = {"empty", fact_status::absent, "the source holds an empty text",
                          "use another fact"};
constexpr reason placeholder = {"placeholder", fact_status::refused,
                                "the firmware holds a placeholder that many machines share",
                                "use another fact, or have the board's maker set it"};
constexpr reason not_a_block_device = {
    "not-a-block-device", fact_status::not_determinable,
    "the root file system is on no block device that is known here",
    "run the command on the host if this is a container, or use another fact"};
constexpr reason device_missing = {
    "device-missing", fact_status::not_determinable, "a device has no node in /dev",
    "see that udev makes the node, or boot with root=/dev/... or root=UUID=..."};
constexpr reason form_not_followed = {"form-not-followed", fact_status::not_determinable,
                                      "this form of root= is not known",
                                      "boot with root=/dev/..., root=UUID=... or root=LABEL=..."};
constexpr reason mapping_not_followed = {
    "mapping-not-followed", fact_status::not_determinable,
    "the disk below the encryption or the mapping is not found",
    "read the disk below it, which is shown, with smartctl -i"};
constexpr reason several_devices = {"several-devices", fact_status::not_determinable,
                                    "the root device stands on several devices",
                                    "read each of its devices, which are shown, with smartctl -i"};
constexpr reason array_not_followed = {
    "array-not-followed", fact_status::not_determinable,
    "a software RAID array is not followed to its members",
    "read its members, which are shown, with smartctl -i, or use another fact"};
constexpr reason disk_unsupported = {
    "disk-unsupported", fact_status::not_determinable,
    "disks of this kind answer neither the identify request nor smartctl", "use another fact"};
constexpr reason no_serial_number = {"no-serial-number", fact_status::not_determinable,
                                     "smartctl reports no serial number of the disk",
                                     "use another fact"};
constexpr reason no_interface = {"no-interface", fact_status::absent,
                                 "no wired interface has a name that counts",
                                 "name the card eth..., en... or em..., or use another fact"};
constexpr reason usb_adapter = {
    "usb-adapter", fact_status::not_determinable,
    "an interface on the USB bus comes first, where the search ends",
    "name the adapter so that it does not count, such as dock0 (see systemd.link)"};
constexpr reason no_device_behind = {
    "no-device-behind", fact_status::not_determinable,
    "an interface without a device comes first, where the search ends",
    "name it so that it does not count, or use another fact"};
constexpr reason library_ended = {"library-ended", fact_status::not_determinable,
                                  "the query ended its process",
                                  "report it, with the line that is shown"};

} // namespace reasons

namespace {

constexpr const reason *all[] = {
    &reasons::answered,           &reasons::permission_denied,    &reasons::tool_missing,
    &reasons::tool_failed,        &reasons::source_failed,        &reasons::file_absent,
    &reasons::no_firmware_tables, &reasons::not_in_firmware,      &reasons::empty,
    &reasons::placeholder,        &reasons::not_a_block_device,   &reasons::device_missing,
    &reasons::form_not_followed,  &reasons::mapping_not_followed, &reasons::several_devices,
    &reasons::array_not_followed, &reasons::disk_unsupported,     &reasons::no_serial_number,
    &reasons::no_interface,       &reasons::usb_adapter,          &reasons::no_device_behind,
    &reasons::library_ended,
};

} // namespace

const char *name_of(fact_status status)
{
    switch (status) {
    case fact_status::known:
        return "known";
    case fact_status::absent:
        return "absent";
    case fact_status::needs_root:
        return "needs_root";
    case fact_status::refused:
        return "refused";
    default:
        return "not_determinable";
    }
}

const char *words_for(fact_status status)
{
    switch (status) {
    case fact_status::known:
        return "known";
    case fact_status::absent:
        return "absent";
    case fact_status::needs_root:
        return "needs root";
    case fact_status::refused:
        return "refused";
    default:
        return "not determinable here";
    }
}

std::span<const reason *const> all_reasons()
{
    return all;
}

std::string advice_with(const reason &one, const std::string &package)
{
    constexpr std::string_view place = "{package}";
    std::string text = one.advice;
    if (const std::size_t at = text.find(place); at != std::string::npos)
        text.replace(at, place.size(), package);
    return text;
}

const reason *find_reason(std::string_view code)
{
    const auto *const found = std::find_if(std::begin(all), std::end(all),
                                           [code](const reason *one) { return one->code == code; });
    return found != std::end(all) ? *found : nullptr;
}
