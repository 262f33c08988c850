// The real window of a rehearsed application, with all its tabs and drawers.
#pragma once
#include "app/MainWindowModel.h"
#include "app/VmPrefer.h"
#include "app/window/MainWindow.h"
#include "app/window/TableBox.h"
#include "app/WindowAssembly.h"
#include "base/VmTableView.h"
#include "keeper/VmKeeper.h"
#include "schedule/ScheduleDesk.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <QAbstractButton>
#include <QApplication>
#include <QProxyStyle>
#include <QTest>
#include <stdexcept>

/// Shown with the wanted tab; keys and clicks are real events.
class SessionWindow {
public:
    explicit SessionWindow(int tab, const std::vector<RehearsalDesk::Setting>& settings = {},
                           const char* language = "en")
        : it(settings) {
        QApplication::setStyle(new PromptStyle);
        it.desk.texts = Texts::forLanguage(language);
        it.desk.launch();
        it.desk.runFor(1.0);
        controler().mainTab().choose(tab);
        window = assembleWindow(controler(), it.desk.texts, [] { return true; });
        window->show();
        window->activateWindow();
        pass(0.0);
    }
    VmControler& controler() { return *it.desk.controler; }
    /// Lets time pass, and shows what became of it.
    void pass(double seconds) {
        it.desk.runFor(seconds);
        QApplication::processEvents();
    }
    template <typename Widget>
    Widget& named(const char* name) const {
        for (QWidget* found : window->findChildren<QWidget*>(QString::fromLatin1(name)))
            if (auto* widget = dynamic_cast<Widget*>(found); widget != nullptr)
                return *widget;
        throw std::runtime_error(name);
    }
    void click(const char* name) {
        QTest::mouseClick(&named<QWidget>(name), Qt::LeftButton);
        pass(0.0);
    }
    void clickRow(const char* table, int row) {
        auto& box = named<TableBox>(table);
        QTest::mouseClick(box.viewport(), Qt::LeftButton, Qt::NoModifier,
                          box.visualRect(box.model()->index(row, 1)).center());
        pass(0.0);
    }
    void key(QWidget& widget, Qt::Key code, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&widget, code, modifiers);
        pass(0.0);
    }
    /// What is shown and can be reached with the tab key, but has no name or, as a button, no words.
    std::vector<std::string> nameless() const {
        std::vector<std::string> found;
        for (QWidget* widget : window->findChildren<QWidget*>()) {
            if (!widget->isVisible() || (widget->focusPolicy() & Qt::TabFocus) == 0 ||
                widget->objectName().startsWith(QLatin1String("qt_")))
                continue;
            const auto* button = qobject_cast<QAbstractButton*>(widget);
            if (widget->accessibleName().isEmpty() && (button == nullptr || button->text().isEmpty()))
                found.push_back(std::string(widget->metaObject()->className()) + " " +
                                widget->objectName().toStdString());
        }
        return found;
    }
    bool wasAsked(const std::string& messageKey) const {
        const auto shown = it.desk.alert.shown();
        return std::ranges::any_of(shown,
                                   [&](const auto& each) { return each.request.messageKey == messageKey; });
    }

private:
    /// Windows take their size at once.
    class PromptStyle : public QProxyStyle {
    public:
        PromptStyle() : QProxyStyle("Fusion") {}
        int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                      QStyleHintReturn* data) const override {
            return hint == SH_Widget_Animation_Duration ? 0
                                                        : QProxyStyle::styleHint(hint, option, widget, data);
        }
    };

public:
    Desk it;
    std::unique_ptr<MainWindow> window;
};
