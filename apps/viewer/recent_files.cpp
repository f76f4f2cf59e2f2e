#include "recent_files.h"

namespace quillmark::viewer {

QStringList withRecentFile(QStringList files, const QString& path, int maximum) {
    if (path.isEmpty()) return files;
    files.removeAll(path);
    files.prepend(path);
    while (files.size() > std::max(0, maximum)) files.removeLast();
    return files;
}

}  // namespace quillmark::viewer
