// SPDX-License-Identifier: LGPL-2.1-or-later
#include "library_slots.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <stdexcept>
#include <system_error>

#include <dlfcn.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr char soname[] = "liborvane.so.1";

const link_map &loaded_library()
{
    void *const handle = ::dlopen(soname, RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr)
        throw std::runtime_error(std::string(soname) + " is not loaded");
    link_map *loaded = nullptr;
    ::dlinfo(handle, RTLD_DI_LINKMAP, static_cast<void *>(&loaded));
    ::dlclose(handle); // the program itself keeps it
    return *loaded;
}

// The dynamic section of a loaded object, whose addresses the dynamic linker has made absolute.
class dynamic_section {
public:
    explicit dynamic_section(const link_map &loaded) : base_(loaded.l_addr)
    {
        for (const ElfW(Dyn) *entry = loaded.l_ld; entry->d_tag != DT_NULL; ++entry)
            entries_[entry->d_tag] = entry->d_un.d_val;
    }

    [[nodiscard]] std::size_t value(ElfW(Sxword) tag) const
    {
        const auto found = entries_.find(tag);
        return found == entries_.end() ? 0 : found->second;
    }

    template <class T> [[nodiscard]] const T *table(ElfW(Sxword) tag) const
    {
        return reinterpret_cast<const T *>(value(tag));
    }

    [[nodiscard]] std::span<const ElfW(Rela)> relocations(ElfW(Sxword) tag, ElfW(Sxword) size) const
    {
        return {table<ElfW(Rela)>(tag), value(size) / sizeof(ElfW(Rela))};
    }

    [[nodiscard]] void **slot(const ElfW(Rela) & relocation) const
    {
        return reinterpret_cast<void **>(base_ + relocation.r_offset);
    }

private:
    ElfW(Addr) base_;
    std::map<ElfW(Sxword), std::size_t> entries_;
};

// Otherwise a slot would hold the way to the function's first look-up, which writes into it.
void require_that_all_is_resolved(const dynamic_section &section)
{
    if ((section.value(DT_FLAGS) & DF_BIND_NOW) == 0 && (section.value(DT_FLAGS_1) & DF_1_NOW) == 0)
        throw std::runtime_error(std::string(soname) + " is bound lazily");
}

bool is_imported_function(const ElfW(Sym) & symbol)
{
    // What is only referred to has no type where the linker did not know the other object's.
    const auto type = ELF64_ST_TYPE(symbol.st_info);
    return symbol.st_name != 0 && symbol.st_shndx == SHN_UNDEF &&
           (type == STT_FUNC || type == STT_NOTYPE || type == STT_GNU_IFUNC);
}

} // namespace

std::vector<imported_function> imported_functions()
{
    const dynamic_section section(loaded_library());
    require_that_all_is_resolved(section);
    const auto *const symbols = section.table<ElfW(Sym)>(DT_SYMTAB);
    const auto *const names = section.table<char>(DT_STRTAB);

    std::map<std::string, std::vector<void **>> slots;
    for (const auto &relocations :
         {section.relocations(DT_JMPREL, DT_PLTRELSZ), section.relocations(DT_RELA, DT_RELASZ)}) {
        for (const ElfW(Rela) & relocation : relocations) {
            const ElfW(Sym) &symbol = symbols[ELF64_R_SYM(relocation.r_info)];
            void **const slot = section.slot(relocation);
            if (is_imported_function(symbol) && *slot != nullptr)
                slots[names + symbol.st_name].push_back(slot);
        }
    }
    std::vector<imported_function> functions;
    for (const auto &[name, places] : slots)
        functions.push_back({name, places});
    return functions;
}

void replace(const imported_function &function, void *replacement)
{
    const auto page_bytes = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    for (void **const slot : function.slots) {
        // They are read-only since the library was loaded.
        const auto page = reinterpret_cast<std::uintptr_t>(slot) / page_bytes * page_bytes;
        if (::mprotect(reinterpret_cast<void *>(page), page_bytes, PROT_READ | PROT_WRITE) != 0)
            throw std::system_error(errno, std::generic_category(), "mprotect");
        *slot = replacement;
    }
}
