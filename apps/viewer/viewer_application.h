#pragma once
// The viewer as a whole: the validator with the schema folders' catalog, the open
// document windows, recent files and preferences. Schema folders and the evaluation
// profile come from the command line (this session only) and from the preferences
// (remembered).

#include <QList>
#include <QObject>
#include <QStringList>
#include <memory>
#include <optional>

#include "quillmark/schematron_validator.h"

class QSettings;
class QWidget;

namespace quillmark::viewer {

class DocumentWindow;

class ViewerApplication : public QObject {
    Q_OBJECT
public:
    // Without settings nothing is read or remembered between sessions.
    ViewerApplication(QSettings* settings, QStringList commandLineSchemaFolders, QObject* parent = nullptr);
    ~ViewerApplication() override;

    QMSchematronValidator& validator() { return *_validator; }
    // The folders whose schemas validate documents: the command line's, then the stored.
    QStringList schemaFolders() const;
    QStringList storedSchemaFolders() const;
    // Remembers the folders, rebuilds the catalog and validates the open documents again.
    void setStoredSchemaFolders(const QStringList& folders);
    // How rule sets are read: the command line's choice for this session, else the
    // stored preference, else standard (XPath 2.0 and ISO Schematron).
    Semantics semantics() const;
    Semantics storedSemantics() const;
    void setCommandLineSemantics(std::optional<Semantics> semantics);
    // Remembers the folders and the profile, then validates the open documents again.
    void setStoredPreferences(const QStringList& folders, Semantics semantics);

    QStringList recentFiles() const;
    void noteRecentFile(const QString& path);
    void clearRecentFiles();

    DocumentWindow* newWindow();
    const QList<DocumentWindow*>& windows() const { return _windows; }
    // Opens a file in `target` when that window shows no document yet, else in a new
    // window; a file already open has its window brought to the front. Null on failure,
    // with the reason in `error`.
    DocumentWindow* openFile(const QString& path, DocumentWindow* target, QString* error);
    // As openFile for several files, telling the user about those that fail.
    void openFiles(const QStringList& paths, DocumentWindow* target);

    void showOpenDialog(DocumentWindow* target);
    void showPreferences(QWidget* parent);
    void showAbout(QWidget* parent);

signals:
    void recentFilesChanged();

private:
    void rebuildValidator();
    void revalidateOpenDocuments();
    void storeRecentFiles(const QStringList& files);

    QSettings* _settings;
    QStringList _commandLineFolders;
    std::optional<Semantics> _commandLineSemantics;
    QStringList _sessionRecentFiles;  // used when there are no settings
    std::unique_ptr<QMSchematronValidator> _validator;
    QList<DocumentWindow*> _windows;
};

}  // namespace quillmark::viewer
