// SPDX-License-Identifier: LGPL-2.1-or-later
#include "version.h"

#include "orvane.h"

std::string version_text()
{
    return "orvane " ORVANE_VERSION "\n"
           "signing key " ORVANE_SIGNING_KEY_FINGERPRINT " (" ORVANE_SIGNING_KEY_ORIGIN ")\n"
           "features: " ORVANE_FEATURES "\n";
}
