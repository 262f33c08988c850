// app/window/LogBookWindow.h — shows the log book while it is being written.
#pragma once
#include "app/window/LogBookSearch.h"
#include "dutylog/LogBookReader.h"

#include <functional>
#include <QFileSystemWatcher>
#include <QTimer>
#include <QWidget>
#include <string>

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QStackedWidget;
class Texts;

/// Follows the book live and searches in it. It opens with the last page of the book; a search brings the pages
/// before it, one after the other while the window goes on working, up to `mostLoaded`. A reader at the end
/// stays at the end; one further up stays where he is. Ctrl+F searches, F3 and Shift+F3 go to the next and the
/// previous place, Esc leaves the search, then the window. Main thread only.
class LogBookWindow : public QWidget {
public:
    static constexpr qsizetype mostLoaded =
        32 * 1024 * 1024; ///< letters that a search loads; the memory is bounded

    /// `path` tells where the book lies, each time that is asked for.
    LogBookWindow(Volume& volume, const Texts& texts, std::function<std::string()> path);

    /// Shows the window, above others.
    void present();
    /// Looks at the book now.
    void look();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void makeView(const Texts& texts);
    void makeSearch(const Texts& texts);
    void layOut();
    void watch(const std::string& path);
    void showText(const QString& text);
    void addText(const QString& text);
    void showEarlier();
    void search();
    void searchOn();
    void goOnSearching();
    bool maySearchEarlier() const;
    void selectFirst();
    void step(int direction);
    void select(std::size_t place);
    void showCount();
    void leave();
    bool isAtEnd() const;
    void goToEnd();

    const Texts& m_texts;
    const std::function<std::string()> m_path;
    LogBookReader m_reader;
    QFileSystemWatcher m_watcher;
    QTimer m_timer;
    QStackedWidget* m_stack = nullptr;
    QLabel* m_noBook = nullptr;
    QPlainTextEdit* m_view = nullptr;
    QPushButton* m_earlier = nullptr;
    QLineEdit* m_query = nullptr;
    QPushButton* m_previous = nullptr;
    QPushButton* m_next = nullptr;
    QLabel* m_count = nullptr;
    LogBookSearch m_search;
    QTimer m_searchTimer;      ///< the next page, when nothing else is to be done
    std::size_t m_present = 0; ///< the place that is selected
    bool m_hasPresent = false;
    bool m_wantsFirst = false; ///< the first place that is found is to be selected
};
