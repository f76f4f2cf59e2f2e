#include "viewer_application.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QSettings>

#include "document_window.h"
#include "preferences_dialog.h"
#include "recent_files.h"
#include "viewer_strings.h"

namespace quillmark::viewer {

namespace {

constexpr const char* kSchemaFoldersKey = "schemaFolders";
constexpr const char* kRecentFilesKey = "recentFiles";
constexpr const char* kSemanticsKey = "semantics";

QString canonicalPath(const QString& path) {
    QFileInfo info(path);
    QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.absoluteFilePath() : canonical;
}

}  // namespace

ViewerApplication::ViewerApplication(QSettings* settings, QStringList commandLineSchemaFolders, QObject* parent)
    : QObject(parent), _settings(settings), _commandLineFolders(std::move(commandLineSchemaFolders)) {
    rebuildValidator();
}

ViewerApplication::~ViewerApplication() {
    // Windows point back at the application; they go first.
    const QList<DocumentWindow*> windows = _windows;
    _windows.clear();
    qDeleteAll(windows);
}

QStringList ViewerApplication::storedSchemaFolders() const {
    return _settings ? _settings->value(kSchemaFoldersKey).toStringList() : QStringList();
}

QStringList ViewerApplication::schemaFolders() const {
    QStringList folders = _commandLineFolders;
    for (const QString& folder : storedSchemaFolders()) {
        if (!folders.contains(folder)) folders << folder;
    }
    return folders;
}

void ViewerApplication::setStoredSchemaFolders(const QStringList& folders) {
    if (_settings) _settings->setValue(kSchemaFoldersKey, folders);
    rebuildValidator();
    revalidateOpenDocuments();
}

Semantics ViewerApplication::storedSemantics() const {
    const QString stored = _settings ? _settings->value(kSemanticsKey).toString() : QString();
    return semanticsNamed(stored.toStdString()).value_or(Semantics::Standard);
}

Semantics ViewerApplication::semantics() const { return _commandLineSemantics.value_or(storedSemantics()); }

void ViewerApplication::setCommandLineSemantics(std::optional<Semantics> semantics) {
    _commandLineSemantics = semantics;
    rebuildValidator();
    revalidateOpenDocuments();
}

void ViewerApplication::setStoredPreferences(const QStringList& folders, Semantics semantics) {
    if (_settings) {
        _settings->setValue(kSchemaFoldersKey, folders);
        _settings->setValue(kSemanticsKey, QString::fromUtf8(semanticsName(semantics).data()));
    }
    rebuildValidator();
    revalidateOpenDocuments();
}

void ViewerApplication::rebuildValidator() {
    _validator = std::make_unique<QMSchematronValidator>();
    _validator->setSemantics(semantics());
    for (const QString& folder : schemaFolders()) _validator->addSchemaDirectory(folder.toStdString());
}

void ViewerApplication::revalidateOpenDocuments() {
    for (DocumentWindow* window : _windows) {
        if (window->hasDocument()) window->validate();
    }
}

QStringList ViewerApplication::recentFiles() const {
    return _settings ? _settings->value(kRecentFilesKey).toStringList() : _sessionRecentFiles;
}

void ViewerApplication::storeRecentFiles(const QStringList& files) {
    if (_settings)
        _settings->setValue(kRecentFilesKey, files);
    else
        _sessionRecentFiles = files;
    emit recentFilesChanged();
}

void ViewerApplication::noteRecentFile(const QString& path) { storeRecentFiles(withRecentFile(recentFiles(), path)); }

void ViewerApplication::clearRecentFiles() { storeRecentFiles({}); }

DocumentWindow* ViewerApplication::newWindow() {
    auto* window = new DocumentWindow(*this);
    _windows << window;
    connect(window, &QObject::destroyed, this, [this, window] { _windows.removeAll(window); });
    return window;
}

DocumentWindow* ViewerApplication::openFile(const QString& path, DocumentWindow* target, QString* error) {
    const QString canonical = canonicalPath(path);
    for (DocumentWindow* window : _windows) {
        if (window->filePath() == canonical) {
            window->show();
            window->raise();
            window->activateWindow();
            return window;
        }
    }
    DocumentWindow* window = target && !target->hasDocument() ? target : nullptr;
    const bool created = window == nullptr;
    if (created) window = newWindow();
    if (!window->loadFile(canonical, error)) {
        if (created) delete window;
        return nullptr;
    }
    noteRecentFile(canonical);
    return window;
}

void ViewerApplication::openFiles(const QStringList& paths, DocumentWindow* target) {
    for (const QString& path : paths) {
        QString error;
        DocumentWindow* window = openFile(path, target, &error);
        if (!window) {
            auto* box = new QMessageBox(QMessageBox::Warning, text("viewer.error.open_title"),
                                        format("viewer.error.open", {QFileInfo(path).fileName(), error}),
                                        QMessageBox::Ok, target);
            box->setAttribute(Qt::WA_DeleteOnClose);
            box->open();
            continue;
        }
        window->show();
        target = window;
    }
}

void ViewerApplication::showOpenDialog(DocumentWindow* target) {
    auto* dialog = new QFileDialog(target, text("viewer.open.title"));
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setNameFilter(text("viewer.open.filter"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::filesSelected, this, [this, target](const QStringList& files) {
        openFiles(files, target);
    });
    dialog->open();
}

void ViewerApplication::showPreferences(QWidget* parent) {
    auto* dialog = new PreferencesDialog(storedSchemaFolders(), storedSemantics(), parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this,
            [this, dialog] { setStoredPreferences(dialog->folders(), dialog->semantics()); });
    dialog->open();
}

void ViewerApplication::showAbout(QWidget* parent) {
    QMessageBox::about(parent, text("viewer.app.name"),
                       QStringLiteral("<b>%1</b><p>%2</p>").arg(text("viewer.app.name"), text("viewer.about.text")));
}

}  // namespace quillmark::viewer
