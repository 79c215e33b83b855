// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Who tells the application scene: the operating system's libzusysinfo, or os-release without it.
#include "foundation/application_scene.h"

#include "support/glib_handles.h"

#include <cstring>

// Weak, so that the library loads without libzusysinfo and asks whatever object of the process
// defines the function: the real library, the program itself, or a test.
extern "C" [[gnu::weak]] char *zdk_system_get_appScene(void);

namespace orvane {

namespace {

char *variant_of_os_release() noexcept
{
    const glib_text variant(::g_get_os_info("VARIANT"));
    return variant ? ::strdup(variant.get()) : nullptr;
}

} // namespace

heap_text application_scene() noexcept
{
    return heap_text(zdk_system_get_appScene != nullptr ? ::zdk_system_get_appScene()
                                                        : variant_of_os_release());
}

} // namespace orvane
