#pragma once
// The string table seen from Qt.

#include <QString>
#include <QStringList>

namespace quillmark::viewer {

QString text(const char* key);
// The entry for `key` filled with the arguments in order ("%@", "%lu").
QString format(const char* key, const QStringList& arguments);
QString toQString(const std::string& text);

}  // namespace quillmark::viewer
