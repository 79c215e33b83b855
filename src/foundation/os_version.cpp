// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which variant of the operating system is installed.
#include "orvane.h"

#include "foundation/application_scene.h"
#include "support/text.h"

namespace orvane {

namespace {

constexpr unsigned int ordinary_version = 0;
constexpr unsigned int education_version = 2;

// Deliberate: a prefix, so that "EDU" and every edition named after it count.
bool is_education(const char *scene) noexcept
{
    return has_prefix(scene, "EDU");
}

} // namespace

} // namespace orvane

extern "C" unsigned int _os_get_version(void)
{
    ::orvane_trace("_os_get_version, begin");
    const orvane::heap_text scene = orvane::application_scene();
    if (!scene)
        return orvane::ordinary_version;

    ::orvane_trace("_os_get_version, os_ver = %s", scene.get());
    return orvane::is_education(scene.get()) ? orvane::education_version : orvane::ordinary_version;
}

extern "C" unsigned int orvane_get_os_version(void)
{
    return ::_os_get_version();
}
