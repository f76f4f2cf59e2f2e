#pragma once
// The documents of a `quillmark validate` call, from its FILE arguments: a file stands
// for itself (even when it does not exist: it is reported as not validated), a folder
// for every `.xml` file below it (the extension in any case), found recursively and
// listed in byte order of the path. Symbolic links are followed, but every directory is
// walked once (known by device and inode), so that link loops end and a directory
// reached by two ways is listed once.

#include <optional>
#include <string>
#include <vector>

namespace quillmark::cli {

struct InputFile {
    std::string path;  // as given, or the folder argument joined with the path below it
    // The path to report under in an output directory: the file name for a file
    // argument, the path below the folder for a file found in one.
    std::string relativeName;
    // Set when the file cannot be validated before it is even read (a directory that
    // cannot be listed is reported in place of the files it may hold).
    std::optional<std::string> failure;
};

struct InputFiles {
    std::vector<InputFile> files;
    // Folder arguments without any `.xml` file below them, as given.
    std::vector<std::string> emptyFolders;
    bool hasFolder = false;  // some argument was a folder
};

InputFiles collectInputFiles(const std::vector<std::string>& arguments);

// Report file names below an output directory, one per input in order: the relative
// name with its extension replaced by `extension` (".svrl"); a name taken already (in
// any case, for case-insensitive file systems) gets "-2", "-3", ... before the extension.
std::vector<std::string> reportFileNames(const std::vector<InputFile>& files, const std::string& extension);

}  // namespace quillmark::cli
