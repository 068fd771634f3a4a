#pragma once

#include <set>
#include <string>

// What a shared library offers and asks for, read from its dynamic symbol table: the names it
// defines with global binding, the names it leaves undefined, and the libraries it needs.
struct DynamicSymbols {
    std::set<std::string> defined;
    std::set<std::string> undefined;
    std::set<std::string> needed;
};

// Throws for a file that is not a 64-bit ELF shared object.
DynamicSymbols read_dynamic_symbols(const std::string& path);
