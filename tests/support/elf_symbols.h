// The sections and symbols of a shared library or program, read from its ELF file. Types and bindings are those of
// <elf.h>: STT_FUNC, STT_OBJECT; STB_GLOBAL, STB_WEAK, STB_LOCAL.
#pragma once

#include <cstdint>
#include <cstring>
#include <elf.h>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace nvo::tests {

struct ElfSection {
    std::string name;
    std::uint64_t flags, address, size;

    bool writable() const { return (flags & SHF_WRITE) != 0; }
    bool executable() const { return (flags & SHF_EXECINSTR) != 0; }
};

struct ElfSymbol {
    std::string name;
    unsigned type, binding;
    std::uint64_t address, size; // address as linked: in a loaded library, from its base
    int section;                 // index; SHN_UNDEF, or SHN_LORESERVE and above, if it lies in none

    bool defined() const { return section != SHN_UNDEF; }
    bool weak() const { return binding == STB_WEAK; }
};

class ElfFile {
public:
    std::vector<ElfSection> sections;
    std::vector<ElfSymbol> dynamic; // what the loader sees
    std::vector<ElfSymbol> all;     // empty in a stripped file

    explicit ElfFile(const std::string& path) : path_(path) {
        std::ifstream in(path, std::ios::binary | std::ios::ate);
        if (in) bytes_.resize(static_cast<std::size_t>(in.tellg()));
        in.seekg(0);
        in.read(bytes_.data(), static_cast<std::streamsize>(bytes_.size()));
        if (bytes_.size() < sizeof(Elf64_Ehdr) || std::memcmp(bytes_.data(), ELFMAG, SELFMAG) != 0 ||
            bytes_[EI_CLASS] != ELFCLASS64)
            throw std::runtime_error(path + ": not a 64-bit ELF file");
        const auto header = at<Elf64_Ehdr>(0);
        std::vector<Elf64_Shdr> headers;
        for (unsigned i = 0; i < header.e_shnum; ++i)
            headers.push_back(at<Elf64_Shdr>(header.e_shoff + std::uint64_t{i} * header.e_shentsize));
        for (const Elf64_Shdr& h : headers)
            sections.push_back(
                {text(headers.at(header.e_shstrndx).sh_offset + h.sh_name), h.sh_flags, h.sh_addr, h.sh_size});
        for (const Elf64_Shdr& h : headers) {
            if (h.sh_type == SHT_DYNSYM) dynamic = symbols(h, headers.at(h.sh_link));
            if (h.sh_type == SHT_SYMTAB) all = symbols(h, headers.at(h.sh_link));
        }
        bytes_ = {};
    }

private:
    std::string path_, bytes_;

    template <class T> T at(std::uint64_t offset) const {
        if (offset > bytes_.size() || bytes_.size() - offset < sizeof(T))
            throw std::runtime_error(path_ + ": cut short");
        T value;
        std::memcpy(&value, bytes_.data() + offset, sizeof value);
        return value;
    }
    std::string text(std::uint64_t offset) const {
        const std::size_t end = bytes_.find('\0', offset);
        if (end == std::string::npos) throw std::runtime_error(path_ + ": cut short");
        return bytes_.substr(offset, end - offset);
    }
    std::vector<ElfSymbol> symbols(const Elf64_Shdr& table, const Elf64_Shdr& names) const {
        std::vector<ElfSymbol> list;
        for (std::uint64_t i = 1; i < table.sh_size / sizeof(Elf64_Sym); ++i) { // the first one is empty
            const auto s = at<Elf64_Sym>(table.sh_offset + i * sizeof(Elf64_Sym));
            list.push_back({text(names.sh_offset + s.st_name), static_cast<unsigned>(ELF64_ST_TYPE(s.st_info)),
                            static_cast<unsigned>(ELF64_ST_BIND(s.st_info)), s.st_value, s.st_size, s.st_shndx});
        }
        return list;
    }
};

} // namespace nvo::tests
