/* SPDX-License-Identifier: LGPL-2.1-or-later */
/*
 * Verifies a downloaded file: the list of digests that came with it is signed by the distributor,
 * and the file has the digest that the list has for its name.
 *
 * Shows:  verify_signature() for a short text and file_check_sha256() for a file of any size.
 * Build:  cc verify_download.c -o verify_download $(pkg-config --cflags --libs liborvane)
 * Run:    ./verify_download SHA256SUMS SHA256SUMS.sig FILE
 *
 * The distributor makes the list and signs it under the key whose public half is installed here as
 * /etc/orvane/public.pem (docs/keys.md):
 *     sha256sum FILE... >SHA256SUMS
 *     openssl dgst -sha256 -sign private.pem SHA256SUMS | openssl base64 >SHA256SUMS.sig
 *
 * The status is 0 where the file is as it was published, 1 where it is not or nobody vouches for
 * it, 2 for wrong use and 3 where a file cannot be read. Verify a file where nobody else can write:
 * it may be replaced between this check and its use.
 */
#define _POSIX_C_SOURCE 200809L
#include <orvane.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum { HEX_DIGITS = 64, LARGEST_TEXT = 1024 * 1024 };

/* The whole of a small text file, or NULL with a message. */
static char *read_text(const char *path)
{
    FILE *file = fopen(path, "rb");
    char *text = file != NULL ? malloc(LARGEST_TEXT + 1) : NULL;
    size_t length = text != NULL ? fread(text, 1, LARGEST_TEXT + 1, file) : 0;

    if (text == NULL || ferror(file)) {
        perror(path);
    } else if (length > LARGEST_TEXT || memchr(text, '\0', length) != NULL) {
        /* A signature covers a text up to its first NUL, and nothing behind that. */
        fprintf(stderr, "%s: too long, or no text\n", path);
    } else {
        text[length] = '\0';
        fclose(file);
        return text;
    }
    free(text);
    if (file != NULL)
        fclose(file);
    return NULL;
}

/* The line of the list, "DIGITS  NAME" or "DIGITS *NAME", that names a file; NULL: there is none.
 */
static const char *line_for(const char *list, const char *name)
{
    size_t length = strlen(name);
    const char *line = list;

    while (line != NULL && *line != '\0') {
        const char *end = strchr(line, '\n');
        size_t all = end != NULL ? (size_t)(end - line) : strlen(line);

        if (all == HEX_DIGITS + 2 + length && strspn(line, "0123456789abcdef") == HEX_DIGITS &&
            line[HEX_DIGITS] == ' ' && memcmp(line + HEX_DIGITS + 2, name, length) == 0)
            return line;
        line = end != NULL ? end + 1 : NULL;
    }
    return NULL;
}

/* Whether the list is signed and the file is on it, as one of the statuses above. */
static int verify(const char *list, const char *signature, const char *path)
{
    const char *slash = strrchr(path, '/');
    const char *line;

    /* This also writes a line, "Cleaned Base64", to standard output. */
    if (!verify_signature(list, signature)) {
        fprintf(stderr, "%s: the list of digests is not signed by the distributor\n", path);
        return 1;
    }
    line = line_for(list, slash != NULL ? slash + 1 : path);
    if (line == NULL) {
        fprintf(stderr, "%s: not on the list of digests\n", path);
        return 1;
    }
    /* The check has one answer for a file that differs and for one that cannot be read. */
    if (access(path, R_OK) != 0) {
        perror(path);
        return 3;
    }
    /* What stands behind the digits does not count, so the line itself will do. */
    if (file_check_sha256(path, line) != 1) {
        fprintf(stderr, "%s: altered\n", path);
        return 1;
    }
    printf("%s: OK\n", path);
    return 0;
}

int main(int argc, char **argv)
{
    char *list, *signature;
    int status = 3;

    if (argc != 4) {
        fprintf(stderr, "usage: verify_download SHA256SUMS SHA256SUMS.sig FILE\n");
        return 2;
    }
    list = read_text(argv[1]);
    signature = read_text(argv[2]);
    if (list != NULL && signature != NULL)
        status = verify(list, signature, argv[3]);
    free(list);
    free(signature);
    return status;
}
