#include "viewer_strings.h"

#include "quillmark/ui/strings.h"

namespace quillmark::viewer {

QString toQString(const std::string& text) { return QString::fromStdString(text); }

QString text(const char* key) { return toQString(ui::localizedString(key)); }

QString format(const char* key, const QStringList& arguments) {
    std::vector<std::string> values;
    for (const QString& argument : arguments) values.push_back(argument.toStdString());
    return toQString(ui::localizedFormat(key, values));
}

}  // namespace quillmark::viewer
