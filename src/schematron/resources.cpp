// The library's resource directory and recursive lookups below it, with which a host
// finds the schema directories and string tables shipped with the library.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include <dlfcn.h>

#include "quillmark/schematron_validator.h"

// The folders of the source tree, used when the library runs from its build tree.
#ifndef QUILLMARK_RESOURCE_DIR
#define QUILLMARK_RESOURCE_DIR ""
#endif
#ifndef QUILLMARK_RULES_DIR
#define QUILLMARK_RULES_DIR ""
#endif

namespace quillmark {
namespace {

namespace fs = std::filesystem;

// The directory to walk: the resource directory, joined with the subdirectory when
// one is given; nullopt when the library has no resource directory.
std::optional<std::string> lookupRoot(const std::optional<std::string>& subdirectory) {
    std::string root = resourceDirectory();
    if (root.empty()) return std::nullopt;
    if (!subdirectory) return root;
    if (root.back() != '/') root += '/';
    return root + *subdirectory;
}

// Visits every item below `root` depth first, a directory before its contents, with
// the names of each directory in sorted order; symbolic links are reported but not
// descended into. `visit` gets the path relative to the root and returns true to stop.
bool walk(const fs::path& root, const fs::path& relative, const std::function<bool(const fs::path&)>& visit) {
    std::error_code error;
    std::vector<fs::path> names;
    for (fs::directory_iterator entry(root / relative, error), end; !error && entry != end; entry.increment(error)) {
        names.push_back(entry->path().filename());
    }
    std::sort(names.begin(), names.end());
    for (const auto& name : names) {
        fs::path item = relative / name;
        if (visit(item)) return true;
        fs::path full = root / item;
        if (fs::is_directory(fs::symlink_status(full, error)) && walk(root, item, visit)) return true;
    }
    return false;
}

// The extension without its dot; "" for names without one.
std::string extensionOf(const fs::path& relative) {
    std::string extension = relative.filename().extension().string();
    return extension.empty() ? extension : extension.substr(1);
}

std::string joined(const std::string& root, const fs::path& relative) {
    return root + (root.back() == '/' ? "" : "/") + relative.string();
}

// <prefix>/share/quillmark beside the binary that holds this code (<prefix>/lib or
// <prefix>/bin), when there is one: an installed copy is relocatable.
std::optional<fs::path> installedShareDirectory() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&installedShareDirectory), &info) == 0 || !info.dli_fname) {
        return std::nullopt;
    }
    std::error_code error;
    const fs::path binary = fs::canonical(info.dli_fname, error);
    if (error) return std::nullopt;
    const fs::path share = binary.parent_path().parent_path() / "share" / "quillmark";
    if (!fs::is_directory(share, error)) return std::nullopt;
    return share;
}

}  // namespace

std::string resourceDirectory() {
    if (const char* overridden = std::getenv("QUILLMARK_RESOURCE_DIR"); overridden && *overridden) return overridden;
    if (std::optional<fs::path> share = installedShareDirectory()) return share->string();
    return QUILLMARK_RESOURCE_DIR;
}

std::string rulesDirectory() {
    if (const char* overridden = std::getenv("QUILLMARK_RULES_DIR"); overridden && *overridden) return overridden;
    if (std::optional<fs::path> share = installedShareDirectory()) return (*share / "rules").string();
    return QUILLMARK_RULES_DIR;
}

std::optional<std::string> pathForResource(const std::string& name, const std::optional<std::string>& type,
                                           const std::optional<std::string>& subdirectory) {
    auto root = lookupRoot(subdirectory);
    if (!root) return std::nullopt;
    const std::string target = type ? name + "." + *type : name;
    std::optional<std::string> found;
    walk(*root, {}, [&](const fs::path& relative) {
        if (relative.filename().string() != target) return false;
        found = joined(*root, relative);
        return true;
    });
    return found;
}

std::vector<std::string> pathsForResourcesOfType(const std::optional<std::string>& type,
                                                 const std::optional<std::string>& subdirectory) {
    std::vector<std::string> paths;
    auto root = lookupRoot(subdirectory);
    if (!root || !type) return paths;
    walk(*root, {}, [&](const fs::path& relative) {
        if (extensionOf(relative) == *type) paths.push_back(joined(*root, relative));
        return false;
    });
    return paths;
}

}  // namespace quillmark
