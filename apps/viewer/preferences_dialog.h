#pragma once
// Preferences: the schema folders the viewer validates with, kept between sessions.

#include <QDialog>
#include <QStringList>

class QListWidget;
class QPushButton;

namespace quillmark::viewer {

class PreferencesDialog : public QDialog {
    Q_OBJECT
public:
    PreferencesDialog(const QStringList& folders, QWidget* parent);

    QStringList folders() const;
    // Adds a folder unless it is listed already.
    void addFolder(const QString& folder);
    void removeSelectedFolders();

private:
    void chooseFolder();
    void updateButtons();

    QListWidget* _list;
    QPushButton* _removeButton;
};

}  // namespace quillmark::viewer
