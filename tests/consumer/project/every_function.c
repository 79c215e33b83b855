/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* Calls every function of the library from C, with no header but its own and the standard's.
 * The queries come from the table of the tests, so that a new one is called here as well. */
#include <orvane.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

static void expect(int holds, const char *what)
{
    if (!holds) {
        printf("failed: %s\n", what);
        ++failures;
    }
}

static void show_text(const char *function, char *text)
{
    printf("%s: %s\n", function, text != NULL ? text : "NULL");
    free(text);
}

static void show_number(const char *function, unsigned int number)
{
    printf("%s: %u\n", function, number);
}

static void show_truth(const char *function, int truth)
{
    show_number(function, truth != 0);
}

#define ROOT_DEVICE "/dev/sda"
#define EACH_DISK "nvme0n1"
#define QUERY(kind, function) show_##kind(#function, function());
#define QUERY_OF(kind, function, argument) show_##kind(#function, function(argument));

static void call_queries(void)
{
    char *listing = get_lsblk_output();

#include "queries.def"
    show_text("find_root_disk", find_root_disk(listing));
    free(listing);
}

static void call_manufacturer_queries(void)
{
    /* Kept until the end: g_key_file_free() is GLib's, which this program does without. */
    struct _GKeyFile *exact = generate_machine_whitelist();
    struct _GKeyFile *folded = generate_machine_whitelist_ignore_case();
    int type = maching_machine_type(exact, false);

    if (type == -1)
        type = maching_machine_type(folded, true);
    printf("manufacturer: %s\n", machineTypeToString(type));
    expect(maching_machine_type_with_dmidecode("THTF Computer", "THTF"), "a pattern matches");
    expect(findTypeEnum(manufacturerType[23].identification) == manufacturerType[23].type,
           "the last entry is found");
}

static void call_logs(const char *scratch)
{
    expect(orvane_logger_env_init() == 1, "the trace directory is made");
    expect(orvane_is_tracing() == 1, "tracing is on");
    orvane_trace("called from %s", "C");
    expect(strlen(time_string()) == 23, "a stamp has 23 characters");

    log_write(scratch, "called", "II", 1);
    expect(file_stat(scratch, 0600) == 0600, "the event log is there");
}

static void call_key_files(const char *scratch)
{
    struct _GKeyFile *kf;
    size_t length = 0;
    FILE *file = fopen(scratch, "w");

    expect(file != NULL && fputs("[group]\nkey=value\n", file) >= 0 && fclose(file) == 0,
           "a key file is written");
    kf = key_file_load_from_file(scratch);
    expect(kf != NULL, "a key file is loaded");
    if (kf == NULL)
        return;
    key_file_set_value(kf, "group", "key", "other");
    expect(strcmp(key_file_get_value(kf, "group", "key"), "other") == 0, "a value is kept");
    expect(key_file_to_data(kf, &length) != NULL && length > 0, "a key file is text");
    key_file_save_to_file(kf, scratch);
}

static void call_helpers(void)
{
    char text[] = "A (b)\t\n";
    char bytes[] = {'a', '\0', 'b'};

    redirect_stdio();
    toLowerCase(text);
    removeSpecialChar(text);
    expect(strcmp(text, "ab\t") == 0, "special characters are removed");
    removeSpacesTabs(text);
    removeSpaces(text);
    expect(strcmp(text, "ab") == 0, "blanks are removed");
    remove_null_chars(bytes, sizeof bytes);
    expect(memcmp(bytes, "ab", 2) == 0, "zero bytes are removed");
}

static void call_digests_and_signatures(const char *scratch)
{
    unsigned char digest[32];
    unsigned char *decoded;
    int size = 0;

    expect(file_check_sha256(scratch, "e3") == 0, "no digest is that short");
    expect(file_check_sha1(scratch, NULL) == 0, "no text is no digest");
    expect(file_check_md5(NULL, "d4") == 0, "no path is no file");
    expect(compute_sha256("abc", digest) && digest[0] == 0xba, "a text has a digest");
    decoded = base64_decode_clean("YW\nJj", &size);
    expect(size == 3 && memcmp(decoded, "abc", 3) == 0, "broken lines are decoded");
    free(decoded);
    expect(load_public_key(scratch) == NULL, "no key in that file");
    expect(!verify_signature("text", ""), "no signature");
}

static void call_encodings(void)
{
    char text[8];
    char url[16];
    char bytes[8];
    unsigned int length = 0;

    expect(base64_encode("\xfb", 1, text, &length) == ORVANE_OK && length == 4, "4 characters");
    text[length] = '\0';
    expect(transform_to_url(text, length, url, &length) == ORVANE_OK, "to the query form");
    expect(strcmp(url, "%2Bw%3D%3D") == 0, "the query form");
    expect(transform_from_url(url, length, text, &length) == ORVANE_OK, "and back");
    expect(base64_decode(text, (int)length, bytes, &length) == ORVANE_OK, "to bytes");
    expect(length == 1 && bytes[0] == '\xfb', "the byte");
}

static void call_gpg(void)
{
    /* Refused before the user's key store is touched. */
    expect(gpg_verify(NULL, NULL, NULL) == ORVANE_GPG_FILE_UNREADABLE, "no path is no file");
    expect(gpg_encrypt(NULL, NULL, NULL) == ORVANE_GPG_TEXT_NOT_TAKEN, "no text");
}

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    remove(argv[1]);
    call_queries();
    call_manufacturer_queries();
    call_logs(argv[1]);
    call_key_files(argv[1]);
    call_helpers();
    call_digests_and_signatures(argv[1]);
    call_encodings();
    call_gpg();
    return failures == 0 ? 0 : 1;
}
