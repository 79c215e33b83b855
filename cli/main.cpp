#include "orvane.h"
#include <cstdio>
int main(){ char *u=orvane_get_system_uuid(); puts(u?u:"none"); printf("%u\n", orvane_get_os_version()); }
