#pragma once
// Preferences: the schema folders the viewer validates with and how their rule sets
// are read (standard or compatible), kept between sessions.

#include <QDialog>
#include <QStringList>

#include "quillmark/semantics.h"

class QComboBox;
class QListWidget;
class QPushButton;

namespace quillmark::viewer {

class PreferencesDialog : public QDialog {
    Q_OBJECT
public:
    PreferencesDialog(const QStringList& folders, Semantics semantics, QWidget* parent);

    QStringList folders() const;
    Semantics semantics() const;
    void setSemantics(Semantics semantics);
    // Adds a folder unless it is listed already.
    void addFolder(const QString& folder);
    void removeSelectedFolders();

private:
    void chooseFolder();
    void updateButtons();

    QListWidget* _list;
    QComboBox* _semantics;
    QPushButton* _removeButton;
};

}  // namespace quillmark::viewer
