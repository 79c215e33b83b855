/* SPDX-License-Identifier: LGPL-2.1-or-later */
/*
 * liborvane: the identity of the machine a program runs on, the checks and
 * encodings of the data files it handles, and the small foundations that these
 * share. The manual is the reference: liborvane(3), and a page for each function.
 *
 * Conventions, which hold wherever a function does not say otherwise:
 *
 *   Texts       are NUL-terminated bytes as their source gave them. A parameter
 *               must not be NULL unless its function says what NULL does.
 *   Ownership   A returned `char *` is a new block that the caller releases with
 *               free(). A parameter stays the caller's and is not kept.
 *   Failure     is reported by the result alone: NULL for a text, also for want
 *               of memory, and a documented number otherwise.
 *   Bounds      What is longer than a fixed bound is truncated, never rejected.
 *   Threads     "Threads: safe" means that any number of threads may be inside the
 *               function at once, while none changes the environment.
 *   Waiting     "Waits" names the tools that a call runs and waits for, without a
 *               time limit.
 *   Trace log   Queries append lines to it, or write messages to standard error
 *               where it cannot be opened, as by a user other than root.
 *   Root        Where a source can be read by root alone, the function says so: for
 *               others another source may give another answer.
 *   Names       A program that exports one of these names replaces the library's.
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
    ORVANE_GPG_VERIFY_FAILED = 1,         /* not OpenPGP, or damaged; or gpg could not run */
    ORVANE_GPG_KEY_MISSING = 14,          /* the key is not in the key store, or not usable */
    ORVANE_GPG_CLOCK_TOO_EARLY = 15,      /* no key: the clock is before its creation */
    ORVANE_GPG_NO_CONTEXT = 16,           /* no GPGME context, or a set-user-ID program */
    ORVANE_GPG_TEXT_NOT_TAKEN = 44,       /* a NULL, or no memory for the text */
    ORVANE_GPG_ENCRYPT_FAILED = 45,       /* the encrypt operation failed */
    ORVANE_GPG_OTHER_SIGNER = 46,         /* a signature is not the built-in key's */
    ORVANE_GPG_FILE_UNREADABLE = 49,      /* the signed file could not be read */
    ORVANE_GPG_SIGNATURE_RED = 50,        /* the file was altered, or the signature is detached */
    ORVANE_GPG_SIGNATURE_BAD = 51,        /* as RED, where GPGME does not rate the signature */
    ORVANE_GPG_SIGNATURE_INVALID = 52,    /* it or its key expired, or the like */
    ORVANE_GPG_NO_SIGNATURE = 53,         /* not signed, or encrypted to somebody else */
    ORVANE_BASE64_LENGTH = 59,            /* not a multiple of 4 characters */
    ORVANE_BASE64_CHARACTER = 60,         /* a character that is not of base64 */
    ORVANE_BASE64_PADDING = 61,           /* a "=" out of place */
    ORVANE_BASE64_NOTHING_TO_ENCODE = 62, /* a NULL, no bytes, or no memory */
    ORVANE_BASE64_NOTHING_TO_DECODE = 63, /* a NULL, or no characters */
    ORVANE_URL_CHARACTER = 64,            /* a character that is neither of base64 nor "%" */
    ORVANE_FROM_URL_NOTHING = 65,         /* a NULL, or no characters */
    ORVANE_URL_ESCAPE = 66,               /* a "%" without "2B", "2F" or "3D" behind it */
    ORVANE_TO_URL_NOTHING = 67,           /* a NULL, or no characters */
    ORVANE_GPG_NO_OUTPUT = 100            /* no memory for the result */
};

/* ---- Disk identity ----------------------------------------------------- */

/*
 * The identity of the disk that holds the root file system: as a rule its model
 * and serial number, joined by "_".
 *
 * Returns: new text   exactly as the first source that answers gave it; one that
 *                     begins with "/dev/" or ends with "_" identifies no disk
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
 * Returns: new text   a path that led to a block device when it was tested
 *          NULL       neither source names one
 * Errors:  as for command_line_get_root_device_name().
 * Threads: safe.
 */
ORVANE_API char *root_device(void);

/*
 * The root device that a kernel command line names with the first of its words
 * that begins with "root=". Whether there is such a device is not tested.
 *
 * filename: the file, of which the first line counts; normally /proc/cmdline. NULL
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
 * Returns:  new text   "MODEL_SERIAL", of which one or both may be empty; for a
 *                      device that is mapped on a whole disk, the disk's node
 *           NULL       no block device, or nothing answers
 * Reads:    the node (root), sysfs for NVMe, dmsetup (root) and lsblk for mappings.
 * Waits:    for dmsetup and lsblk.
 * Threads:  safe, but a child of the process that has ended may be reaped.
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
 * Returns:  0       the type sorts after "lvm", as "part" does; there is no lsblk
 *                   or no shell; or NULL
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
 * Returns: new text   empty when the command is missing or prints nothing; the
 *                     lines before a failure to read
 *          NULL       the shell cannot be started
 * Waits:   for lsblk.
 * Errors:  a listing of more than 4095 bytes ends the process by abort().
 * Threads: safe.
 */
ORVANE_API char *get_lsblk_output(void);

/*
 * The name, without "/dev/", of the disk that has the root file system on one of
 * its partitions. The disk under a mapped device is not found.
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
 * The SMBIOS system UUID of this machine, in the case of letters in which its
 * source prints it. Four placeholders that many machines share are refused.
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
 * Returns: new text   17 characters in lower case such as "00:1a:2b:3c:4d:5e", or
 *                     a bonding report's word; "00:00:00:00:00:00", which identifies
 *                     no machine, where no driver knows a permanent address
 *          NULL       there is no such interface, or they cannot be listed
 * Reads:   the interfaces named eth..., en... and em..., up to the first that is
 *          on the USB bus, has no device or cannot be queried.
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
 * Reads:   /sys/class/dmi/id/sys_vendor, then a word of the first line with "Family"
 *          that dmidecode prints (root).
 * Waits:   for dmidecode, where it is queried.
 * Threads: safe.
 */
ORVANE_API char *orvane_get_vendor(void);

/*
 * The model of this machine: its SKU number.
 *
 * Returns: as for orvane_get_vendor().
 * Reads:   /sys/class/dmi/id/product_sku, then a word of the first line with
 *          "Version" that dmidecode prints (root).
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
 * ignore_case: takes out spaces and newlines, and converts ASCII capitals to lower
 *              case, before comparing.
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
 * The manufacturer that maching_machine_type() uses in place of the firmware's.
 * A program may define this function; the text that it returns stays its own and
 * may be static.
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
 * Whether a file's content has an expected SHA-256, SHA-1 or MD5 digest. MD5 and
 * SHA-1 detect an accident, not an attack.
 *
 * path:     NULL is a file that cannot be opened; a pipe or device is read to its
 *           end.
 * expected: 64, 40 or 32 lower-case hexadecimal digits; what stands after them
 *           does not count. NULL is never equal.
 * Returns:  1 if the digest is the expected one, 0 in every other case.
 * Threads:  safe.
 */
ORVANE_API ORVANE_VERDICT int file_check_sha256(const char *path, const char *expected);
ORVANE_API ORVANE_VERDICT int file_check_sha1(const char *path, const char *expected);
ORVANE_API ORVANE_VERDICT int file_check_md5(const char *path, const char *expected);

/* ---- RSA signatures ---------------------------------------------------- */

/*
 * Whether a text carries a valid RSA signature (PKCS #1 v1.5 with SHA-256)
 * under the key of this system, /etc/orvane/public.pem.
 *
 * message:   the text that was signed, up to its terminator.
 * signature: in base64, as for base64_decode_clean(), which prints it.
 * Returns:   true if it is valid; false in every other case, NULL included, with
 *            the reason on standard error unless it does not match the message.
 * Threads:   safe.
 */
ORVANE_API ORVANE_VERDICT bool verify_signature(const char *message, const char *signature);

/*
 * Decodes base64 that may be broken into lines, and prints the text without line
 * feeds, carriage returns and spaces on standard output.
 *
 * text:    the base64 text; NULL gives NULL.
 * size:    where to store the number of bytes; NULL gives NULL.
 * Returns: new block   of `*size` bytes, more than 0; release it with free()
 *          NULL        it decodes to nothing, with 0 in `*size`; or there is no
 *                      memory, or more text than an int counts
 * Threads: safe.
 */
ORVANE_API ORVANE_VERDICT unsigned char *base64_decode_clean(const char *text, int *size);

/*
 * Loads an RSA public key in the PKCS #1 form of PEM ("BEGIN RSA PUBLIC KEY").
 *
 * path:    the file; NULL is a file that cannot be opened, and a pipe is waited
 *          for.
 * Returns: new key (RSA)   release it with OpenSSL's RSA_free()
 *          NULL            there is none; the reason is on standard error
 * Threads: safe.
 */
ORVANE_API struct rsa_st *load_public_key(const char *path);

/*
 * The SHA-256 digest of a text, up to its terminator.
 *
 * text:    NULL gives false.
 * digest:  where to store 32 bytes; NULL gives false.
 * Returns: whether the digest was stored.
 * Threads: safe.
 */
ORVANE_API ORVANE_VERDICT bool compute_sha256(const char *text, unsigned char *digest);

/* ---- GPG --------------------------------------------------------------- */

/*
 * These two work with the one signing key whose public half the library was
 * built with. They run gpg, in the calling user's key store, without a time limit,
 * and leave the environment's locale for the whole process. Threads: for one
 * thread at a time, and no other may depend on the locale meanwhile.
 */

/*
 * Verifies a file that carries its content and its signatures, and returns the
 * content: this alone is vouched for, and not the file.
 *
 * path:    the file, a regular one; NULL is a file that cannot be read.
 * content: where to store a new block to release with free(), of `*length` bytes
 *          and no terminator. If it is NULL, neither is stored.
 * length:  may be NULL.
 * Returns: ORVANE_OK if the first signature is good and all are the built-in
 *          key's, but with NULL in `*content` where it is not returned, as for
 *          more than 4096 bytes; otherwise the reason, and nothing is stored.
 */
ORVANE_API ORVANE_VERDICT int gpg_verify(const char *path, char **content, unsigned int *length);

/*
 * Encrypts a text to the built-in key. Each call keeps a few hundred bytes for
 * good.
 *
 * text:    up to its terminator; NULL gives ORVANE_GPG_TEXT_NOT_TAKEN.
 * message: where to store the ASCII-armoured message, a new text to release with
 *          free(). If it is NULL, neither is stored.
 * length:  where to store its length without the terminator; may be NULL.
 * Returns: ORVANE_OK if the text was encrypted, but with NULL in `*message` where
 *          there is no memory; otherwise the reason, and nothing is stored.
 */
ORVANE_API ORVANE_VERDICT int gpg_encrypt(const char *text, char **message, unsigned int *length);

/* ---- Base64 ------------------------------------------------------------ */

/*
 * Base64 on one line with pads, and the same for the query of a URL, where "+",
 * "/" and "=" are written "%2B", "%2F" and "%3D". The caller's buffers are
 * trusted to have the sizes that the entries name, and must not overlap.
 * Threads: safe.
 */

/*
 * Encodes bytes.
 *
 * data:    `size` bytes; a negative size encodes nothing, to a length of 0.
 * text:    where to store the text: 4 bytes for every 3 of `data` or part of
 *          them. No terminator is added.
 * length:  where to store the text's length.
 * Returns: ORVANE_OK, or ORVANE_BASE64_NOTHING_TO_ENCODE for a NULL, a size of 0
 *          or no memory, and no length is stored.
 */
ORVANE_API ORVANE_VERDICT int base64_encode(const void *data, int size, char *text,
                                            unsigned int *length);

/*
 * Decodes base64.
 *
 * text:    NUL-terminated, all of it base64: no line breaks or blanks.
 * length:  how many of its characters to decode, as a rule all.
 * data:    where to store the bytes; `length` bytes suffice.
 * size:    where to store their number; look at it with ORVANE_OK, too: 0 where
 *          none is decoded, and UINT_MAX where there is no memory.
 * Returns: ORVANE_OK; or, and nothing is stored, the first that applies of
 *          ORVANE_BASE64_NOTHING_TO_DECODE, _LENGTH, _CHARACTER and _PADDING.
 */
ORVANE_API ORVANE_VERDICT int base64_decode(const char *text, int length, void *data,
                                            unsigned int *size);

/*
 * Writes base64 text as it may stand in the query of a URL. A "%" stays.
 *
 * text:       the NUL-terminated text, all of which is checked.
 * length:     how many of its characters to convert, as a rule all.
 * url:        where to store the result: 3 * length + 1 bytes, with the terminator.
 * url_length: where to store its length without the terminator, which an unsigned
 *             int must be able to count.
 * Returns:    ORVANE_OK; ORVANE_TO_URL_NOTHING, and nothing is stored; or
 *             ORVANE_URL_CHARACTER, with 0 as the length.
 */
ORVANE_API ORVANE_VERDICT int transform_to_url(const char *text, unsigned int length, char *url,
                                               unsigned int *url_length);

/*
 * Writes the query form back as base64 text.
 *
 * url:         the NUL-terminated text, all of which is checked.
 * length:      how many of its characters to convert, as a rule all.
 * text:        where to store the result: length + 1 bytes, with the terminator.
 * text_length: where to store its length without the terminator.
 * Returns:     ORVANE_OK; ORVANE_FROM_URL_NOTHING, and nothing is stored; or
 *              ORVANE_URL_CHARACTER or ORVANE_URL_ESCAPE, with 0 as the length.
 */
ORVANE_API ORVANE_VERDICT int transform_from_url(const char *url, unsigned int length, char *text,
                                                 unsigned int *text_length);

/* ---- Operating system -------------------------------------------------- */

/*
 * Which variant of the operating system is installed.
 *
 * Returns: 2   the education variant: its application scene begins with "EDU"
 *          0   every other one, or no scene is known
 * Threads: safe as far as zdk_system_get_appScene() of libzusysinfo is.
 */
ORVANE_API unsigned int orvane_get_os_version(void);

/*
 * The query behind orvane_get_os_version(), which returns its result unchanged.
 */
ORVANE_API unsigned int _os_get_version(void);

/* ---- Trace log --------------------------------------------------------- */

/*
 * Appends one line to the trace log, /var/log/orvane/liborvane.log: a stamp, the
 * process id and the message, at most 1023 bytes with its newline. errno is left
 * as it was.
 *
 * format:  as for printf(), with its arguments; "%m" is the caller's errno.
 * Returns: 1   the log could be opened, even if the write then failed
 *          0   it could not; the reason is on standard error
 * Threads: safe for the log. Stamps may mix, as for time_string().
 */
ORVANE_API int orvane_trace(const char *format, ...) ORVANE_PRINTF(1, 2);

/*
 * Makes sure that the trace log's directory exists. Called for every trace line.
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
 * The stamp of a trace line: local time as "YYYY-MM-DD HH:MM:SS.mmm". At the turn
 * of a minute the old minute may stand beside the new second.
 *
 * Returns: a static text of 23 characters: not to be freed, nor kept across
 *          another call.
 * Threads: two threads inside it may see each other's stamp.
 */
ORVANE_API const char *time_string(void);

/* ---- Event log --------------------------------------------------------- */

/*
 * Appends "(TAG) Time: YYYY-MM-DD HH:MM:SS<tab><tab>Message: MESSAGE<newline>" to
 * a log file. An event that cannot be written is lost.
 *
 * path:    the log file; NULL is a file that cannot be opened.
 * message: any bytes, newlines too; the line is truncated at 1023 bytes, and has
 *          no newline then.
 * tag:     the severity; "II", "WW" and "EE" are in use.
 * enabled: 0 makes the call do nothing at all.
 * Threads: concurrent callers may see each other's stamp.
 */
ORVANE_API void log_write(const char *path, const char *message, const char *tag, int enabled);

/* ---- Key files --------------------------------------------------------- */

/*
 * Key files are GLib's: groups in brackets, each with key=value lines, in UTF-8.
 * The texts returned here are GLib's and are released with g_free(). Where GLib
 * has no memory it ends the process. Threads: safe on different key files.
 */

/*
 * Loads a key file with its comments and translations, so that both survive a
 * save.
 *
 * path:    the file; NULL is a file that cannot be opened.
 * Returns: new key file   release it with g_key_file_free()
 *          NULL           the file is missing, unreadable, malformed or no regular
 *                         file
 */
ORVANE_API struct _GKeyFile *key_file_load_from_file(const char *path);

/*
 * The value of a key as it is written in the file, with its escapes and the blanks
 * after it.
 *
 * Returns: new text   empty where the value is; release it with g_free()
 *          NULL       there is no such group, or no such key in it
 */
ORVANE_API char *key_file_get_value(struct _GKeyFile *kf, const char *group, const char *key);

/*
 * Sets the value of a key, and makes the group and the key where they are
 * missing. The file is not touched until it is saved.
 *
 * value:   as it shall stand in the file, escapes included.
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
 * Saves a key file: a new file beside `path`, with mode 0666 less the umask, is
 * moved over it, so that `path` holds the old text or the new one and never a part.
 * A save that fails leaves the file as it was, and is a GLib warning.
 */
ORVANE_API void key_file_save_to_file(struct _GKeyFile *kf, const char *path);

/* ---- Text and file helpers --------------------------------------------- */

/*
 * The text functions change the caller's text in place, keep the order of what
 * stays, allocate nothing and cannot fail. Threads: safe on different texts.
 */

/* Lowers the ASCII capitals, in any locale. s may be NULL, which does nothing. */
ORVANE_API void toLowerCase(char *s);

/* Deletes every space and newline. s may be NULL, which does nothing. */
ORVANE_API void removeSpaces(char *s);

/* Deletes every space and tab. s must not be NULL. */
ORVANE_API void removeSpacesTabs(char *s);

/*
 * Deletes every newline, space, "(" and ")". s may be NULL, which does nothing.
 */
ORVANE_API void removeSpecialChar(char *s);

/*
 * Deletes the zero bytes among the first `len` bytes. What stays is moved to the
 * start; each of the bytes after it becomes a copy of what was the last of them.
 * No terminator is added and the new length is not reported.
 *
 * buf:     `len` bytes; not read when `len` is 0.
 */
ORVANE_API void remove_null_chars(void *buf, uint32_t len);

/*
 * The bits of a file's mode that are in `mask`; a symbolic link is followed.
 *
 * path:    the file; NULL is a file that cannot be examined.
 * mask:    mode bits as in stat(2), for example S_IFMT or 0400.
 * Returns: st_mode & mask; 0 also when the file cannot be examined.
 * Threads: safe.
 */
ORVANE_API int file_stat(const char *path, int mask);

/*
 * Opens /dev/null on whichever of the descriptors 0, 1 and 2 are closed.
 *
 * Threads: changes descriptors of the whole process: for the start of a program.
 */
ORVANE_API void redirect_stdio(void);

#ifdef __cplusplus
}
#endif

#endif
