#include "app/window/QtAlert.h"

#include "base/RunLoop.h"
#include "base/Texts.h"

#include <algorithm>
#include <chrono>
#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

namespace {
constexpr std::chrono::milliseconds patience{1000};

/// Sets the message off from what explains it, and gives both lines of a length that reads well.
void dress(QMessageBox& box) {
    constexpr int leastWidth = 320; // pixels
    if (auto* message = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label")); message != nullptr) {
        QFont heavy = message->font();
        heavy.setBold(true);
        message->setFont(heavy);
        message->setMinimumWidth(leastWidth);
    }
}
} // namespace

QtAlert::~QtAlert() {
    for (const QPointer<QMessageBox>& box : m_open)
        delete box.data();
}

AlertAnswer QtAlert::ask(const AlertRequest& request) {
    const QPointer<QMessageBox> box = makeBox(request).release(); // its window may delete it meanwhile
    callPersonTo(*box);
    box->exec();
    const QAbstractButton* pressed = box.isNull() ? nullptr : box->clickedButton();
    const QString name = pressed == nullptr ? QString() : pressed->objectName();
    delete box.data();
    if (name == "default")
        return AlertAnswer::defaultButton;
    if (name == "other")
        return AlertAnswer::otherButton;
    // Closed without an answer, as when the program ends: cancel where that is possible.
    return request.alternateKey.empty() ? AlertAnswer::defaultButton : AlertAnswer::alternateButton;
}

/// A window that is being opened, or the box itself, needs a moment to come to the front.
void QtAlert::callPersonTo(QMessageBox& box) const {
    if (!m_unseen)
        return;
    auto* const timer = new QTimer(&box);
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, &box, [&box, call = m_unseen] {
        if (QApplication::activeWindow() == nullptr)
            call(box.text(), box.informativeText());
    });
    timer->start(patience);
}

void QtAlert::dismissQuestion() {
    if (QWidget* question = QApplication::activeModalWidget(); question != nullptr)
        question->close();
}

void QtAlert::tell(const AlertRequest& request) {
    m_runLoop.post([this, alive = std::weak_ptr(m_alive), request] {
        if (!alive.expired())
            show(request);
    });
}

std::unique_ptr<QMessageBox> QtAlert::makeBox(const AlertRequest& request) const {
    const auto text = [this](const std::string& key) { return QString::fromStdString(m_texts(key)); };
    auto box = std::make_unique<QMessageBox>(m_window.data());
    box->setObjectName(QString::fromStdString(request.messageKey));
    box->setIcon(QMessageBox::Warning);
    box->setWindowTitle(text("ApplicationName"));
    box->setTextFormat(Qt::PlainText);
    box->setText(text(request.messageKey));
    if (!request.informativeKey.empty())
        box->setInformativeText(text(request.informativeKey));

    QPushButton* first = box->addButton(text(request.defaultKey), QMessageBox::AcceptRole);
    first->setObjectName("default");
    box->setDefaultButton(first);
    QPushButton* escape = first;
    if (!request.alternateKey.empty()) {
        escape = box->addButton(text(request.alternateKey), QMessageBox::RejectRole);
        escape->setObjectName("alternate");
    }
    if (!request.otherKey.empty())
        box->addButton(text(request.otherKey), QMessageBox::DestructiveRole)->setObjectName("other");
    box->setEscapeButton(escape);
    dress(*box);
    return box;
}

void QtAlert::show(const AlertRequest& request) {
    std::erase_if(m_open, [](const QPointer<QMessageBox>& box) { return box.isNull(); });
    const QString name = QString::fromStdString(request.messageKey);
    for (const QPointer<QMessageBox>& open : m_open)
        if (open->objectName() == name) {
            open->raise();
            return;
        }
    QMessageBox* box = makeBox(request).release(); // deletes itself when it is closed
    callPersonTo(*box);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setModal(false);
    box->show();
    m_open.emplace_back(box);
}
