#include "app/window/QtSavePanel.h"

#include "app/window/PlainTip.h"
#include "base/Texts.h"

#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <vector>

namespace {
/// Rows of check boxes below all that the dialogue has.
std::vector<QCheckBox*> addOptions(QFileDialog& dialog, const SaveRequest& request, const Texts& texts) {
    std::vector<QCheckBox*> boxes;
    auto* grid = dynamic_cast<QGridLayout*>(dialog.layout());
    for (const SaveOption& option : request.options) {
        auto* box = new QCheckBox(QString::fromStdString(texts(option.titleKey)), &dialog);
        if (!option.helpKey.empty())
            box->setToolTip(plainTip(QString::fromStdString(texts(option.helpKey))));
        box->setChecked(option.on);
        if (grid != nullptr)
            grid->addWidget(box, grid->rowCount(), 0, 1, -1);
        boxes.push_back(box);
    }
    return boxes;
}
} // namespace

std::optional<std::string> QtSavePanel::choose(SaveRequest& request) {
    const auto text = [this](const std::string& key) { return QString::fromStdString(m_texts(key)); };
    QFileDialog dialog(m_window, text(request.titleKey));
    dialog.setOption(QFileDialog::DontUseNativeDialog); // the desktop's own has no place for the check boxes
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setLabelText(QFileDialog::Accept, text(request.promptKey));
    if (!request.fileType.empty()) {
        const QString type = QString::fromStdString(request.fileType);
        dialog.setNameFilter("*." + type);
        dialog.setDefaultSuffix(type);
    }
    // Wherever the program was started from, a person's files lie at home.
    dialog.setDirectory(request.folder.empty() ? QDir::homePath() : QString::fromStdString(request.folder));
    dialog.selectFile(QString::fromStdString(request.suggestedName));
    const std::vector<QCheckBox*> boxes = addOptions(dialog, request, m_texts);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    for (std::size_t number = 0; number < boxes.size(); ++number)
        request.options[number].on = boxes[number]->isChecked();
    QString path = dialog.selectedFiles().first();
    // A name with another extension gets the required one behind it.
    if (const QString suffix = "." + QString::fromStdString(request.fileType);
        !request.fileType.empty() && !path.endsWith(suffix))
        path += suffix;
    return path.toStdString();
}
