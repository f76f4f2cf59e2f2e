// Expanding the FILE arguments of `quillmark validate`: folders to their XML files.

#include "input_files.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <utility>

namespace quillmark::cli {

namespace {

namespace fs = std::filesystem;

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool hasXmlExtension(const fs::path& path) { return lowerCase(path.extension().string()) == ".xml"; }

// A directory as the file system knows it, whatever path leads there.
struct DirectoryId {
    dev_t device;
    ino_t inode;
    auto operator<=>(const DirectoryId&) const = default;
};

std::optional<DirectoryId> directoryId(const fs::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
    return DirectoryId{status.st_dev, status.st_ino};
}

// The XML files below one folder argument.
class FolderWalk {
public:
    std::vector<InputFile> filesBelow(const fs::path& folder) {
        walk(folder, fs::path());
        std::sort(files_.begin(), files_.end(),
                  [](const InputFile& a, const InputFile& b) { return a.path < b.path; });
        return std::move(files_);
    }

private:
    // The entries of a directory by name, so that the walk does not depend on the
    // order the file system lists them in.
    std::optional<std::vector<fs::directory_entry>> sortedEntries(const fs::path& directory, std::string& reason) {
        std::error_code code;
        std::vector<fs::directory_entry> entries;
        for (fs::directory_iterator it(directory, code), end; !code && it != end; it.increment(code))
            entries.push_back(*it);
        if (code) {
            reason = "cannot list the folder: " + code.message();
            return std::nullopt;
        }
        std::sort(entries.begin(), entries.end(),
                  [](const fs::directory_entry& a, const fs::directory_entry& b) { return a.path() < b.path(); });
        return entries;
    }

    void walk(const fs::path& directory, const fs::path& relative) {
        const std::optional<DirectoryId> id = directoryId(directory);
        if (id && !visited_.insert(*id).second) return;
        std::string reason;
        const auto entries = sortedEntries(directory, reason);
        if (!entries) {
            files_.push_back({directory.string(), relative.empty() ? directory.filename().string() : relative.string(),
                              reason});
            return;
        }
        for (const fs::directory_entry& entry : *entries) {
            const fs::path name = entry.path().filename();
            std::error_code code;
            if (entry.is_directory(code)) {
                walk(entry.path(), relative / name);
                continue;
            }
            if (hasXmlExtension(name)) files_.push_back({entry.path().string(), (relative / name).string(), {}});
        }
    }

    std::set<DirectoryId> visited_;
    std::vector<InputFile> files_;
};

std::string fileNameOf(const std::string& argument) {
    const std::string name = fs::path(argument).filename().string();
    if (name.empty() || name == "." || name == "..") return "document";
    return name;
}

}  // namespace

InputFiles collectInputFiles(const std::vector<std::string>& arguments) {
    InputFiles inputs;
    for (const std::string& argument : arguments) {
        std::error_code code;
        if (!fs::is_directory(argument, code)) {
            inputs.files.push_back({argument, fileNameOf(argument), {}});
            continue;
        }
        inputs.hasFolder = true;
        std::vector<InputFile> found = FolderWalk().filesBelow(argument);
        if (found.empty()) inputs.emptyFolders.push_back(argument);
        for (InputFile& file : found) inputs.files.push_back(std::move(file));
    }
    return inputs;
}

std::vector<std::string> reportFileNames(const std::vector<InputFile>& files, const std::string& extension) {
    std::vector<std::string> names;
    std::set<std::string> taken;  // lower case
    for (const InputFile& file : files) {
        const fs::path relative(file.relativeName);
        const fs::path stem = relative.parent_path() / relative.stem();
        fs::path name = fs::path(stem).concat(extension);
        for (int suffix = 2; taken.contains(lowerCase(name.string())); ++suffix)
            name = fs::path(stem).concat("-" + std::to_string(suffix) + extension);
        taken.insert(lowerCase(name.string()));
        names.push_back(name.string());
    }
    return names;
}

}  // namespace quillmark::cli
