/* SPDX-License-Identifier: LGPL-2.1-or-later */
/*
 * liborvane: the identity of the machine a program runs on, the checks and
 * encodings of the data files it handles, and the small foundations that these
 * share.
 *
 * Conventions, which hold wherever a function does not say otherwise:
 *
 *   Texts       are NUL-terminated bytes as their source gave them; no encoding
 *               is checked or converted. A parameter must not be NULL unless
 *               its function says what NULL does.
 *   Ownership   A returned `char *` is a new block that the caller releases with
 *               free(). A parameter stays the caller's and is not kept.
 *   Failure     is reported by the result alone: NULL for a text, a documented
 *               number otherwise. Nothing is thrown and errno has no meaning.
 *               NULL also stands for a failed allocation.
 *   Bounds      Lines and formatted texts have fixed bounds; what is longer is
 *               truncated, never rejected.
 *   Trace log   Where it cannot be opened, as by a user other than root, each
 *               line that an entry writes to it becomes a message on standard
 *               error: see orvane_trace(). In texts from outside, such as
 *               labels, serial numbers and names, the line shows what a
 *               terminal or a log reader obeys as "\x1b", one "\xNN" for each
 *               byte: control characters other than tab, those of UTF-8 and
 *               Latin-1 included, and U+2028 and U+2029. All other bytes are as
 *               they are, so a backslash may be the text's own.
 *   Threads     The library starts none, has no lock of its own and keeps no
 *               answer from one call to the next. "Threads: safe" means that any
 *               number of threads may be inside the function at once, while none
 *               changes the environment.
 *   Cancelling  A call is a place where a thread can be cancelled. What the call
 *               held then stays: memory, a descriptor, a tool's process that
 *               nobody waits for, and locks of GPGME, OpenSSL and GLib. A thread
 *               that may be cancelled disables that around the call, with
 *               pthread_setcancelstate().
 *   Stack       A call needs at most 16 KiB. A thread's stack also holds what the C
 *               library keeps for the thread: one of 32 KiB is enough. Signal
 *               handlers that run on it, libzusysinfo and a program's functions in
 *               the place of exported ones come on top. find_root_disk(), and
 *               harddisk_id() where it reads lsblk's listing, parse JSON, which
 *               takes about 100 bytes for each level of nesting; a listing of
 *               lsblk's has fewer than ten, and 128 KiB are enough for any text.
 *   Root        Where a source can be read by root alone, the entry says so. For
 *               any other user, and for root without the capabilities that
 *               SECURITY.md names, such a source has no answer, and another source
 *               may give another one: compare answers that the same rights gave.
 *   Passing failures  A source that fails for a moment has no answer in that call,
 *               and another one may give another text: a tool that a signal to the
 *               process group ended; no process, descriptor or memory to be had.
 *               Query again before a change is believed.
 *
 * What a call does to its process:
 *
 *   Tools       run through /bin/sh, dmsetup alone without it, with the caller's
 *               environment, working directory, umask, ignored signals, standard
 *               input and standard error. They may write to the latter, as LVM's
 *               do about a device that is no volume; one whose message meets a
 *               pipe without a reader is ended, and has no answer. PATH decides
 *               which `lsblk`, `cat`, `readlink`, `grep` and `awk` run where an
 *               entry names no folder; LANG, LC_ALL and, for LVM's tools, LVM_*
 *               act as on a command line. Their exit status is not read. A device
 *               name that begins with "-" gets "./" before it, and no name becomes
 *               shell syntax.
 *   Waiting     "Waits" names what a call waits for. There is no time limit: a
 *               tool that hangs on a broken disk keeps the call waiting, and so
 *               may a process that it leaves behind with its output open. No other
 *               child of the process is waited for, and none is killed. A program
 *               that cannot wait makes the call in a child process that leads a
 *               process group of its own (setpgid()), and kills that group. In a
 *               program with threads the child must execute a program, such as
 *               `orvane show disk`: after a fork() alone, locks of the C library
 *               may be held for ever.
 *   Children    A tool is a child of the calling process, reaped before the call
 *               returns, and its SIGCHLD is the caller's. A caller that ignores
 *               SIGCHLD, or whose handler reaps every child, gets the same
 *               answers. harddisk_id() forks, so that pthread_atfork() handlers
 *               run, and may take a child of the caller's own.
 *   Descriptors are opened close-on-exec, and closed before the call returns.
 *               A program that another thread starts meanwhile inherits none but
 *               these: GPGME's pipes until gpg has started, GLib's temporary file
 *               while a key file is saved, libcrypto's configuration at its first
 *               use in a process, and /dev/null in the place of closed standard
 *               descriptors during a GPG call. Tools have those of the caller's
 *               descriptors that are not close-on-exec. Closing a file drops the
 *               process's fcntl() record locks on it, also where its path is one
 *               that the caller passes.
 *               A terminal becomes the controlling one of a session leader without
 *               one where command_line_get_root_device_name(), load_public_key()
 *               or get_machine_info_from_sysfs() opens it: no strangers' paths for
 *               these.
 *   Signals     Handlers and masks are the caller's, and run in no child. A handler
 *               that interrupts a call changes no answer, but for a call that
 *               waits for a FIFO or a device at its caller's path: that may count
 *               as one that cannot be opened or read.
 *               A message on standard error, a trace line or an event that cannot
 *               be written is lost. The SIGPIPE or SIGXFSZ of its write is
 *               discarded; one that was pending before, or that another sender
 *               sends, stays the caller's. This does not hold for the line that
 *               base64_decode_clean() writes to standard output, for GLib's
 *               warnings and for the line before an abort().
 *   Set-user-ID
 *               programs, and those with set-group-ID or file capabilities: Debian's
 *               /bin/sh gives up the effective ids before it runs a tool, so tools
 *               run as the user, in the user's environment, and those that PATH
 *               decides are the user's choice: what they answer is no more to be
 *               trusted than the user. Other shells may keep the rights. dmsetup
 *               runs with those of the program, by an absolute path and in an
 *               empty environment. Both GPG functions refuse.
 *
 * Each exported name is an ordinary ELF symbol. The library calls its own
 * exported functions by these names, so a program that defines one of them, by
 * accident too, replaces the library's. -fvisibility=hidden keeps a program's own
 * names to itself; nm -D lists those that it exports.
 *
 * For C99 and later, and C++98 and later.
 */
#ifndef ORVANE_H
#define ORVANE_H

#ifndef __cplusplus
#include <stdbool.h>
#endif
#include <stddef.h>
#include <stdint.h>

/* The version of this header; the build takes the library's from here. */
#define ORVANE_VERSION "1.0.0"

#if defined(__GNUC__)
#define ORVANE_API __attribute__((__visibility__("default")))
#define ORVANE_PRINTF(text, first) __attribute__((__format__(__printf__, text, first)))
/* The result is a verdict: to ignore it is a mistake, by a cast to void too. */
#define ORVANE_VERDICT __attribute__((__warn_unused_result__))
#else
#define ORVANE_API
#define ORVANE_PRINTF(text, first)
#define ORVANE_VERDICT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* GLib's key file (GKeyFile) and OpenSSL's RSA key (RSA). Callers of the other
 * functions need neither GLib nor OpenSSL. */
struct _GKeyFile;
struct rsa_st;

/*
 * What the functions of the sections GPG and Base64 return: ORVANE_OK or why not.
 */
enum orvane_result {
    ORVANE_OK = 0,
    ORVANE_GPG_VERIFY_FAILED = 1,         /* the verify operation itself failed */
    ORVANE_GPG_KEY_MISSING = 14,          /* the key is not in the key store, or not usable */
    ORVANE_GPG_CLOCK_TOO_EARLY = 15,      /* no key: the clock is before its creation */
    ORVANE_GPG_NO_CONTEXT = 16,           /* no GPGME context, or a set-user-ID program */
    ORVANE_GPG_TEXT_NOT_TAKEN = 44,       /* GPGME did not take the text */
    ORVANE_GPG_ENCRYPT_FAILED = 45,       /* the encrypt operation failed */
    ORVANE_GPG_OTHER_SIGNER = 46,         /* a signature is not the built-in key's */
    ORVANE_GPG_FILE_UNREADABLE = 49,      /* the signed file could not be read */
    ORVANE_GPG_SIGNATURE_RED = 50,        /* the file was altered, or the signature is detached */
    ORVANE_GPG_SIGNATURE_BAD = 51,        /* the signature is bad */
    ORVANE_GPG_SIGNATURE_INVALID = 52,    /* the signature is invalid in another way */
    ORVANE_GPG_NO_SIGNATURE = 53,         /* no signature was reported for the file */
    ORVANE_BASE64_LENGTH = 59,            /* not a multiple of 4 characters */
    ORVANE_BASE64_CHARACTER = 60,         /* a character that is not of base64 */
    ORVANE_BASE64_PADDING = 61,           /* a "=" out of place */
    ORVANE_BASE64_NOTHING_TO_ENCODE = 62, /* a NULL, no bytes, or no memory */
    ORVANE_BASE64_NOTHING_TO_DECODE = 63, /* a NULL, or no characters */
    ORVANE_URL_CHARACTER = 64,            /* a character that is neither of base64 nor "%" */
    ORVANE_FROM_URL_NOTHING = 65,         /* a NULL, or no characters */
    ORVANE_URL_ESCAPE = 66,               /* a "%" without "2B", "2F" or "3D" behind it */
    ORVANE_TO_URL_NOTHING = 67,           /* a NULL, or no characters */
    ORVANE_GPG_NO_OUTPUT = 100            /* no buffer for GPGME's output */
};

/* ---- Disk identity ----------------------------------------------------- */

/*
 * The identity of the disk that holds the root file system: as a rule its model
 * and serial number, joined by "_".
 *
 * Returns: new text   exactly as the first source that answers gave it; one that
 *                     begins with "/dev/", and "_", identify no disk
 *          NULL       there is no root device, or no source answers
 * Reads:   root_device(), harddisk_id(), harddisk_id_smartctl() and, where
 *          is_logical_volume() is not 0, harddisk_id_lvm(); most need root.
 * Waits:   for the tools of these entries.
 * Threads: safe, with the reservations of harddisk_id().
 */
ORVANE_API char *orvane_get_harddisk_id(void);

/*
 * The block device that holds the root file system, as /proc/mounts or the
 * kernel command line spells it: often a link, such as /dev/mapper/root.
 *
 * Returns: new text   the path of what was a block device a moment ago
 *          NULL       neither source names one
 * Errors:  as for command_line_get_root_device_name().
 * Threads: safe.
 */
ORVANE_API char *root_device(void);

/*
 * The root device that a kernel command line names with the first of its words
 * that begins with "root=". Whether there is such a device is not tested.
 *
 * filename: the file, of which the first line counts; in use, /proc/cmdline. NULL
 *           is a file that cannot be read, and a pipe is waited for.
 * Returns:  new text   /dev/disk/by-uuid/X, /dev/disk/by-label/X or the value itself
 *           NULL       the file cannot be read or has no such word, or the word
 *                      has no value
 * Errors:   a first line of more than 4095 bytes ends the process by abort().
 * Threads:  safe.
 */
ORVANE_API char *command_line_get_root_device_name(const char *filename);

/*
 * The identity of a disk as the kernel reports it.
 *
 * dev_name: a disk, a partition, a link to one, or a mapped device by its name
 *           under /dev/mapper. NULL is a name that cannot be resolved.
 * Returns:  new text   "MODEL_SERIAL", of which one or both may be empty; of what
 *                      is mapped on a whole disk the disk's node
 *           NULL       no block device, or nothing answers
 * Reads:    the node (root), sysfs for NVMe, dmsetup (root) and lsblk for mappings.
 * Waits:    for dmsetup and lsblk.
 * Threads:  safe, but a child of the process that has ended may be taken.
 */
ORVANE_API char *harddisk_id(const char *dev_name);

/*
 * The identity of a disk as smartctl -i reports it (root).
 *
 * device:  a block device or a link to one; NULL is a name that cannot be
 *          resolved.
 * Returns: new text   "MODEL_SERIAL" without spaces and newlines
 *          NULL       there is no smartctl or no block device, or the report lacks
 *                     one of the two
 * Waits:   for smartctl.
 * Threads: safe.
 */
ORVANE_API char *harddisk_id_smartctl(const char *device);

/*
 * The start of a disk's model, which identifies no disk.
 *
 * name:    the disk's name in /sys/block, such as "nvme0n1"; NULL gives NULL.
 * Returns: new text   at most three bytes in a block of 1024; empty when there is
 *                     no such disk or its model cannot be read
 *          NULL       the command cannot be started
 * Waits:   for cat.
 * Threads: safe.
 */
ORVANE_API char *harddisk_id_nvme_new(const char *name);

/*
 * Whether a device is to be treated as a logical volume, by the type that
 * /bin/lsblk prints for it.
 *
 * dev_name: the device; NULL is none.
 * Returns:  0       the type sorts after "lvm", as "part" does; no lsblk; or NULL
 *           not 0   anything else: "lvm", but also "crypt", "disk" or no type
 * Waits:    for lsblk.
 * Threads:  safe.
 */
ORVANE_API ORVANE_VERDICT int is_logical_volume(const char *dev_name);

/*
 * The identity of the disk under a logical volume, as harddisk_id_smartctl()
 * reports it. Meant for machines with one physical volume: the last one that
 * pvdisplay prints is queried, in whatever group it is.
 *
 * dev_name: a logical volume's block device or a link to it; NULL is a name that
 *           cannot be resolved.
 * Returns:  new text   what harddisk_id_smartctl() gives
 *           NULL       a tool is missing or reports no such volume, or smartctl has
 *                      no answer
 * Waits:    for lvdisplay, pvdisplay and smartctl (all root).
 * Threads:  safe.
 */
ORVANE_API char *harddisk_id_lvm(const char *dev_name);

/*
 * What "lsblk -J" prints, for find_root_disk(). From util-linux 2.37 on that needs
 * another listing: see there.
 *
 * Returns: new text   empty when the command is missing or prints nothing
 *          NULL       the shell cannot be started
 * Waits:   for lsblk.
 * Errors:  a listing of more than 4095 bytes ends the process by abort().
 * Threads: safe.
 */
ORVANE_API char *get_lsblk_output(void);

/*
 * The name, without "/dev/", of the disk that has the root file system on one of
 * its partitions. The disk of a logical volume is not found.
 *
 * json:    what lsblk -J -o NAME,MOUNTPOINT printed, or before util-linux 2.37
 *          lsblk -J. NULL is a text that cannot be read.
 * Returns: new text   the name
 *          NULL       the listing cannot be read, or has no such disk
 * Errors:  one line on standard error about a text that is no such listing.
 * Threads: safe; where two of them fail at once, one may print no parse error.
 */
ORVANE_API char *find_root_disk(const char *json);

/* ---- Machine identity -------------------------------------------------- */

/*
 * The SMBIOS system UUID of this machine, with its case as the firmware wrote
 * it. Four placeholders that many machines share are refused.
 *
 * Returns: new text   the UUID; empty where the kernel file's first line is
 *          NULL       neither source knows the UUID
 * Reads:   /sys/devices/virtual/dmi/id/product_uuid, then dmidecode (both root).
 * Waits:   for dmidecode, where it is queried.
 * Threads: safe.
 */
ORVANE_API char *orvane_get_system_uuid(void);

/*
 * The query behind orvane_get_system_uuid(), which returns its result unchanged.
 */
ORVANE_API char *system_uuid(void);

/*
 * The greatest permanent (factory) MAC address among the wired Ethernet
 * interfaces of this machine and the slaves of its bonds. No root is needed.
 *
 * Returns: new text   17 lower-case characters such as "00:1a:2b:3c:4d:5e", or a
 *                     bonding report's word; "00:00:00:00:00:00", which identifies
 *                     no machine, where no driver knows a permanent address
 *          NULL       no interface qualifies, or they cannot be listed
 * Reads:   the interfaces named eth..., en... and em..., up to the first that is
 *          on the USB bus, has no device or has no address.
 * Waits:   for readlink.
 * Threads: safe.
 */
ORVANE_API char *orvane_get_network_interface_max_mac(void);

/*
 * The query behind orvane_get_network_interface_max_mac(), which returns its
 * result unchanged.
 */
ORVANE_API char *network_interface_get_max_mac(void);

/*
 * The vendor of this machine.
 *
 * Returns: new text   as the source gave it, blanks and fillers included, and
 *                     empty where the file's first line or the tool's word is
 *          NULL       no source answers
 * Reads:   /sys/class/dmi/id/sys_vendor, then a word of dmidecode's "Family" (root).
 * Waits:   for dmidecode, where it is queried.
 * Threads: safe.
 */
ORVANE_API char *orvane_get_vendor(void);

/*
 * The model of this machine: its SKU number.
 *
 * Returns: as for orvane_get_vendor().
 * Reads:   /sys/class/dmi/id/product_sku, then a word of dmidecode's "Version"
 *          (root).
 * Waits:   for dmidecode, where it is queried.
 * Threads: safe.
 */
ORVANE_API char *orvane_get_model(void);

/*
 * The serial number, boot device name and boot device card identifier of a
 * machine that boots from a managed flash device, joined by "_".
 *
 * Returns: new text   the three; empty when one of them gives nothing
 *          NULL       /proc/bootdevice/product_name or /proc/bootdevice/cid cannot
 *                     be read, or there is no dmidecode
 * Waits:   for dmidecode (root).
 * Threads: safe.
 */
ORVANE_API char *hw_oem_info(void);

/*
 * The first line of a file, without its line end: the reader behind the DMI
 * queries, for callers that name their own file.
 *
 * path:    the file; NULL is a file that cannot be opened, and a pipe is waited
 *          for.
 * Returns: new text   at most 1023 bytes, ended by the first CR, LF or NUL
 *          NULL       the file cannot be opened or read, or holds no byte
 * Threads: safe.
 */
ORVANE_API char *get_machine_info_from_sysfs(const char *path);

/*
 * The first line that a shell command prints, without its line end. The command
 * runs only where dmidecode is installed.
 *
 * command: a command line for /bin/sh, run as it stands: never pass text that
 *          you do not trust. NULL is a command that cannot be run.
 * Returns: new text   at most 1023 bytes, ended by the first CR, LF or NUL
 *          NULL       there is no /usr/sbin/dmidecode, or the command cannot be
 *                     started or prints nothing
 * Waits:   for the command.
 * Threads: safe.
 */
ORVANE_API char *get_machine_info_from_dmidecode(const char *command);

/* The same as get_machine_info_from_sysfs(), under the service tag's name. */
ORVANE_API char *get_service_tag_from_sysfs(const char *path);

/* The same as get_machine_info_from_dmidecode(), under the service tag's name. */
ORVANE_API char *get_service_tag_from_dmidecode(const char *command);

/* ---- Manufacturer ------------------------------------------------------ */

/*
 * The class of a machine's manufacturer is a number, its machine type:
 *
 *    0 TYPE_LENOVO      5 TYPE_SHUGUANG   10 TYPE_SEEWO
 *    1 TYPE_GREATWALL   6 TYPE_HAIER      11 TYPE_LIANSHUO
 *    2 TYPE_INSPUR      7 TYPE_706SUO     12 TYPE_HUAWEI
 *    3 TYPE_TONGFANG    8 TYPE_KUNTAI     -1 none
 *    4 TYPE_BAIXIN      9 TYPE_ZIGUANG
 *
 * These numbers never change. maching_machine_type(3) has the identifications of
 * each, and a program that prints the class of its machine.
 */

/* A name by which a manufacturer is known, and the machine type it stands for. */
struct orvane_manufacturer_type {
    const char *identification;
    int type;
};

/*
 * Every known name, in the order in which they are looked up: static and constant.
 * Programs that use it have a copy of this size (a copy relocation), so entries are
 * neither added, removed nor moved within liborvane.so.1. Threads: safe.
 */
ORVANE_API extern const struct orvane_manufacturer_type manufacturerType[24];

/*
 * The class of this machine's manufacturer by the first pattern that its name
 * begins with.
 *
 * key_file:    patterns, joined by "|", as the values of its group
 *              "manufacturer_patterns". NULL gives -1. Not changed.
 * ignore_case: compares without spaces, newlines and ASCII capitals.
 * Returns:     findTypeEnum() of the pattern, or -1: no pattern matches, or no
 *              manufacturer is reported
 * Reads:       get_machine_info_simulate(), then dmidecode (root).
 * Waits:       for dmidecode.
 * Threads:     safe on different key files.
 */
ORVANE_API ORVANE_VERDICT int maching_machine_type(struct _GKeyFile *key_file, bool ignore_case);

/*
 * Whether a manufacturer's name begins with a pattern, byte for byte.
 *
 * Returns: true    it does; the empty pattern begins every name
 *          false   it does not, or either is NULL
 * Threads: safe.
 */
ORVANE_API ORVANE_VERDICT bool maching_machine_type_with_dmidecode(const char *manufacturer,
                                                                   const char *pattern);

/*
 * The machine type of the first entry of manufacturerType whose identification
 * begins with a name, byte for byte: "Great" is of type 1, and "" of type 0.
 *
 * name:    NULL is a name that is not known.
 * Returns: 0 to 12   the machine type
 *          -1        no entry begins with the name
 * Threads: safe.
 */
ORVANE_API int findTypeEnum(const char *name);

/*
 * The name of a machine type.
 *
 * Returns: a static text from the table above, not to be freed; "TYPE_UNKNOWN"
 *          for every other number, -1 included.
 * Threads: safe.
 */
ORVANE_API const char *machineTypeToString(int type);

/*
 * The library's own patterns, in two sets: those that maching_machine_type() is
 * to compare exactly, and those that it is to compare with ignore_case.
 *
 * Returns: new key file, release with g_key_file_free().
 * Threads: safe.
 */
ORVANE_API struct _GKeyFile *generate_machine_whitelist(void);
ORVANE_API struct _GKeyFile *generate_machine_whitelist_ignore_case(void);

/*
 * The manufacturer that maching_machine_type() is to use in place of the
 * firmware's. A program that defines this function makes the machine another; the
 * text that it returns stays its own and may be static.
 *
 * Returns: NULL, always: the firmware is queried.
 * Threads: safe.
 */
ORVANE_API char *get_machine_info_simulate(void);

/*
 * Whether this is a Lenovo machine.
 *
 * Returns: 1   its manufacturer begins with "KaiTian" or "LENOVO", in this case of
 *              letters
 *          0   it does not, or no manufacturer is reported
 * Waits:   for dmidecode (root).
 * Threads: safe.
 */
ORVANE_API ORVANE_VERDICT int is_lenovo_machine(void);

/*
 * Whether the processor is a Kirin 990, 9006C or 9A0.
 *
 * Returns: 1   a line of /proc/cpuinfo that begins with "Hardware" names one
 *          0   none does, or the file cannot be read
 * Threads: safe.
 */
ORVANE_API ORVANE_VERDICT int is_huawei_9x0(void);

/* ---- Digests ----------------------------------------------------------- */

/*
 * Whether a file's content has an expected SHA-256, SHA-1 or MD5 digest.
 *
 * path:     the file, read once to its end; NULL is a file that cannot be
 *           opened.
 * expected: 64, 40 or 32 lower-case hexadecimal digits; what stands behind them
 *           does not count. NULL is never equal, and the file is not opened.
 * Returns:  1   the digest is the expected one
 *           0   every other case alike: it differs, `expected` is shorter or has a
 *               capital, the file cannot be opened or read to its end, as a
 *               directory cannot, or libcrypto fails
 * Reads:    the file; the digest is OpenSSL libcrypto's. A read that a signal
 *           handler interrupts counts as failed.
 * Waits:    for a pipe or device, as long as that has more to come, and for a
 *           process that has a lease on the file. A sparse file may be longer than
 *           any disk.
 * Threads:  safe.
 *
 * MD5 and SHA-1 detect an accident, not an attack.
 */
ORVANE_API ORVANE_VERDICT int file_check_sha256(const char *path, const char *expected);
ORVANE_API ORVANE_VERDICT int file_check_sha1(const char *path, const char *expected);
ORVANE_API ORVANE_VERDICT int file_check_md5(const char *path, const char *expected);

/* ---- RSA signatures ---------------------------------------------------- */

/*
 * Whether a text carries a valid RSA signature (PKCS #1 v1.5 with SHA-256)
 * under the key of this system.
 *
 * message:   the text that was signed, up to its terminator.
 * signature: the signature in base64, as for base64_decode_clean().
 * Returns:   true    the signature is valid
 *            false   every other case, NULL included
 * Reads:     /etc/orvane/public.pem, as load_public_key() does, on every call:
 *            another key there counts from the next call on. OpenSSL libcrypto
 *            does the rest; the thread's queue of OpenSSL errors is left as it
 *            was.
 * Writes:    the line of base64_decode_clean() to standard output.
 * Errors:    one line on standard error:
 *              "Invalid parameters: message or signature is NULL"
 *              "Failed to decode base64 si11gnature", also for a signature that
 *                decodes to nothing
 *              "Failed to compute SHA256 hash of message"
 *              "Failed to load public key", behind load_public_key()'s own
 *            A signature that does not match is no error.
 * Threads:   safe.
 */
ORVANE_API ORVANE_VERDICT bool verify_signature(const char *message, const char *signature);

/*
 * Decodes base64 that may be broken into lines: line feeds, carriage returns
 * and spaces are left out, and nothing else is, tabs not either. What is then
 * no base64 on one line decodes as OpenSSL 3.0 decodes it, with every release of
 * libcrypto: to nothing as a rule, but stray characters at the ends may do no
 * harm (docs/limits.md).
 *
 * text:    the base64 text; NULL gives NULL.
 * size:    where to store the number of bytes; NULL gives NULL.
 * Returns: new block   of `*size` bytes, more than 0; release it with free()
 *          NULL        with 0 in `*size`: the text decodes to nothing; with less
 *                      than 0: there was no memory for the decoder
 *          NULL        with `*size` as it was: there was no memory for the text or
 *                      the bytes, or the text has more characters than an int
 *                      counts
 * Reads:   the text alone; plain base64 is decoded by the base64 filter of
 *          OpenSSL libcrypto.
 * Writes:  "Cleaned Base64 (N chars): TEXT" with the text that is left to
 *          standard output, unless `text` or `size` is NULL or there is no
 *          memory for the text. A standard output that is a pipe without a
 *          reader raises SIGPIPE.
 * Threads: safe.
 */
ORVANE_API ORVANE_VERDICT unsigned char *base64_decode_clean(const char *text, int *size);

/*
 * Loads an RSA public key in the PKCS #1 form of PEM ("BEGIN RSA PUBLIC KEY").
 *
 * path:    the file, whose first block of that form counts; a broken block ends
 *          the search. NULL is a file that cannot be opened, and a pipe is
 *          waited for.
 * Returns: new key (RSA)   release it with OpenSSL's RSA_free()
 *          NULL            there is none
 * Reads:   the file. For a block marked as encrypted, which no public key needs
 *          to be, OpenSSL prompts for a password on the terminal, or where
 *          there is none on standard error and from standard input, with signal
 *          handlers of its own meanwhile and for one thread at a time.
 * Errors:  on standard error, one line each: "Error opening public key file:
 *          PATH" and "Error reading public key from file: PATH"; the latter
 *          also for the form that `openssl rsa -pubout` writes ("BEGIN PUBLIC
 *          KEY"). The thread's queue of OpenSSL errors is left as it was.
 * Threads: safe.
 */
ORVANE_API struct rsa_st *load_public_key(const char *path);

/*
 * The SHA-256 digest of a text, up to its terminator.
 *
 * text:    NULL gives false.
 * digest:  where to store 32 bytes; NULL gives false.
 * Returns: true    the digest was stored
 *          false   it was not
 * Reads:   the text alone; the digest is OpenSSL libcrypto's.
 * Threads: safe.
 */
ORVANE_API ORVANE_VERDICT bool compute_sha256(const char *text, unsigned char *digest);

/* ---- GPG --------------------------------------------------------------- */

/*
 * These two work with the one signing key whose public half the library was
 * built with, and put that into the calling user's GnuPG key store (GNUPGHOME,
 * or .gnupg in HOME) each time.
 *
 * Process: they run gpg through GPGME, with the caller's environment and the
 *          user's gpg.conf. GPGME finds gpgconf and gpg by PATH, so both are
 *          refused to a program that has rights which its user does not have
 *          (set-user-ID, set-group-ID, file capabilities):
 *          ORVANE_GPG_NO_CONTEXT, nothing run or changed. /dev/null stands in
 *          for standard descriptors that are closed. gpg may start its agent,
 *          which stays. Children of gpg's are left to the system's first
 *          process, or to a caller that took its place. With GPGME 1.24 and later
 *          gpg_verify() runs gpg a second time for a file that gpg does not take
 *          for a signed one.
 * Waiting: there is no time limit, but a gpg that ends ends the call. gpg waits
 *          for the locks of the key store, and prompts the user, on the caller's
 *          terminal if there is one, for the passphrase of a file that is
 *          encrypted. It reads compressed content to its end, however long that
 *          is, and checks every signature, which takes about a millisecond and
 *          600 bytes of the caller's memory each: a file of 17 KB can hold
 *          20,000. Files from strangers are for a child process that the caller
 *          can end.
 * Descriptors: GPGME's pipes to gpg, up to eight ends, are without close-on-exec
 *          until gpg has started. A program that another thread starts in that
 *          moment gets them, and the call lasts until it ends or closes them.
 *          Where descriptors run out, GPGME leaves some of them open.
 * Changes: the locale of the whole process becomes the environment's and stays
 *          so. It changes later answers: which characters of a model or serial
 *          number are graphic is the locale's choice. A caller that stores
 *          identities puts its own locale back with setlocale(LC_ALL, ...).
 *          While a call lasts, SIGPIPE is ignored where its action is the
 *          default one, and for good in programs that are started meanwhile.
 * Threads: for one thread at a time, and none beside it that depends on the
 *          locale.
 *
 * Example, settings that only the owner of the key can have written:
 *
 *    int print_signed_settings(const char *path)
 *    {
 *        char *content = NULL;
 *        unsigned int length = 0;
 *        int code = gpg_verify(path, &content, &length);
 *
 *        if (code != ORVANE_OK)
 *            fprintf(stderr, "%s: not signed as it should be: %d\n", path, code);
 *        else if (content == NULL)
 *            fprintf(stderr, "%s: more than 4096 bytes, or no memory\n", path);
 *        else
 *            fwrite(content, 1, length, stdout);
 *        code = content != NULL ? 0 : -1;
 *        free(content);
 *        return code;
 *    }
 *
 * and a text that only the owner of the key can read:
 *
 *    int print_encrypted(const char *text)
 *    {
 *        char *message = NULL;
 *        int code = gpg_encrypt(text, &message, NULL);
 *
 *        if (code == ORVANE_OK && message != NULL)
 *            fputs(message, stdout);
 *        else
 *            fprintf(stderr, "not encrypted: %d\n", code);
 *        code = message != NULL ? 0 : -1;
 *        free(message);
 *        return code;
 *    }
 */

/*
 * Verifies a file that carries its content and its signatures, whole (gpg
 * --sign) or clear-signed, and returns the content. An encrypted file that the
 * user's own keys open is verified as what is in it.
 *
 * Only the content that is returned is vouched for, and not the file: text
 * before, after and between signed parts passes with ORVANE_OK, and of several
 * parts gpg reads the first, its content and its signatures, alone. Of content
 * of more than 4096 bytes nothing is returned. With GPGME before 1.24 gpg lists
 * a public key that stands beside the signed part within the content, and who
 * made the key chose its user IDs (docs/limits.md).
 *
 * path:    the file, a regular one, which is read into memory; of its content at
 *          most 4096 bytes are, compressed or not. A FIFO is not opened. NULL is
 *          a file that cannot be read.
 * content: where to store the content, a new block to release with free():
 *          `*length` bytes and no terminator. With NULL it is not stored.
 * length:  where to store how many bytes the content has; may be NULL.
 * Returns: the first of these that applies, and nothing stored but with
 *          ORVANE_OK. Names without their "ORVANE_GPG_":
 *          NO_CONTEXT         no memory for GPGME, or a set-user-ID program
 *          FILE_UNREADABLE    missing, not permitted, larger than memory; a
 *                             directory, a FIFO, a socket, a terminal
 *          NO_OUTPUT          no memory
 *          VERIFY_FAILED      gpg is missing; memory or descriptors ran out; the
 *                             file is not OpenPGP, empty, damaged or truncated
 *          NO_SIGNATURE       not signed, or encrypted so that the user cannot
 *                             open it; truncated early; gpg ended before it read
 *                             the file, as where there is no key store and none
 *                             can be made in HOME
 *          Of the first signature, unless it is good:
 *          KEY_MISSING        the key store does not have its key: another
 *                             signer's, or the built-in one where the store of
 *                             GNUPGHOME is missing, damaged or not writable, or
 *                             gpg's clock is before the key's creation
 *          SIGNATURE_RED      it does not match the content: an altered file, or
 *                             a detached signature, which has none
 *          SIGNATURE_BAD      as SIGNATURE_RED, where GPGME does not rate it
 *          SIGNATURE_INVALID  it expired, or its key expired or was revoked; it
 *                             is of the future; its digest is one that gpg
 *                             rejects (MD5)
 *          Of all signatures:
 *          OTHER_SIGNER       one is by another key, known to the store or not
 *          ORVANE_OK          the first is good and all are the built-in key's
 *          Whether the key store trusts the key does not matter to a good
 *          signature; where it trusts the key fully, one that expired is good.
 * Errors:  ORVANE_OK and NULL in `*content` where the content is not returned,
 *          so look at it. `*length` is then untouched for content of more than
 *          4096 bytes, or of a size that GPGME does not report; the size where
 *          there is no memory or reading fails; 0 where the content ends early,
 *          or where GPGME 1.24 and later withhold it because gpg decrypted the
 *          file and does not vouch for it.
 * Reads:   the file, with the caller's rights; the key store, by gpg.
 */
ORVANE_API ORVANE_VERDICT int gpg_verify(const char *path, char **content, unsigned int *length);

/*
 * Encrypts a text to the built-in key.
 *
 * text:    what to encrypt, up to its terminator; NULL gives
 *          ORVANE_GPG_TEXT_NOT_TAKEN.
 * message: where to store the ASCII-armoured message, a new NUL-terminated text
 *          to release with free(). With NULL it is not stored.
 * length:  where to store the message's length, terminator not included; may be
 *          NULL.
 * Returns: the first of these that applies, and nothing stored but with
 *          ORVANE_OK. Names without their "ORVANE_GPG_":
 *          NO_CONTEXT         no memory for GPGME, or a set-user-ID program
 *          TEXT_NOT_TAKEN     NULL, or no memory
 *          NO_OUTPUT          no memory
 *          CLOCK_TOO_EARLY    as KEY_MISSING, and the clock is before the key's
 *                             creation, for which gpg does not take it
 *          KEY_MISSING        the key store does not have the key and it cannot
 *                             be put there: the store is missing, damaged or not
 *                             writable, or there is no gpg; or gpg refuses it
 *          ENCRYPT_FAILED     the key store has the key as expired or revoked,
 *                             it cannot be encrypted to, or gpg fails otherwise
 *          ORVANE_OK          the text was encrypted
 * Errors:  ORVANE_OK and NULL in `*message` where the message is not returned
 *          for want of memory, so look at it; `*length` is its size then, 0
 *          where it ends early, and untouched where it has none. Each call keeps
 *          a few hundred bytes for good.
 * Reads:   the key store, by gpg, and the clock.
 */
ORVANE_API ORVANE_VERDICT int gpg_encrypt(const char *text, char **message, unsigned int *length);

/* ---- Base64 ------------------------------------------------------------ */

/*
 * Base64 on one line with pads, and the same for the query of a URL, where "+",
 * "/" and "=" are written "%2B", "%2F" and "%3D". The caller's buffers are
 * trusted to have the sizes that the entries name, and must not overlap. Base64
 * is coded by the base64 filter of OpenSSL libcrypto; nothing else is read.
 * Threads: safe.
 *
 * Example, bytes as a text for the query of a URL:
 *
 *    char *for_url(const void *data, int size)
 *    {
 *        size_t most = ((size_t)size + 2) / 3 * 4;
 *        unsigned int length = 0;
 *        char *text = malloc(most + 1);
 *        char *url = malloc(3 * most + 1);
 *        int code = ORVANE_BASE64_NOTHING_TO_ENCODE;
 *
 *        if (text != NULL && url != NULL)
 *            code = base64_encode(data, size, text, &length);
 *        if (code == ORVANE_OK) {
 *            text[length] = '\0';
 *            code = transform_to_url(text, length, url, &length);
 *        }
 *        free(text);
 *        if (code == ORVANE_OK)
 *            return url;
 *        free(url);
 *        return NULL;
 *    }
 *
 * and the bytes of a base64 text, where strlen(text) of them suffice:
 *
 *    int bytes_of(const char *text, void *bytes, unsigned int *count)
 *    {
 *        int code = base64_decode(text, (int)strlen(text), bytes, count);
 *
 *        if (code != ORVANE_OK || *count == 0 || *count > strlen(text))
 *            return -1;
 *        return 0;
 *    }
 */

/*
 * Encodes bytes.
 *
 * data:    `size` bytes.
 * size:    how many; a negative number encodes nothing, to a length of 0.
 * text:    where to store the text: 4 bytes for every 3 of `data` or part of
 *          them. No terminator is added.
 * length:  where to store the text's length. What libcrypto cannot write is
 *          neither in the text nor in its length, and no error.
 * Returns: ORVANE_OK                         text and length are stored
 *          ORVANE_BASE64_NOTHING_TO_ENCODE   a NULL, a size of 0, or no memory;
 *                                            no length is stored
 */
ORVANE_API ORVANE_VERDICT int base64_encode(const void *data, int size, char *text,
                                            unsigned int *length);

/*
 * Decodes base64.
 *
 * text:    the NUL-terminated text, all of which must be base64: no line breaks
 *          or blanks.
 * length:  how many of its characters to decode, as a rule all, of which whole
 *          groups of four are decoded. With four or more than it has, so many
 *          whole blocks of 1024 characters are decoded as the text has, or
 *          nothing. Nothing behind the terminator is read.
 * data:    where to store the bytes; `length` bytes suffice.
 * size:    where to store the number of bytes, as the decoder reports it.
 * Returns: in this order of precedence
 *          ORVANE_BASE64_NOTHING_TO_DECODE   a NULL, or a length of 0
 *          ORVANE_BASE64_LENGTH              not a multiple of 4 characters
 *          ORVANE_BASE64_CHARACTER           a character that is not of base64
 *          ORVANE_BASE64_PADDING             a "=" out of place
 *          ORVANE_OK                         `*size` is stored: the number of
 *                                            bytes; 0 where none is decoded and
 *                                            for a negative length; as an unsigned
 *                                            number, -1 for want of memory
 *          Only ORVANE_OK stores anything.
 */
ORVANE_API ORVANE_VERDICT int base64_decode(const char *text, int length, void *data,
                                            unsigned int *size);

/*
 * Writes base64 text as it may stand in the query of a URL. A "%" stays.
 *
 * text:       the NUL-terminated text, all of which is checked.
 * length:     how many of its characters to convert, as a rule all. A greater
 *             number takes the terminator as well, as one character, and
 *             nothing behind it.
 * url:        where to store the result: 3 bytes for each character and 1 for
 *             the terminator.
 * url_length: where to store its length, which must be one that it can count.
 * Returns:    ORVANE_OK               the result and its length are stored
 *             ORVANE_TO_URL_NOTHING   a NULL, or a length of 0; nothing is stored
 *             ORVANE_URL_CHARACTER    neither of base64 nor "%"; 0 is stored as
 *                                     the length
 */
ORVANE_API ORVANE_VERDICT int transform_to_url(const char *text, unsigned int length, char *url,
                                               unsigned int *url_length);

/*
 * Writes the query form back as base64 text.
 *
 * url:         the NUL-terminated text, all of which is checked.
 * length:      how many of its characters to convert, as a rule all. An escape
 *              that begins among them is converted whole. A greater number
 *              takes the terminator as well, as one character, and nothing
 *              behind it.
 * text:        where to store the result: a byte for each character and 1 for
 *              the terminator.
 * text_length: where to store its length.
 * Returns:     ORVANE_OK                 the result and its length are stored
 *              ORVANE_FROM_URL_NOTHING   a NULL, or a length of 0; nothing is
 *                                        stored
 *              ORVANE_URL_CHARACTER      neither of base64 nor "%"; 0 is stored as
 *                                        the length
 *              ORVANE_URL_ESCAPE         another escape, "%2b" too; 0 is stored as
 *                                        the length, and what stands before it,
 *                                        unterminated, in `text`
 */
ORVANE_API ORVANE_VERDICT int transform_from_url(const char *url, unsigned int length, char *text,
                                                 unsigned int *text_length);

/* ---- Operating system -------------------------------------------------- */

/*
 * Which variant of the operating system is installed.
 *
 * Returns: 2   the education variant: its application scene begins with "EDU"
 *          0   every other one, or no scene is known
 * Reads:   zdk_system_get_appScene() of libzusysinfo, or of whichever object
 *          defines it for the whole process when liborvane is loaded; where none
 *          does, the VARIANT field of /etc/os-release or, where there is no such
 *          file, of /usr/lib/os-release, its quotes removed by GLib, which ends
 *          the process where it has no memory. Queried on every call.
 * Writes:  one or two lines to the trace log.
 * Threads: safe as far as zdk_system_get_appScene() is; trace stamps may mix, as
 *          for time_string().
 */
ORVANE_API unsigned int orvane_get_os_version(void);

/*
 * The query behind orvane_get_os_version(), which returns its result unchanged.
 */
ORVANE_API unsigned int _os_get_version(void);

/* ---- Trace log --------------------------------------------------------- */

/*
 * Appends one line to the trace log, /var/log/orvane/liborvane.log: a stamp, the
 * process id in brackets, a colon, a blank and the message, ended by a newline
 * unless the message ends in one. A line has at most 1023 bytes with its
 * newline, which is always there; the stamp's text and the message are truncated
 * to fit. The message is written as it was formatted: a NUL that "%c" stores, and
 * newlines and control characters of the caller's own, included. The log is
 * always on, made when missing (directory mode 0777, file mode 0644, both less
 * the umask), never truncated and never rotated. It is opened for each
 * line: another program may rename it. Everyone may read it, serial numbers
 * included.
 *
 * The log keeps no call waiting. A log that is a FIFO without a reader, or any
 * other file that cannot be opened at once, is not opened; a FIFO that is full
 * loses the line. A message waits where standard error is a full pipe or a
 * terminal that takes nothing. Where others than root and the caller (its effective user) may write
 * the directory, a log that is a symbolic link, no regular file, or a file with
 * several names counts as not opened, and nothing is made or written behind it,
 * as long as the kernel's fs.protected_hardlinks is 1.
 *
 * format:  as for printf(), with its arguments; "%m" is the caller's errno.
 * Returns: 1   the log could be opened, even if the write then failed
 *          0   it could not
 * Errors:  "Open log file failed" or "Write to log file failed" with the
 *          system's reason on standard error, as perror() prints it. errno is
 *          left as it was. A line that does not fit into a full disk or the
 *          process's file size limit is lost, or truncated, and the next one
 *          joins it then. The SIGXFSZ or SIGPIPE of a failed write, of the
 *          message's too, is discarded.
 * Threads: safe for the log: each line is one appending write(). Stamps may mix,
 *          as for time_string().
 */
ORVANE_API int orvane_trace(const char *format, ...) ORVANE_PRINTF(1, 2);

/*
 * Makes sure that the trace log's directory exists. Called for every trace line.
 *
 * A daemon with umask 0 leaves the directory open to every user. It is better
 * made beforehand, with mode 0755 by root: a package's file, or `cmake --install
 * BUILD --component log-directory`.
 *
 * Returns: 1, always; a directory that cannot be made shows when the log is
 *          opened.
 * Threads: safe.
 */
ORVANE_API int orvane_logger_env_init(void);

/*
 * Whether trace lines are written. Called for every trace line.
 *
 * Returns: 1, always.
 * Threads: safe.
 */
ORVANE_API int orvane_is_tracing(void);

/*
 * The stamp of a trace line: local time as "YYYY-MM-DD HH:MM:SS.mmm". The minute
 * and the second come from two readings of the clock, so at the turn of a minute
 * the old minute may stand beside the new second.
 *
 * Returns: a static text of 23 characters: not to be freed, nor kept across
 *          another call.
 * Threads: two threads inside it may see each other's stamp.
 */
ORVANE_API const char *time_string(void);

/* ---- Event log --------------------------------------------------------- */

/*
 * Appends one event to a log file of the caller's choosing, as
 * "(TAG) Time: YYYY-MM-DD HH:MM:SS<tab><tab>Message: MESSAGE<newline>" in local
 * time, or "(TAG) MESSAGE<newline>" when no stamp can be made. The line is
 * truncated at 1023 bytes and has no newline then. A missing file is made with
 * mode 0640 less the umask.
 *
 * path:    the log file; NULL is a file that cannot be opened, and so is a FIFO
 *          that nobody reads. Links are followed: the directory is the caller's
 *          choice.
 * message: any bytes.
 * tag:     the severity; "II", "WW" and "EE" are in use.
 * enabled: 0 makes the call do nothing at all.
 * Errors:  never reported; an event that cannot be written is lost, or
 *          truncated, as a line of orvane_trace() is. The call waits for nobody:
 *          a FIFO or terminal that takes nothing at the moment loses the event.
 *          The SIGXFSZ or SIGPIPE of a failed write is discarded.
 * Threads: each event is one appending write(), but the stamp comes from
 *          localtime(), whose result it overwrites, so concurrent callers may see
 *          each other's.
 */
ORVANE_API void log_write(const char *path, const char *message, const char *tag, int enabled);

/* ---- Key files --------------------------------------------------------- */

/*
 * Key files are GLib's: groups in brackets, each with key=value lines, in UTF-8.
 * The texts returned here are GLib's and are released with g_free(). Where GLib
 * has no memory it ends the process. Threads: safe on different key files; one
 * key file takes one thread at a time.
 */

/*
 * Loads a key file with its comments and translations, so that both survive a
 * save.
 *
 * path:    the file; NULL is a file that cannot be opened.
 * Returns: new key file   release it with g_key_file_free()
 *          NULL           the file is missing, unreadable, malformed or no regular
 *                         file: a FIFO is not waited for, but a process that has
 *                         a lease on the file is
 */
ORVANE_API struct _GKeyFile *key_file_load_from_file(const char *path);

/*
 * The value of a key as it is written in the file, escapes included.
 *
 * Returns: new text   empty where the value is; release it with g_free()
 *          NULL       there is no such group, or no such key in it
 */
ORVANE_API char *key_file_get_value(struct _GKeyFile *kf, const char *group, const char *key);

/*
 * Sets the value of a key, written as it stands, and makes the group and the key
 * where they are missing. The file is not touched until it is saved.
 *
 * value:   as it shall stand in the file, escapes included: with a newline in it
 *          the saved file may not load again.
 * Errors:  a group or key that GLib does not take as a name sets nothing and
 *          is reported as a GLib critical message.
 */
ORVANE_API void key_file_set_value(struct _GKeyFile *kf, const char *group, const char *key,
                                   const char *value);

/*
 * The whole key file as text.
 *
 * length:  where to store the text's length in bytes; may be NULL.
 * Returns: new text, release with g_free(); NULL when GLib cannot make one.
 */
ORVANE_API char *key_file_to_data(struct _GKeyFile *kf, size_t *length);

/*
 * Saves a key file: a new file beside `path` is moved over it, so that `path`
 * holds the old text or the new one and never a part. The new file is the
 * caller's, with mode 0666 less the umask; a symbolic link is replaced by it.
 *
 * Errors:  "Unable to save settings2: " (no text could be made) or "Unable to
 *          save settings3: " (it could not be written) and the reason, as a GLib
 *          warning without a log domain: on standard error unless the program
 *          handles GLib's log. The file is left as it was. A process at its file
 *          size limit gets SIGXFSZ, as from any write, and SIGPIPE where standard
 *          error is a pipe without a reader.
 */
ORVANE_API void key_file_save_to_file(struct _GKeyFile *kf, const char *path);

/* ---- Text and file helpers --------------------------------------------- */

/*
 * The text functions change the caller's text in place, keep the order of what
 * stays, need no memory and cannot fail. Threads: safe on different texts.
 */

/*
 * Lowers the ASCII capitals. Every other byte stays, whatever the locale.
 * s: may be NULL, which does nothing.
 */
ORVANE_API void toLowerCase(char *s);

/*
 * Deletes every space and newline. Tabs and carriage returns stay.
 * s: may be NULL, which does nothing.
 */
ORVANE_API void removeSpaces(char *s);

/* Deletes every space and tab. Newlines stay. s must not be NULL. */
ORVANE_API void removeSpacesTabs(char *s);

/*
 * Deletes every newline, space, "(" and ")".
 * s: may be NULL, which does nothing.
 */
ORVANE_API void removeSpecialChar(char *s);

/*
 * Deletes the zero bytes among the first `len` bytes. What stays stands at the
 * start; each byte freed behind it repeats the last byte of the range as it was.
 * No terminator is added and the new length is not reported.
 *
 * buf:     `len` bytes; not read when `len` is 0.
 */
ORVANE_API void remove_null_chars(void *buf, uint32_t len);

/*
 * The bits of a file's mode that are in `mask`; a symbolic link is followed.
 *
 * path:    the file; NULL is a file that cannot be examined.
 * mask:    mode bits as in stat(2), for example S_IFDIR or 0400.
 * Returns: st_mode & mask; 0 also when the file cannot be examined.
 * Threads: safe.
 */
ORVANE_API int file_stat(const char *path, int mask);

/*
 * Opens /dev/null on whichever of the descriptors 0, 1 and 2 are closed, for the
 * programs that are started afterwards, too. Does nothing when /dev/null is missing
 * or no character device.
 *
 * Threads: changes descriptors of the whole process: for the start of a program.
 */
ORVANE_API void redirect_stdio(void);

#ifdef __cplusplus
}
#endif

#endif
