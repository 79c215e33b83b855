// SPDX-License-Identifier: LGPL-2.1-or-later
#include "built_locales.h"

#include "process.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <unistd.h>

namespace {

class locale_directory {
public:
    locale_directory()
    {
        if (::mkdtemp(path_.data()) == nullptr)
            throw std::system_error(errno, std::generic_category(), "mkdtemp");
        std::filesystem::permissions(path_, std::filesystem::perms{0755});
        build("tr_TR", "ISO-8859-9");
        build("de_DE", "ISO-8859-1");
    }
    locale_directory(const locale_directory &) = delete;
    locale_directory &operator=(const locale_directory &) = delete;
    ~locale_directory()
    {
        std::error_code ignored;
        if (::getpid() == owner_)
            std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] const std::string &path() const { return path_; }

private:
    void build(const std::string &language, const std::string &characters) const
    {
        const auto built = run_program({"localedef", "-i", language, "-f", characters,
                                        path_ + "/" + language + "." + characters},
                                       [] { return true; });
        if (built.status != 0)
            throw std::runtime_error("no locale " + language + ": " + built.error);
    }

    std::string path_ = "/tmp/orvane-locales.XXXXXX";
    pid_t owner_ = ::getpid();
};

} // namespace

const std::string &built_locales()
{
    static const locale_directory directory;
    return directory.path();
}
