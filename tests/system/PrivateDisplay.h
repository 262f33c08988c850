// system/PrivateDisplay.h — a screen of a test's own, with a hand on its mouse and keyboard.
#pragma once
#include "support/TemporaryFolder.h"
#include "system/ChildProcess.h"

#include <memory>
#include <string>

/// An X server without a monitor. Points are in pixels of the screen.
class PrivateDisplay {
public:
    struct Point {
        int x;
        int y;
    };

    /// Empty where a display can run, else the reason why not.
    static std::string whyNot();

    /// Starts the server and waits until it answers.
    PrivateDisplay();

    /// For programs that are to show their windows here.
    ChildProcess::Environment environment() const;

    void click(Point point) const;
    void doubleClick(Point point) const;
    /// Moves with the button held, in several steps as a hand does.
    void drag(Point from, Point to) const;
    /// A key with its modifiers, such as "ctrl+3".
    void press(const std::string& key) const;
    void type(const std::string& text) const;

    /// How many windows of that title are to be seen; any title if it is empty.
    int windows(const std::string& title) const;
    /// The server ends at once, whoever shows windows there.
    void end() { m_server->kill(); }
    /// Place and size of the first window with that title as "X Y WIDTH HEIGHT"; empty when there is none.
    std::string geometry(const std::string& title) const;
    /// Keeps a picture of the screen in the folder that VELMORATIDE_PICTURES names, if it names one.
    void keepPicture(const std::string& name) const;

private:
    /// Returns what the tool printed.
    std::string tool(const std::string& arguments) const;

    TemporaryFolder m_folder;
    std::string m_name; // such as ":99"
    std::unique_ptr<ChildProcess> m_server;
};
