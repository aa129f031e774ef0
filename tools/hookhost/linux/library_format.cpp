#include "tools/hookhost/library_format.h"

#include "tools/hookhost/plugin_file.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <link.h>
#include <vector>

namespace hookhost {

namespace {

/// "64-bit x86-64", from the header of a library.
std::string kindOf(ElfW(Ehdr) const& header)
{
    struct
    {
        unsigned number;
        char const* name;
    } const machines[] = {{EM_386, "i386"}, {EM_X86_64, "x86-64"}, {EM_ARM, "arm"}, {EM_AARCH64, "arm64"}};
    std::string machine = fmt::format("machine {}", header.e_machine);
    for (auto const& each : machines) {
        machine = each.number == header.e_machine ? each.name : machine;
    }
    return fmt::format("{}-bit {}", header.e_ident[EI_CLASS] == ELFCLASS32 ? 32 : 64, machine);
}

/// Reads a library's bytes by their place in the file and by the addresses that they are loaded at. Every number in
/// the file may be wrong.
class LibraryFile
{
public:
    LibraryFile(std::string const& libraryPath, std::string fileBytes)
        : path(libraryPath), bytes(std::move(fileBytes))
    {
        auto const header = at<ElfW(Ehdr)>(0);
        for (std::size_t index = 0; index < header.e_phnum; ++index) {
            auto const segment = at<ElfW(Phdr)>(header.e_phoff + index * sizeof(ElfW(Phdr)));
            if (segment.p_type == PT_LOAD) {
                loaded.push_back(segment);
            } else if (segment.p_type == PT_DYNAMIC) {
                dynamic = segment;
            }
        }
    }

    std::set<std::string> exportedNames() const
    {
        ElfW(Addr) const symbols = entry(DT_SYMTAB);
        ElfW(Addr) const names = entry(DT_STRTAB);
        std::set<std::string> exported;
        for (std::size_t index = 1, count = symbolCount(); index < count; ++index) {
            auto const symbol = atAddress<ElfW(Sym)>(symbols + index * sizeof(ElfW(Sym)));
            unsigned const binding = symbol.st_info >> 4U;
            if (symbol.st_shndx != SHN_UNDEF && (binding == STB_GLOBAL || binding == STB_WEAK)) {
                exported.insert(textAtAddress(names + symbol.st_name));
            }
        }
        return exported;
    }

private:
    [[noreturn]] void refuseDamaged() const
    {
        refusePlugin(path,
                     "this library is damaged: its headers point outside the file; build or copy it again");
    }

    template<class Type>
    Type at(std::size_t place) const
    {
        if (place > bytes.size() || bytes.size() - place < sizeof(Type)) {
            refuseDamaged();
        }
        Type value;
        std::memcpy(&value, bytes.data() + place, sizeof value);
        return value;
    }

    std::size_t placeOf(ElfW(Addr) address) const
    {
        for (auto const& segment : loaded) {
            if (address >= segment.p_vaddr && address - segment.p_vaddr < segment.p_filesz) {
                return segment.p_offset + (address - segment.p_vaddr);
            }
        }
        refuseDamaged();
    }

    template<class Type>
    Type atAddress(ElfW(Addr) address) const
    {
        return at<Type>(placeOf(address));
    }

    std::string textAtAddress(ElfW(Addr) address) const
    {
        std::size_t const begin = placeOf(address);
        return bytes.substr(begin, bytes.find('\0', begin) - begin);
    }

    /// An entry of the dynamic section; 0 if there is none.
    ElfW(Addr) entry(ElfW(Sxword) tag) const
    {
        for (std::size_t offset = 0; offset < dynamic.p_filesz; offset += sizeof(ElfW(Dyn))) {
            auto const each = at<ElfW(Dyn)>(dynamic.p_offset + offset);
            if (each.d_tag == tag || each.d_tag == DT_NULL) {
                return each.d_tag == tag ? each.d_un.d_ptr : 0;
            }
        }
        return 0;
    }

    /// The number of symbols. The symbol table has no length, but the hash table has every symbol that can be found.
    std::size_t symbolCount() const
    {
        if (ElfW(Addr) const table = entry(DT_HASH); table != 0) {
            return atAddress<uint32_t>(table + 4);
        }
        ElfW(Addr) const table = entry(DT_GNU_HASH);
        if (table == 0) {
            return 0;
        }
        auto const buckets = atAddress<uint32_t>(table);
        auto const firstHashed = atAddress<uint32_t>(table + 4);
        auto const filterWords = atAddress<uint32_t>(table + 8);
        ElfW(Addr) const firstBucket = table + 16 + ElfW(Addr){filterWords} * sizeof(ElfW(Addr));
        ElfW(Addr) const firstChain = firstBucket + ElfW(Addr){buckets} * 4;
        uint32_t last = 0;
        for (uint32_t bucket = 0; bucket < buckets; ++bucket) {
            last = std::max(last, atAddress<uint32_t>(firstBucket + ElfW(Addr){bucket} * 4));
        }
        if (last < firstHashed) {
            return 0;
        }
        while ((atAddress<uint32_t>(firstChain + ElfW(Addr){last - firstHashed} * 4) & 1U) == 0) {
            ++last; // the last symbol of a bucket has the lowest bit set
        }
        return std::size_t{last} + 1;
    }

    std::string const path;
    std::string const bytes;
    std::vector<ElfW(Phdr)> loaded;
    ElfW(Phdr) dynamic = {};
};

} // namespace

void requireLoadableKind(std::string const& path)
{
    ElfW(Ehdr) header = {};
    std::ifstream(path, std::ios::binary).read(reinterpret_cast<char*>(&header), sizeof header);
    Dl_info self = {};
    dladdr(reinterpret_cast<void const*>(&requireLoadableKind), &self);
    auto const& own = *static_cast<ElfW(Ehdr) const*>(self.dli_fbase);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) { // a short file leaves zeros here
        refusePlugin(path, "this is not a dynamic library; give the plug-in's .so file");
    }
    // The fields up to the machine have the same place in both word sizes.
    if (header.e_ident[EI_CLASS] != own.e_ident[EI_CLASS] || header.e_machine != own.e_machine) {
        refusePlugin(
            path, fmt::format("this is a {} library and this hookhost loads {} ones; give one of that kind "
                              "or use a hookhost of the library's kind",
                              kindOf(header), kindOf(own)));
    }
    if (header.e_type != ET_DYN) {
        refusePlugin(path,
                     "this is an object file or a program; give a dynamic library (linked with -shared)");
    }
}

std::optional<std::set<std::string>> exportedNames(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return LibraryFile(path, std::move(bytes)).exportedNames();
}

} // namespace hookhost
