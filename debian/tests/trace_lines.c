/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* Writes numbered lines to the trace log until the file STOP exists, and prints their number.
 * Usage: trace_lines NAME STOP */
#include <orvane.h>

#include <stdio.h>
#include <unistd.h>

int main(int argc, char **argv)
{
    unsigned long lines = 0;

    if (argc != 3)
        return 2;
    while (access(argv[2], F_OK) != 0) {
        if (orvane_trace("%s %lu", argv[1], lines) != 1)
            return 1;
        ++lines;
    }
    printf("%lu\n", lines);
    return 0;
}
