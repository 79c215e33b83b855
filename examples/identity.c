/* SPDX-License-Identifier: LGPL-2.1-or-later */
/*
 * Prints what identifies this machine, one fact a line, and "-" for a fact without an answer.
 *
 * Shows:  the queries, that each answer is freed, and that NULL is an answer, too.
 * Build:  cc identity.c -o identity $(pkg-config --cflags --libs liborvane)
 * Run:    sudo ./identity
 *
 * Another user than root gets fewer answers, and the library's messages about its trace log on
 * standard error. The status is 1 where no fact is known.
 */
#include <orvane.h>
#include <stdio.h>
#include <stdlib.h>

/* A text from firmware or from a disk may hold any byte, and a terminal obeys some of them. */
static void print_text(const char *text)
{
    for (; *text != '\0'; ++text) {
        unsigned char c = (unsigned char)*text;

        putchar(c < 0x20 || c >= 0x7f ? '?' : c);
    }
    putchar('\n');
}

/* Prints an answer, frees it, and returns whether there was one. */
static int report(const char *fact, char *answer)
{
    int known = answer != NULL && *answer != '\0';

    printf("%-12s ", fact);
    print_text(known ? answer : "-");
    free(answer);
    return known;
}

int main(void)
{
    int known = 0;

    known += report("root_device", root_device());
    known += report("disk", orvane_get_harddisk_id());
    /* "00:00:00:00:00:00" means that no driver knows a permanent address. */
    known += report("mac", orvane_get_network_interface_max_mac());
    known += report("system_uuid", orvane_get_system_uuid());
    known += report("vendor", orvane_get_vendor());
    known += report("model", orvane_get_model());
    /* These two are numbers and always have an answer. */
    printf("%-12s %d\n", "lenovo", is_lenovo_machine());
    printf("%-12s %u\n", "os_version", orvane_get_os_version());

    if (fflush(stdout) != 0 || ferror(stdout)) {
        perror("identity: standard output");
        return 1;
    }
    return known > 0 ? 0 : 1;
}
