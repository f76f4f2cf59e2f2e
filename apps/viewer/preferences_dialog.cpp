#include "preferences_dialog.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "viewer_strings.h"

namespace quillmark::viewer {

PreferencesDialog::PreferencesDialog(const QStringList& folders, QWidget* parent) : QDialog(parent) {
    setWindowTitle(text("viewer.prefs.title"));
    resize(520, 340);

    auto* heading = new QLabel(text("viewer.prefs.schemas"), this);
    QFont headingFont = heading->font();
    headingFont.setWeight(QFont::DemiBold);
    heading->setFont(headingFont);
    auto* hint = new QLabel(text("viewer.prefs.hint"), this);
    hint->setWordWrap(true);

    _list = new QListWidget(this);
    _list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    for (const QString& folder : folders) addFolder(folder);

    auto* addButton = new QPushButton(text("viewer.prefs.add"), this);
    _removeButton = new QPushButton(text("viewer.prefs.remove"), this);
    connect(addButton, &QPushButton::clicked, this, &PreferencesDialog::chooseFolder);
    connect(_removeButton, &QPushButton::clicked, this, &PreferencesDialog::removeSelectedFolders);
    connect(_list, &QListWidget::itemSelectionChanged, this, &PreferencesDialog::updateButtons);

    auto* box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(box, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(box, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* listButtons = new QHBoxLayout;
    listButtons->addWidget(addButton);
    listButtons->addWidget(_removeButton);
    listButtons->addStretch();
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(hint);
    layout->addWidget(_list, 1);
    layout->addLayout(listButtons);
    layout->addWidget(box);
    updateButtons();
}

QStringList PreferencesDialog::folders() const {
    QStringList result;
    for (int row = 0; row < _list->count(); ++row) result << _list->item(row)->text();
    return result;
}

void PreferencesDialog::addFolder(const QString& folder) {
    if (folder.isEmpty() || folders().contains(folder)) return;
    _list->addItem(folder);
}

void PreferencesDialog::removeSelectedFolders() {
    qDeleteAll(_list->selectedItems());
    updateButtons();
}

void PreferencesDialog::chooseFolder() {
    auto* dialog = new QFileDialog(this, text("viewer.prefs.choose"));
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::fileSelected, this, &PreferencesDialog::addFolder);
    dialog->open();
}

void PreferencesDialog::updateButtons() { _removeButton->setEnabled(!_list->selectedItems().isEmpty()); }

}  // namespace quillmark::viewer
