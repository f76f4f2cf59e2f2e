#include "preferences_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "viewer_strings.h"

namespace quillmark::viewer {

namespace {

QLabel* headingLabel(const QString& title, QWidget* parent) {
    auto* heading = new QLabel(title, parent);
    QFont font = heading->font();
    font.setWeight(QFont::DemiBold);
    heading->setFont(font);
    return heading;
}

QLabel* hintLabel(const QString& hint, QWidget* parent) {
    auto* label = new QLabel(hint, parent);
    label->setWordWrap(true);
    return label;
}

}  // namespace

PreferencesDialog::PreferencesDialog(const QStringList& folders, Semantics semantics, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(text("viewer.prefs.title"));
    resize(520, 420);

    auto* heading = headingLabel(text("viewer.prefs.schemas"), this);
    auto* hint = hintLabel(text("viewer.prefs.hint"), this);

    _list = new QListWidget(this);
    _list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    for (const QString& folder : folders) addFolder(folder);

    auto* addButton = new QPushButton(text("viewer.prefs.add"), this);
    _removeButton = new QPushButton(text("viewer.prefs.remove"), this);
    connect(addButton, &QPushButton::clicked, this, &PreferencesDialog::chooseFolder);
    connect(_removeButton, &QPushButton::clicked, this, &PreferencesDialog::removeSelectedFolders);
    connect(_list, &QListWidget::itemSelectionChanged, this, &PreferencesDialog::updateButtons);

    _semantics = new QComboBox(this);
    _semantics->addItem(text("viewer.prefs.semantics.standard"), static_cast<int>(Semantics::Standard));
    _semantics->addItem(text("viewer.prefs.semantics.compatible"), static_cast<int>(Semantics::Compatible));
    setSemantics(semantics);

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
    layout->addSpacing(8);
    layout->addWidget(headingLabel(text("viewer.prefs.semantics"), this));
    layout->addWidget(hintLabel(text("viewer.prefs.semantics.hint"), this));
    layout->addWidget(_semantics);
    layout->addWidget(box);
    updateButtons();
}

QStringList PreferencesDialog::folders() const {
    QStringList result;
    for (int row = 0; row < _list->count(); ++row) result << _list->item(row)->text();
    return result;
}

Semantics PreferencesDialog::semantics() const {
    return _semantics->currentData().toInt() == static_cast<int>(Semantics::Compatible) ? Semantics::Compatible
                                                                                        : Semantics::Standard;
}

void PreferencesDialog::setSemantics(Semantics semantics) {
    _semantics->setCurrentIndex(_semantics->findData(static_cast<int>(semantics)));
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
