// SPDX-License-Identifier: LGPL-2.1-or-later
#include <orvane.h>

int main()
{
    char text[] = "A b";
    removeSpaces(text);
    return text[1] == 'b' ? 0 : 1;
}
