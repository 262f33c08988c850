#include "base/QtFolderWatch.h"

#include "base/QtRunLoop.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <QCoreApplication>

namespace {
struct QtFolderWatchTest : testing::Test {
    void makeFile(const TemporaryFolder& folder, const char* file) const {
        std::ofstream(folder.path() + "/" + file) << "x";
    }
    /// Runs until a change is told; false when none comes for long.
    bool isTold() {
        QtRunLoop loop(application);
        told = [&loop] { loop.quit(0); };
        const auto patience = loop.schedule({.interval = 20.0}, [&loop] { loop.quit(1); });
        const bool came = loop.run() == 0;
        told = [] {};
        return came;
    }

    int count = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{count, arguments};
    TemporaryFolder first;
    TemporaryFolder second;
    std::function<void()> told = [] {};
    QtFolderWatch watch;
};
} // namespace

TEST_F(QtFolderWatchTest, tellsThatAFileCame_wasRenamed_andWent) {
    watch.watch(first.path(), [this] { told(); });
    makeFile(first, "one");
    EXPECT_TRUE(isTold());
    std::filesystem::rename(first.path() + "/one", first.path() + "/two");
    EXPECT_TRUE(isTold());
    std::filesystem::remove(first.path() + "/two");
    EXPECT_TRUE(isTold());
}

TEST_F(QtFolderWatchTest, tellsOfTheFolderThatIsWatchedLast) {
    int former = 0;
    watch.watch(first.path(), [&former] { ++former; });
    watch.watch(second.path(), [this] { told(); });
    makeFile(first, "one");
    makeFile(second, "one");
    EXPECT_TRUE(isTold());
    EXPECT_EQ(former, 0);
}

TEST_F(QtFolderWatchTest, tellsNothing_afterItsEnd) {
    int former = 0;
    watch.watch(first.path(), [&former] { ++former; });
    watch.end();
    makeFile(first, "one");
    QtFolderWatch other;
    other.watch(first.path(), [this] { told(); });
    makeFile(first, "two");
    EXPECT_TRUE(isTold());
    EXPECT_EQ(former, 0);
}

TEST_F(QtFolderWatchTest, watchesAgain_whenAFolderIsMadeThatWasNotThere) {
    const std::string path = first.path() + "/later";
    watch.watch(path, [this] { told(); });
    std::filesystem::create_directory(path);
    watch.watch(path, [this] { told(); });
    std::ofstream(path + "/one") << "x";
    EXPECT_TRUE(isTold());
}
