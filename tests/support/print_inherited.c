/* SPDX-License-Identifier: LGPL-2.1-or-later */
/*
 * Prints on one line the descriptors of this program and what they lead to, each with a tab behind
 * it; not the standard ones.
 * Usage: print_inherited DIRECTORY, which is its own /proc/self/fd.
 */
#define _DEFAULT_SOURCE
#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

int main(int count, char **arguments)
{
    DIR *const directory = count == 2 ? opendir(arguments[1]) : NULL;
    if (directory == NULL)
        return EXIT_FAILURE;
    for (const struct dirent *entry; (entry = readdir(directory)) != NULL;) {
        const int descriptor = atoi(entry->d_name);
        char target[256] = "";
        if (descriptor <= STDERR_FILENO || descriptor == dirfd(directory))
            continue;
        if (readlinkat(dirfd(directory), entry->d_name, target, sizeof target - 1) > 0)
            printf("%d %s\t", descriptor, target);
    }
    puts("");
    return EXIT_SUCCESS;
}
