/* SPDX-License-Identifier: LGPL-2.1-or-later */
/*
 * Checks a licence file that is signed and bound to one machine.
 *
 * Shows:  gpg_verify(), that only the content which it returns counts, and the comparison of that
 *         with this machine's identity.
 * Build:  cc licence.c -o licence $(pkg-config --cflags --libs liborvane)
 * Run:    sudo ./licence LICENCE.asc
 *
 * The vendor writes "key=value" lines and signs them with the key that the library was built with
 * (docs/keys.md); system_uuid and disk are what `orvane show system_uuid` and `orvane show disk`
 * print on the customer's machine, and one of them is enough:
 *     printf 'product=Example\nsystem_uuid=4c4c4544-...\n' >licence
 *     gpg --local-user FINGERPRINT --output LICENCE.asc --clear-sign licence
 *
 * The status is 0 for a licence of this machine, 1 for none, 2 for wrong use and 3 where the file
 * cannot be read or this machine's identity is not known, for which root is needed.
 *
 * What it is not for: it shows an honest user which machine a licence is for, and that nobody has
 * edited it. It does not stop a determined user, who is root and can replace the library, this
 * program, or what the firmware reports (a virtual machine reports whatever its owner chooses).
 */
#define _POSIX_C_SOURCE 200809L
#include <locale.h>
#include <orvane.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { LICENSED = 0, NOT_LICENSED = 1, UNKNOWN = 3 };

/* Compares a line's value with this machine's answer, and frees the answer. */
static int compare(const char *key, const char *value, char *answer)
{
    int status = LICENSED;

    /* An empty answer is none: every machine without an identity would be the same one. */
    if (answer == NULL || *answer == '\0') {
        fprintf(stderr, "licence: the %s of this machine is not known\n", key);
        status = UNKNOWN;
    } else if (strcmp(answer, value) != 0) {
        fprintf(stderr, "licence: for another machine: the %s differs\n", key);
        status = NOT_LICENSED;
    }
    free(answer);
    return status;
}

/*
 * Goes through the lines of the signed text, which it cuts up. Only a line that begins with a known
 * key counts: with GPGME before 1.24 the listing of a key in the file may stand beside them.
 */
static int judge(char *text)
{
    char *rest = NULL;
    int bound = 0;

    for (char *line = strtok_r(text, "\r\n", &rest); line != NULL;
         line = strtok_r(NULL, "\r\n", &rest)) {
        char *value = strchr(line, '=');
        int status = LICENSED;

        if (value == NULL)
            continue;
        *value++ = '\0';
        if (strcmp(line, "system_uuid") == 0)
            status = compare(line, value, orvane_get_system_uuid());
        else if (strcmp(line, "disk") == 0)
            status = compare(line, value, orvane_get_harddisk_id());
        else
            continue; /* what else the licence grants, such as product=, is the program's */
        if (status != LICENSED)
            return status;
        bound = 1;
    }
    if (!bound)
        fprintf(stderr, "licence: it names no machine\n");
    return bound ? LICENSED : NOT_LICENSED;
}

int main(int argc, char **argv)
{
    char *content = NULL, *text = NULL;
    unsigned int length = 0;
    int code, status = NOT_LICENSED;

    if (argc != 2) {
        fprintf(stderr, "usage: licence LICENCE.asc\n");
        return 2;
    }
    code = gpg_verify(argv[1], &content, &length);
    /* It leaves the environment's locale, which decides what is kept of a disk's serial number. */
    setlocale(LC_ALL, "C");
    if (code == ORVANE_GPG_FILE_UNREADABLE) {
        fprintf(stderr, "licence: %s cannot be read\n", argv[1]);
        status = UNKNOWN;
    } else if (code != ORVANE_OK) /* `orvane gpg verify LICENCE.asc` prints the cause */
        fprintf(stderr, "licence: %s is not signed by the vendor, or altered (%d)\n", argv[1],
                code);
    else if (content == NULL) /* the signature is good, and there is nothing that it covers */
        fprintf(stderr, "licence: %s has more than 4096 bytes, or there is no memory\n", argv[1]);
    else if (memchr(content, '\0', length) != NULL)
        fprintf(stderr, "licence: %s is no text\n", argv[1]);
    else if ((text = strndup(content, length)) == NULL) /* content has no terminator */
        perror("licence");
    else
        status = judge(text);
    free(text);
    free(content);
    if (status == LICENSED)
        puts("licensed");
    return status;
}
