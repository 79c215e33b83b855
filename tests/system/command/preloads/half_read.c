/* SPDX-License-Identifier: LGPL-2.1-or-later
 *
 * Replaces a function of liborvane: it stops in the middle of the file, opens the named pipe
 * $REACHED for writing and then $GO for reading, each of which waits for the other end.
 */
#define _GNU_SOURCE
#include "orvane.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

int file_check_sha256(const char *path, const char *expected)
{
    struct stat file;
    const int fd = open(path, O_RDONLY | O_CLOEXEC);

    (void)expected;
    if (fd < 0 || fstat(fd, &file) != 0 || lseek(fd, file.st_size / 2, SEEK_SET) < 0)
        return 0;
    close(open(getenv("REACHED"), O_WRONLY | O_CLOEXEC));
    close(open(getenv("GO"), O_RDONLY | O_CLOEXEC));
    close(fd);
    return 1;
}
