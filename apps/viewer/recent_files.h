#pragma once
// The list behind File > Open Recent: most recent first, each file once, a few at most.

#include <QStringList>

namespace quillmark::viewer {

inline constexpr int kMaximumRecentFiles = 10;

QStringList withRecentFile(QStringList files, const QString& path, int maximum = kMaximumRecentFiles);

}  // namespace quillmark::viewer
