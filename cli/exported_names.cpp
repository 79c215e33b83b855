// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The dynamic symbol tables of ELF files, read with libelf. What a damaged file leads to is no more
// than a message: libelf checks each place in the file, and the sizes are checked here.
#include "exported_names.h"

#include "input.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <utility>

#include <elf.h>
#include <gelf.h>
#include <libelf.h>
#include <sys/stat.h>

namespace {

struct end_elf {
    void operator()(Elf *elf) const noexcept { elf_end(elf); }
};

struct section {
    Elf_Scn *handle = nullptr;
    GElf_Shdr header = {};
};

class elf_file {
public:
    explicit elf_file(const std::string &path);

    [[nodiscard]] exports read() const;

private:
    [[noreturn]] void fail(const char *reason) const;
    [[noreturn]] void fail_as_damaged() const { fail("it is truncated or damaged"); }

    [[nodiscard]] bool is_dynamic() const;
    [[nodiscard]] const section *find(GElf_Word type) const;
    [[nodiscard]] Elf_Data *data_of(const section &one) const;
    [[nodiscard]] std::string text(const section &table, std::uint64_t offset) const;
    [[nodiscard]] std::string soname() const;
    [[nodiscard]] std::map<unsigned, std::string> versions() const;
    [[nodiscard]] std::set<std::uint64_t> copied(const section &symbols) const;

    std::string name_;
    unique_stream stream_;
    std::unique_ptr<Elf, end_elf> elf_;
    GElf_Ehdr header_ = {};
    std::vector<section> sections_;
};

elf_file::elf_file(const std::string &path) : name_(name_of_input(path)), stream_(open_input(path))
{
    struct stat file = {};
    const int fd = ::fileno(stream_.get());
    if (::fstat(fd, &file) != 0)
        fail(std::strerror(errno));
    if (!S_ISREG(file.st_mode))
        fail(S_ISDIR(file.st_mode) ? std::strerror(EISDIR) : "it is no regular file");
    elf_version(EV_CURRENT);
    // A mapped file that another process truncates would end this one.
    elf_.reset(elf_begin(fd, ELF_C_READ, nullptr));
    if (elf_kind(elf_.get()) != ELF_K_ELF)
        fail("it is no ELF file");
    if (gelf_getehdr(elf_.get(), &header_) == nullptr)
        fail_as_damaged();
    if (header_.e_type != ET_EXEC && header_.e_type != ET_DYN)
        fail("it is neither a program nor a shared library");
    for (Elf_Scn *one = nullptr; (one = elf_nextscn(elf_.get(), one)) != nullptr;) {
        sections_.push_back({one});
        if (gelf_getshdr(one, &sections_.back().header) == nullptr)
            fail_as_damaged();
    }
}

void elf_file::fail(const char *reason) const
{
    throw std::runtime_error(name_ + ": " + reason);
}

// Whether the dynamic linker loads it.
bool elf_file::is_dynamic() const
{
    std::size_t count = 0;
    if (elf_getphdrnum(elf_.get(), &count) != 0)
        fail_as_damaged();
    for (std::size_t at = 0; at < count; ++at) {
        GElf_Phdr segment = {};
        if (gelf_getphdr(elf_.get(), static_cast<int>(at), &segment) == nullptr)
            fail_as_damaged();
        if (segment.p_type == PT_DYNAMIC)
            return true;
    }
    return false;
}

const section *elf_file::find(GElf_Word type) const
{
    for (const section &one : sections_) {
        if (one.header.sh_type == type)
            return &one;
    }
    return nullptr;
}

Elf_Data *elf_file::data_of(const section &one) const
{
    // libelf counts in int, and reads the whole section.
    Elf_Data *const data =
        one.header.sh_size <= longest_input ? elf_getdata(one.handle, nullptr) : nullptr;
    if (data == nullptr)
        fail_as_damaged();
    return data;
}

// A text of the table of texts that belongs to a section.
std::string elf_file::text(const section &table, std::uint64_t offset) const
{
    if (offset > longest_input)
        fail_as_damaged();
    const char *const found =
        elf_strptr(elf_.get(), table.header.sh_link, static_cast<std::size_t>(offset));
    if (found == nullptr)
        fail_as_damaged();
    // Many names may share one long text. No real one is longer.
    constexpr std::size_t longest = 65536;
    return {found, ::strnlen(found, longest)};
}

std::string elf_file::soname() const
{
    const section *const dynamic = find(SHT_DYNAMIC);
    if (dynamic == nullptr)
        return "";
    Elf_Data *const data = data_of(*dynamic);
    GElf_Dyn entry = {};
    for (int at = 0; gelf_getdyn(data, at, &entry) != nullptr && entry.d_tag != DT_NULL; ++at) {
        if (entry.d_tag == DT_SONAME)
            return text(*dynamic, entry.d_un.d_val); // NOLINT(*-union-access): of the C interface
    }
    return "";
}

// The versions that the file defines, by their numbers. The first one is the file's own name.
std::map<unsigned, std::string> elf_file::versions() const
{
    std::map<unsigned, std::string> names;
    const section *const definitions = find(SHT_GNU_verdef);
    if (definitions == nullptr)
        return names;
    Elf_Data *const data = data_of(*definitions);
    const auto place = [&](std::uint64_t offset) {
        if (offset > data->d_size)
            fail_as_damaged();
        return static_cast<int>(offset);
    };
    GElf_Verdef one = {};
    for (std::uint64_t offset = 0;; offset += one.vd_next) {
        GElf_Verdaux name = {};
        if (gelf_getverdef(data, place(offset), &one) == nullptr ||
            gelf_getverdaux(data, place(offset + one.vd_aux), &name) == nullptr)
            fail_as_damaged();
        if ((one.vd_flags & VER_FLG_BASE) == 0)
            names[one.vd_ndx] = text(*definitions, name.vda_name);
        if (one.vd_next == 0)
            return names;
    }
}

// The relocations that copy a library's data into a program.
constexpr struct {
    GElf_Half machine;
    GElf_Word type;
} copy_relocations[] = {
    {EM_386, R_386_COPY},         {EM_X86_64, R_X86_64_COPY}, {EM_ARM, R_ARM_COPY},
    {EM_AARCH64, R_AARCH64_COPY}, {EM_PPC64, R_PPC64_COPY},   {EM_RISCV, R_RISCV_COPY},
    {EM_S390, R_390_COPY},
};

bool is_copy(GElf_Half machine, GElf_Xword info)
{
    return std::any_of(
        std::begin(copy_relocations), std::end(copy_relocations),
        [=](const auto &one) { return one.machine == machine && one.type == GELF_R_TYPE(info); });
}

// Those that a program has from a library: its own place for a library's data, not its own data.
std::set<std::uint64_t> elf_file::copied(const section &symbols) const
{
    std::set<std::uint64_t> found;
    const auto add = [&](GElf_Xword info) {
        if (is_copy(header_.e_machine, info))
            found.insert(GELF_R_SYM(info));
    };
    for (const section &one : sections_) {
        if (one.header.sh_link != elf_ndxscn(symbols.handle))
            continue;
        if (one.header.sh_type == SHT_RELA) {
            GElf_Rela entry = {};
            Elf_Data *const data = data_of(one);
            for (int at = 0; gelf_getrela(data, at, &entry) != nullptr; ++at)
                add(entry.r_info);
        } else if (one.header.sh_type == SHT_REL) {
            GElf_Rel entry = {};
            Elf_Data *const data = data_of(one);
            for (int at = 0; gelf_getrel(data, at, &entry) != nullptr; ++at)
                add(entry.r_info);
        }
    }
    return found;
}

bool is_exported(const GElf_Sym &symbol)
{
    const unsigned binding = GELF_ST_BIND(symbol.st_info);
    const unsigned visibility = GELF_ST_VISIBILITY(symbol.st_other);
    return symbol.st_shndx != SHN_UNDEF &&
           (binding == STB_GLOBAL || binding == STB_WEAK || binding == STB_GNU_UNIQUE) &&
           (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
}

exports elf_file::read() const
{
    const section *const table = find(SHT_DYNSYM);
    if (sections_.empty() && header_.e_shoff != 0)
        fail_as_damaged();
    if (table == nullptr && is_dynamic())
        fail("it has no section with its dynamic symbols");
    if (table == nullptr)
        return {};

    exports found = {soname(), {}};
    const std::map<unsigned, std::string> names_of_versions = versions();
    const std::set<std::uint64_t> copies = copied(*table);
    const section *const version_table = find(SHT_GNU_versym);
    Elf_Data *const symbols = data_of(*table);
    Elf_Data *const numbers = version_table != nullptr ? data_of(*version_table) : nullptr;
    GElf_Sym symbol = {};
    for (int at = 0; gelf_getsym(symbols, at, &symbol) != nullptr; ++at) {
        if (!is_exported(symbol) || copies.contains(static_cast<std::uint64_t>(at)))
            continue;
        GElf_Versym number = VER_NDX_GLOBAL;
        if (numbers != nullptr && gelf_getversym(numbers, at, &number) == nullptr)
            fail_as_damaged();
        constexpr unsigned number_bits = 0x7fff; // the other one is not of the number
        const auto version = names_of_versions.find(number & number_bits);
        exported_name one = {text(*table, symbol.st_name),
                             version != names_of_versions.end() ? version->second : ""};
        const bool is_version = symbol.st_shndx == SHN_ABS && one.name == one.version;
        if (!is_version)
            found.names.push_back(std::move(one));
    }
    return found;
}

} // namespace

exports read_exports(const std::string &path)
{
    return elf_file(path).read();
}
