// The name table of the built-in functions.

#include <string>
#include <unordered_map>

#include "builtin_functions.h"

namespace quillmark::functions {
namespace {

using Table = std::unordered_map<std::string_view, BuiltinFunction>;

Table buildTable() {
    Table table;
    for (auto family : {stringFunctions, numberFunctions, sequenceFunctions, regexFunctions, booleanFunctions}) {
        for (const BuiltinEntry& entry : family()) table.emplace(entry.first, entry.second);
    }
    return table;
}

}  // namespace

BuiltinFunction findBuiltinFunction(std::string_view name) {
    static const Table table = buildTable();
    auto found = table.find(name);
    return found == table.end() ? nullptr : found->second;
}

}  // namespace quillmark::functions
