#include "storage/Paths.h"

#include <gtest/gtest.h>
#include <stdlib.h>

TEST(Paths, expandsALeadingTilde) {
    ASSERT_EQ(setenv("HOME", "/somewhere/else/", 1), 0);
    EXPECT_EQ(Paths::expandingTilde("~"), "/somewhere/else/");
    EXPECT_EQ(Paths::expandingTilde("~/a b/c"), "/somewhere/else/a b/c");
    EXPECT_EQ(Paths::expandingTilde("/x/~/y"), "/x/~/y");
    EXPECT_EQ(Paths::expandingTilde("~other/y"), "~other/y");
    EXPECT_EQ(Paths::expandingTilde(""), "");
}

TEST(Paths, asksTheUserList_withoutAHome) {
    ASSERT_EQ(unsetenv("HOME"), 0);
    const std::string home = Paths::expandingTilde("~");
    EXPECT_EQ(home.front(), '/');
    EXPECT_EQ(Paths::expandingTilde("~/x"), Paths::inFolder(home, "x"));
}

TEST(Paths, takesPathsApartAndTogether) {
    EXPECT_EQ(Paths::inFolder("/a", "b"), "/a/b");
    EXPECT_EQ(Paths::inFolder("/a/", "b"), "/a/b");
    EXPECT_EQ(Paths::inFolder("/", "b"), "/b");
    EXPECT_EQ(Paths::folderOf("/a/b"), "/a");
    EXPECT_EQ(Paths::folderOf("/b"), "/");
    EXPECT_EQ(Paths::folderOf("b"), ".");
    EXPECT_EQ(Paths::trimmed("/a//"), "/a");
    EXPECT_EQ(Paths::trimmed("/"), "/");
}
