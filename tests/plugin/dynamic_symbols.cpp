#include "dynamic_symbols.h"

#include <elf.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace {

template <typename Record>
Record record_at(const std::vector<char>& file, std::size_t offset) {
    if (offset + sizeof(Record) > file.size()) throw std::runtime_error("truncated ELF file");
    Record record;
    std::memcpy(&record, file.data() + offset, sizeof(Record));
    return record;
}

std::string string_at(const std::vector<char>& file, const Elf64_Shdr& table, std::size_t index) {
    if (index >= table.sh_size) throw std::runtime_error("bad string index");
    return std::string(file.data() + table.sh_offset + index);
}

}  // namespace

DynamicSymbols read_dynamic_symbols(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::vector<char> file{std::istreambuf_iterator<char>(stream), {}};
    const auto header = record_at<Elf64_Ehdr>(file, 0);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != ELFCLASS64) {
        throw std::runtime_error(path + " is no 64-bit ELF file");
    }
    std::vector<Elf64_Shdr> sections;
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
        sections.push_back(record_at<Elf64_Shdr>(file, header.e_shoff + i * header.e_shentsize));
    }
    DynamicSymbols symbols;
    for (const Elf64_Shdr& section : sections) {
        const Elf64_Shdr& strings = sections.at(section.sh_link);
        if (section.sh_type == SHT_DYNSYM) {
            for (std::size_t at = sizeof(Elf64_Sym); at < section.sh_size;
                 at += sizeof(Elf64_Sym)) {
                const auto symbol = record_at<Elf64_Sym>(file, section.sh_offset + at);
                const std::string name = string_at(file, strings, symbol.st_name);
                if (symbol.st_shndx == SHN_UNDEF) {
                    symbols.undefined.insert(name);
                } else if (ELF64_ST_BIND(symbol.st_info) != STB_LOCAL) {
                    symbols.defined.insert(name);
                }
            }
        } else if (section.sh_type == SHT_DYNAMIC) {
            for (std::size_t at = 0; at < section.sh_size; at += sizeof(Elf64_Dyn)) {
                const auto entry = record_at<Elf64_Dyn>(file, section.sh_offset + at);
                if (entry.d_tag == DT_NEEDED) {
                    symbols.needed.insert(string_at(file, strings, entry.d_un.d_val));
                }
            }
        }
    }
    return symbols;
}
