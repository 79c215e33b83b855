/* SPDX-License-Identifier: LGPL-2.1-or-later
 *
 * Stands before liborvane in a process and gives the results that the environment names, with
 * nothing handed over: some come from no input that a test could make.
 */
#include "orvane.h"

#include <stdlib.h>

static int named(const char *variable)
{
    const char *const value = getenv(variable);
    return value != NULL ? atoi(value) : 0;
}

int gpg_verify(const char *path, char **content, unsigned int *length)
{
    (void)path;
    (void)length;
    *content = NULL;
    return named("RESULT");
}

int gpg_encrypt(const char *text, char **message, unsigned int *length)
{
    (void)text;
    (void)length;
    *message = NULL;
    return named("RESULT");
}

int base64_decode(const char *text, int length, void *data, unsigned int *size)
{
    (void)text;
    (void)length;
    (void)data;
    *size = (unsigned int)named("SIZE");
    return named("RESULT");
}
